#include "list/ListResourceHandler.h"

#include "errors/Propagate.h"
#include "list/ListTasks.h"
#include "references/CacheFileName.h"

namespace zel {

Result<QSharedPointer<ResourceHandler>> ListResourceHandler::make(
    const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
    const HttpSettings &settings)
{
    const auto list = reference.dynamicCast<ListReference>();
    if (!list)
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Not a reference to a list of files."));
    return QSharedPointer<ResourceHandler>(new ListResourceHandler(list, cache, settings));
}

ListResourceHandler::ListResourceHandler(const QSharedPointer<ListReference> &reference,
                                         ResourceCache *cache, const HttpSettings &settings)
    : RemoteResourceHandler(reference, cache)
    , list(reference)
    , cache(cache)
    , settings(settings)
{
}

std::unique_ptr<Task> ListResourceHandler::existsTask() const
{
    return ListTasks::exists(list, settings);
}

std::unique_ptr<Task> ListResourceHandler::metadataTask() const
{
    return ListTasks::metadata(list, settings);
}

std::unique_ptr<Task> ListResourceHandler::createRetrieveTask(const PathImpl<PathType::Dir> &)
{
    const Result<PathImpl<PathType::Unknown>> path = localPath();
    if (!path.hasValue()) {
        // There is no other way to say so than to make no task.
        ZEL_DROP(path);
        return nullptr;
    }
    return ListTasks::retrieve(list, FetchPlan::make(*list, path.value(), cache), settings);
}

QString ListResourceHandler::cacheFileName() const
{
    return CacheFileName::forResource(list->referenceText(false), list->folderName());
}

} // namespace zel
