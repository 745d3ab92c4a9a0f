#include "dav/DavResourceHandler.h"

#include "dav/DavTasks.h"
#include "errors/Propagate.h"
#include "references/CacheFileName.h"

namespace zel {

Result<QSharedPointer<ResourceHandler>> DavResourceHandler::make(
    const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
    const HttpSettings &settings)
{
    const auto source = reference.dynamicCast<DavReference>();
    if (!source)
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Not a reference to a WebDAV server."));
    return QSharedPointer<ResourceHandler>(new DavResourceHandler(source, cache, settings));
}

DavResourceHandler::DavResourceHandler(const QSharedPointer<DavReference> &reference,
                                       ResourceCache *cache, const HttpSettings &settings)
    : RemoteResourceHandler(reference, cache)
    , source(reference)
    , cache(cache)
    , settings(settings)
{
}

Result<std::unique_ptr<GetSiblingsTask>> DavResourceHandler::siblings() const
{
    return DavTasks::siblings(source, settings);
}

std::unique_ptr<Task> DavResourceHandler::existsTask() const
{
    return DavTasks::exists(source, settings);
}

std::unique_ptr<Task> DavResourceHandler::metadataTask() const
{
    return DavTasks::metadata(source, settings);
}

std::unique_ptr<Task> DavResourceHandler::createRetrieveTask(const PathImpl<PathType::Dir> &)
{
    const Result<PathImpl<PathType::Unknown>> path = localPath();
    if (!path.hasValue()) {
        // There is no other way to say so than to make no task.
        ZEL_DROP(path);
        return nullptr;
    }
    return DavTasks::retrieve(source, FetchPlan::make(*source, path.value(), cache), settings);
}

QString DavResourceHandler::cacheFileName() const
{
    return CacheFileName::forResource(source->referenceText(false), source->fileName());
}

} // namespace zel
