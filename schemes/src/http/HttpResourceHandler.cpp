#include "http/HttpResourceHandler.h"

#include "errors/Propagate.h"
#include "http/HttpTasks.h"
#include "references/CacheFileName.h"

namespace zel {

Result<QSharedPointer<ResourceHandler>> HttpResourceHandler::make(
    const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
    const HttpSettings &settings)
{
    const auto url = reference.dynamicCast<UrlReference>();
    if (!url)
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Not a reference to a file of a web server."));
    return QSharedPointer<ResourceHandler>(new HttpResourceHandler(url, cache, settings));
}

HttpResourceHandler::HttpResourceHandler(const QSharedPointer<UrlReference> &reference,
                                         ResourceCache *cache, const HttpSettings &settings)
    : RemoteResourceHandler(reference, cache)
    , url(reference)
    , cache(cache)
    , settings(settings)
{
}

std::unique_ptr<Task> HttpResourceHandler::existsTask() const
{
    return HttpTasks::exists(url, settings);
}

std::unique_ptr<Task> HttpResourceHandler::metadataTask() const
{
    return HttpTasks::metadata(url, settings);
}

std::unique_ptr<Task> HttpResourceHandler::createRetrieveTask(const PathImpl<PathType::Dir> &)
{
    const Result<PathImpl<PathType::Unknown>> path = localPath();
    if (!path.hasValue()) {
        // There is no other way to say so than to make no task.
        ZEL_DROP(path);
        return nullptr;
    }
    return HttpTasks::retrieve(url, FetchPlan::make(*url, path.value(), cache), settings);
}

QString HttpResourceHandler::cacheFileName() const
{
    return CacheFileName::forResource(url->referenceText(false), url->fileName());
}

} // namespace zel
