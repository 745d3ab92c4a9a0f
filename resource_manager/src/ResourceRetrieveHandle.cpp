#include "ResourceRetrieveHandle.h"

#include "ResourceCache_p.h"
#include "SemaphoreLocker.h"
#include "errors/Propagate.h"

namespace zel {

ResourceRetrieveHandle::ResourceRetrieveHandle(const QString &reference,
                                               const PathImpl<PathType::Unknown> &localPath,
                                               ResourceCache *cache, const QVersionNumber &version)
    : cache(cache)
    , reference(reference)
    , localPath(localPath)
    , version(version)
    , baseDir(cache->d->cachePath.baseDirPath().toString())
    , cacheIsAlive(cache->d->life)
{
}

ResourceRetrieveHandle::~ResourceRetrieveHandle()
{
    if (cacheIsAlive.expired())
        return;
    // A destructor has nobody to report to; the row goes with this process at the latest.
    ZEL_DROP(removeTaskFromDatabase());
}

Result<bool> ResourceRetrieveHandle::tryStartRetrieve()
{
    Error error;
    ZEL_TRY_LET(const bool ready, isReadyInPlace());
    if (ready)
        return false;
    ZEL_TRY(error, addTaskToDatabase());
    ZEL_TRY_LET(fetching, becomeFetcher());
    return fetching;
}

/// Since it was looked at last, the cache may have moved, where another resource stands under this
/// reference, or have been closed and opened again, which took the row.
Result<bool> ResourceRetrieveHandle::becomeFetcher()
{
    const auto lock = cache->d->hold();
    Error error;
    ZEL_TRY(error, hasLostItsRow() ? addRowUnderHold() : checkPlace());
    ZEL_TRY_LET(const bool isFetcher, cache->d->tryStartRetrieve(reference));
    if (isFetcher)
        cache->d->taskRows.setFetcher(reference, this);
    return isFetcher;
}

Result<bool> ResourceRetrieveHandle::tryStartRetrieve(ResourceCache *cache,
                                                      const QString &reference)
{
    const auto lock = cache->d->hold();
    return ZEL_PASS(cache->d->tryStartRetrieve(reference));
}

Error ResourceRetrieveHandle::addTaskToDatabase()
{
    if (taskAdded && !hasLostItsRow())
        return {};
    // Before the row: another handle of this process that ends now must not take it along.
    cache->d->taskRows.insert(reference, this);
    const auto lock = cache->d->hold();
    return ZEL_PASS(addRowUnderHold());
}

Error ResourceRetrieveHandle::addRowUnderHold()
{
    cache->d->taskRows.insert(reference, this); // forgotten if the cache was opened meanwhile
    const Error misplaced = ZEL_PASS(checkPlace());
    const Error error
        = misplaced.hasError() ? misplaced : ZEL_PASS(cache->d->addRetrievingTask(reference));
    if (error.hasError()) {
        // Or others would leave their rows for this one, which is not there.
        cache->d->taskRows.remove(reference, this);
        return error;
    }
    taskAdded = true;
    opening = cache->d->opening;
    return error;
}

Error ResourceRetrieveHandle::addTaskToDatabase(ResourceCache *cache, const QString &reference)
{
    const auto lock = cache->d->hold();
    return ZEL_PASS(cache->d->addRetrievingTask(reference));
}

Error ResourceRetrieveHandle::removeTaskFromDatabase()
{
    cache->d->taskRows.remove(reference, this);
    if (hasLostItsRow())
        return {};
    // Of several that end at a time the last one finds nobody.
    if (!fetching && cache->d->taskRows.contains(reference))
        return {};

    const auto lock = cache->d->hold();
    Error error;
    if (hasLostItsRow()) // while this thread waited
        return error;
    const bool isFetcher = fetching && !cache->d->taskRows.isFetchedByOther(reference, this);
    ZEL_TRY(error, cache->d->removeOwnTask(reference, isFetcher));
    // Not before: after a failure the destructor tries once more, else they would watch for ever.
    fetching = false;
    return error;
}

Error ResourceRetrieveHandle::removeTaskFromDatabase(ResourceCache *cache, const QString &reference)
{
    const auto lock = cache->d->hold();
    return ZEL_PASS(cache->d->deleteRetrievingTask(reference));
}

Error ResourceRetrieveHandle::saveProgress(int progress)
{
    const auto lock = cache->d->hold();
    if (hasLostItsRow())
        return {};
    return ZEL_PASS(cache->d->updateProgress(reference, progress));
}

Result<ResourceRetrieveHandle::ProgressAndStatus> ResourceRetrieveHandle::readProgress() const
{
    const auto lock = cache->d->hold();
    Error error;
    ZEL_TRY(error, checkPlace());
    return ZEL_PASS(cache->d->readProgress(reference));
}

Result<bool> ResourceRetrieveHandle::isReady() const
{
    const auto lock = cache->d->hold();
    return ZEL_PASS(isReadyUnderHold());
}

Result<bool> ResourceRetrieveHandle::isReadyInPlace() const
{
    const auto lock = cache->d->hold();
    Error error;
    ZEL_TRY(error, checkPlace());
    return ZEL_PASS(isReadyUnderHold());
}

Result<bool> ResourceRetrieveHandle::isReadyUnderHold() const
{
    ZEL_TRY_LET(const ResourceStatus status, cache->d->loadStatus(reference));
    return status == ResourceStatus::Ready;
}

Error ResourceRetrieveHandle::finalizeRetrieve(Error retrieveError)
{
    using CachePrivate = ResourceCache::Private;
    // Before the lock, or everybody would wait for it; the data is this process's to touch.
    const auto counted = retrieveError.hasError() ? CachePrivate::CountedSize()
                                                  : CachePrivate::countSize(localPath);
    const auto lock = cache->d->hold();
    // The data lies in the other cache, and this one knows nothing of it.
    if (const Error misplaced = ZEL_PASS(checkPlace()); misplaced.hasError())
        return retrieveError.hasError() ? Error() : misplaced;
    // The closing of the cache, or one who took this process for dead, has taken it back; what is
    // fetched now is somebody else's affair, also within this process.
    if (retrieveError.hasError()
        && (hasLostItsRow() || cache->d->taskRows.isFetchedByOther(reference, this)))
        return {};
    return ZEL_PASS(
        cache->d->finalizeRetrieve(reference, localPath, counted, version, retrieveError));
}

bool ResourceRetrieveHandle::hasLostItsRow() const
{
    return taskAdded && opening.expired();
}

Error ResourceRetrieveHandle::checkPlace() const
{
    if (cache->d->cachePath.baseDirPath().toString() == baseDir)
        return {};
    return ZEL_ERROR(
        ErrorCode::OperationFailed,
        tr("The cache was moved while the resource \"%1\" was being retrieved.").arg(reference));
}

bool ResourceRetrieveHandle::isCacheHeldByThisThread() const
{
    return cache->d->isHeldByThisThread();
}

} // namespace zel
