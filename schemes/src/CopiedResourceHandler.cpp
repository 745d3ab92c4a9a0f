#include "CopiedResourceHandler.h"

#include "Task.h"
#include "errors/Propagate.h"
#include "references/CacheFileName.h"
#include "tasks/GetSiblingsTask.h"

namespace zel {

CopiedResourceHandler::CopiedResourceHandler(const QSharedPointer<ResourceReference> &reference,
                                             ResourceCache *cache, CopiedResource resource)
    : RemoteResourceHandler(reference, cache)
    , cache(cache)
    , resource(std::move(resource))
{
}

Result<std::unique_ptr<GetSiblingsTask>> CopiedResourceHandler::siblings() const
{
    if (!resource.siblings)
        return ZEL_PASS(RemoteResourceHandler::siblings());
    return resource.siblings();
}

std::unique_ptr<Task> CopiedResourceHandler::existsTask() const
{
    return resource.exists();
}

std::unique_ptr<Task> CopiedResourceHandler::metadataTask() const
{
    return resource.metadata();
}

std::unique_ptr<Task> CopiedResourceHandler::createRetrieveTask(const PathImpl<PathType::Dir> &)
{
    const Result<PathImpl<PathType::Unknown>> path = localPath();
    if (!path.hasValue()) {
        // There is no other way to say so than to make no task.
        ZEL_DROP(path);
        return nullptr;
    }
    return resource.retrieve(FetchPlan::make(*reference(), path.value(), cache));
}

QString CopiedResourceHandler::cacheFileName() const
{
    return CacheFileName::forResource(reference()->referenceText(false), resource.name);
}

} // namespace zel
