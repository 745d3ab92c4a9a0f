#include "ResourceCache.h"
#include "ResourceManager_p.h"
#include "errors/Propagate.h"
#include "errors/UnifiedError.h"
#include "files/FileUtils.h"
#include "platform/TreeRemoval.h"
#include "zacq/Zacq.h"

#include <QFileInfo>

namespace zel {

Result<bool> ResourceManager::Private::clearWayFor(const ResourceHandler &handler,
                                                   const QString &path)
{
    if (!FileUtils::isSubPath(path, cache->path().cacheDataDir()))
        return false;

    // Judged and moved in one step of the cache, deleted after it: between a look and a deletion
    // another process could put the fetched data there.
    Error error;
    const QString key = handler.reference()->referenceText(false);
    ZEL_TRY_LET(const ResourceCache::Leftovers leftovers, cache->moveLeftoversAside(key, path));
    if (!leftovers.movedTo.isEmpty())
        ZEL_TRY(error, deleteResource(leftovers.movedTo));
    return leftovers.isPublished;
}

Error ResourceManager::Private::deleteResource(const QString &path)
{
    if (!FileUtils::isSubPath(path, cache->path().cacheDataDir()))
        return Error();

    const QFileInfo info(path);
    const QString absolutePath = info.absoluteFilePath();
    // A container whose data lies elsewhere takes that along.
    if (info.isDir() && zacq::Zacq::isSparseZacq(path, false))
        return ZEL_PASS(zacq::Zacq::remove(path));
    if (info.isDir() && TreeRemoval::remove(absolutePath).hasError()) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            ResourceManager::tr("Removing the folder \"%1\" failed.").arg(absolutePath));
    }
    if (info.isFile() && TreeRemoval::remove(absolutePath).hasError()) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         ResourceManager::tr("Removing the file \"%1\" failed.").arg(absolutePath));
    }
    return Error();
}

Error ResourceManager::Private::updateFileSizes(const Handlers &handlers)
{
    QSet<Error> failures;
    for (const QSharedPointer<ResourceHandler> &handler : handlers) {
        ZEL_TRY_LET(const bool counts, isInCache(handler.get()));
        if (!counts)
            continue;
        const Error error
            = ZEL_PASS(cache->updateFileSize(handler->reference()->referenceText(false)));
        if (error.hasError())
            failures.insert(error);
    }
    return ZEL_PASS(UnifiedError::computeUnifiedError(failures));
}

Result<bool> ResourceManager::Private::isInCache(const ResourceHandler *handler) const
{
    if (!handler)
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null handler provided."));
    if (handler->reference()->scheme() == ResourceReference::File || !handler->isAvailableLocally())
        return false;
    ZEL_TRY_LET(const auto path, handler->localPath());
    return FileUtils::isSubPath(path, cache->path().cacheDataDir());
}

} // namespace zel
