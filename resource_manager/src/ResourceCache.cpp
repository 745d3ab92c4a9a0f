#include "ResourceCache_p.h"

#include "AssociatedResourcesProviderInterface.h"
#include "SemaphoreLocker.h"
#include "errors/Propagate.h"

namespace zel {

ResourceCache::ResourceCache()
    : ResourceCache(nullptr)
{
}

ResourceCache::ResourceCache(std::unique_ptr<ResourceCacheDao> dao)
    : d(std::make_unique<Private>(this, std::move(dao)))
{
}

ResourceCache::~ResourceCache() = default;

ResourceCacheDao *ResourceCache::dao()
{
    return d->dao.get();
}

Error ResourceCache::open(const ResourceCachePath &path, const ResourceCacheSizes &sizes)
{
    Error error;
    ZEL_TRY(error, d->open(path, sizes));
    d->startFileSizesUpdateIfNeeded();
    return error;
}

void ResourceCache::close()
{
    d->close();
}

bool ResourceCache::isOpen() const
{
    const auto lock = d->hold();
    return d->dao->isOpen();
}

std::optional<std::chrono::milliseconds> ResourceCache::retryOpenAfter() const
{
    return d->retryOpenAfter;
}

ResourceCachePath ResourceCache::path() const
{
    return d->cachePath;
}

ResourceCacheSizes ResourceCache::sizes() const
{
    return d->sizes;
}

Error ResourceCache::setSizes(const ResourceCacheSizes &newSizes)
{
    const ResourceCacheSizes oldSizes = d->sizes;
    d->sizes = newSizes;
    Error error;
    if (newSizes.maximumSize < oldSizes.maximumSize)
        ZEL_TRY(error, purgeCacheIfNeeded(0));
    return error;
}

void ResourceCache::setPingEnabled(bool enabled)
{
    if (!enabled)
        d->stopPing();
    else if (d->dao->isOpen())
        d->startPing();
}

void ResourceCache::setFullScanInterval(std::chrono::duration<int, std::ratio<86400>> interval)
{
    d->fullScanInterval = interval;
}

void ResourceCache::setFixLongZacqFilePaths(bool fix)
{
    d->fixLongZacqFilePaths = fix;
}

bool ResourceCache::isFixLongZacqFilePathsSet() const
{
    return d->fixLongZacqFilePaths;
}

void ResourceCache::setCleanupPolicyRestriction(const ResourceCleanupPolicy &restriction)
{
    d->cleanupPolicyRestriction = restriction;
}

ResourceCleanupPolicy ResourceCache::cleanupPolicyRestriction() const
{
    return d->cleanupPolicyRestriction;
}

void ResourceCache::registerAssociatedResourcesProvider(
    ExtendableEnumRef<FileTypes::FileTypeData> type,
    std::unique_ptr<AssociatedResourcesProviderInterface> provider)
{
    d->associatedResourcesProviders.insert_or_assign(type, std::move(provider));
}

void ResourceCache::unregisterAssociatedResourcesProvider(
    ExtendableEnumRef<FileTypes::FileTypeData> type)
{
    d->associatedResourcesProviders.erase(type);
}

void ResourceCache::clearAssociatedResourcesProviders()
{
    d->associatedResourcesProviders.clear();
}

Error ResourceCache::add(const QString &reference, ResourceCleanupPolicy policy)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->add(reference, policy));
}

Error ResourceCache::saveStatus(const QString &reference, ResourceStatus status)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->saveStatus(reference, status));
}

Result<ResourceStatus> ResourceCache::readStatus(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->loadStatus(reference));
}

Error ResourceCache::saveCleanupPolicy(const QString &reference, ResourceCleanupPolicy policy)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->saveCleanupPolicy(reference, policy));
}

Result<ResourceCleanupPolicy> ResourceCache::readCleanupPolicy(const QString &reference) const
{
    const auto lock = d->hold();
    return ZEL_PASS(d->loadCleanupPolicy(reference));
}

Error ResourceCache::saveLocalPath(const QString &reference,
                                   const PathImpl<PathType::Unknown> &path, qint64 size)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->saveLocalPath(reference, path, size));
}

Result<PathImpl<PathType::Unknown>> ResourceCache::readLocalPath(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->localPath(reference));
}

Error ResourceCache::updateVersion(const QString &reference, const QVersionNumber &version)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->updateVersion(reference, version));
}

Result<bool> ResourceCache::existsInDb(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->existsInDb(reference));
}

Result<bool> ResourceCache::inUse(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->inUse(reference));
}

Result<std::unique_ptr<ResourceCache::InUseHandle>> ResourceCache::useResource(
    const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->useResource(reference));
}

void ResourceCache::Private::onFinishedUsing(const QString &reference, qint64 usageId,
                                             const std::weak_ptr<const bool> &itsOpening)
{
    const auto lock = hold();
    // close() has taken the row with all others of this process, and its number may by now stand
    // for somebody else's use in another database.
    if (itsOpening.expired())
        return;
    // A destructor has nobody to report to; the row goes with this process at the latest.
    ZEL_DROP(removeUsage(reference, usageId));
}

Result<ResourceCache::Leftovers> ResourceCache::moveLeftoversAside(
    const QString &reference, const PathImpl<PathType::Unknown> &path)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->moveLeftoversAside(reference, path));
}

Error ResourceCache::updateFileSize(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->updateFileSize(reference));
}

Error ResourceCache::updateFileSizes()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->updateFileSizes());
}

Error ResourceCache::rebuildMetadata()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->rebuildMetadata());
}

Result<qint64> ResourceCache::readCurrentCacheSize()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->dao->selectCurrentSize());
}

Error ResourceCache::purgeCacheIfNeeded(qint64 extraSize)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->purgeCacheIfNeeded(extraSize));
}

Error ResourceCache::purgeOutdatedResources()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->purgeOutdatedResources());
}

Result<std::unique_ptr<Task>> ResourceCache::purgeOutdatedResourcesTask()
{
    auto lock = d->hold();
    return ZEL_PASS(d->purgeOutdatedResourcesTask(std::move(lock)));
}

} // namespace zel
