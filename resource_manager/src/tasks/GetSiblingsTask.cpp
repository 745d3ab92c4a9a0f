#include "tasks/GetSiblingsTask.h"

#include "errors/Propagate.h"

namespace zel {

GetSiblingsTask::GetSiblingsTask(QObject *parent)
    : Task(parent)
{
    setFunction([this] { return findSiblings(); }, ExecutionMode::Asynchronous);
}

GetSiblingsTask::~GetSiblingsTask() = default;

Error GetSiblingsTask::findSiblings()
{
    ZEL_TRY_LET(const References found, readSiblings());
    setVariantResult(QVariant::fromValue(found));
    return Error(0);
}

GetSiblingsTask::References GetSiblingsTask::siblings() const
{
    const auto found = result<References>();
    return found.hasValue() ? found.value() : References();
}

} // namespace zel
