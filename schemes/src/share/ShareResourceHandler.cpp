#include "share/ShareResourceHandler.h"

#include "LocalTasks.h"
#include "errors/Propagate.h"
#include "references/CacheFileName.h"
#include "share/ShareRetrieval.h"

namespace zel {

ShareResourceHandler::ShareResourceHandler(const QSharedPointer<PathReference> &reference,
                                           ResourceCache *cache)
    : RemoteResourceHandler(reference, cache)
    , source(reference)
    , cache(cache)
{
}

std::unique_ptr<Task> ShareResourceHandler::existsTask() const
{
    return LocalTasks::exists(source->path());
}

std::unique_ptr<Task> ShareResourceHandler::metadataTask() const
{
    return LocalTasks::metadata(source->path());
}

std::unique_ptr<Task> ShareResourceHandler::createRetrieveTask(const PathImpl<PathType::Dir> &)
{
    const auto target = ZEL_PASS(localPath());
    if (!target.hasValue()) {
        propagation::drop(target); // the caller reports that it cannot be fetched
        return nullptr;
    }
    const FetchPlan plan = FetchPlan::make(*source, target.value(), cache);
    auto task = std::make_unique<Task>(nullptr);
    task->setFunction([plan, from = source](Task *running) {
        return ZEL_PASS(ShareRetrieval(running, plan, from->path(), from->expectedContent()).run());
    });
    task->setExecutionMode(Task::ExecutionMode::Asynchronous);
    return task;
}

QString ShareResourceHandler::cacheFileName() const
{
    return CacheFileName::forResource(source->referenceText(false), source->fileName());
}

} // namespace zel
