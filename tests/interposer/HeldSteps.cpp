#include "HeldSteps.h"

#include "Holds.h"

#include <utility>

#include <fcntl.h>

namespace zel::test {

namespace {

bool readsFolder(const FileStep &step)
{
    return step.kind == FileStep::Kind::List
        || (step.kind == FileStep::Kind::Open && (step.flags & O_DIRECTORY) != 0);
}

} // namespace

HeldSteps::HeldSteps(std::string folder)
    : m_folder(std::move(folder) + '/')
{
    watchFileSteps(this);
}

HeldSteps::~HeldSteps()
{
    watchFileSteps(nullptr);
}

int HeldSteps::count() const
{
    return m_count;
}

int HeldSteps::folders() const
{
    return m_folders;
}

int HeldSteps::before(const FileStep &step)
{
    if (!isHolding() || !(pathOf(step) + '/').starts_with(m_folder))
        return 0;
    ++m_count;
    if (readsFolder(step))
        ++m_folders;
    return 0;
}

} // namespace zel::test
