#include "AssociatedResourcesProviderInterface.h"
#include "ResourceCache.h"
#include "ResourceCacheDao.h"
#include "ResourceCacheReader.h"
#include "ResourceRetrieveHandle.h"
#include "SemaphoreLocker.h"
#include "Surface.h"
#include "Task.h"

#include <QSystemSemaphore>

using namespace zel;

namespace notes {

namespace {

using Path = PathImpl<PathType::Unknown>;
using Dir = PathImpl<PathType::Dir>;
using File = PathImpl<PathType::File>;

/// What subclasses may use.
class OpenCache : public ResourceCache
{
public:
    explicit OpenCache(std::unique_ptr<ResourceCacheDao> dao)
        : ResourceCache(std::move(dao))
    {
    }
};

class OpenInUseHandle : public ResourceCache::InUseHandle
{
};

class OpenRetrieveHandle : public ResourceRetrieveHandle
{
public:
    using ResourceRetrieveHandle::addTaskToDatabase;
    using ResourceRetrieveHandle::removeTaskFromDatabase;
    using ResourceRetrieveHandle::tryStartRetrieve;
};

void nameLocation(Surface &surface)
{
    static_assert(std::is_copy_assignable_v<ResourceCachePath>);
    surface.constructor<ResourceCachePath>();
    surface.constructor<ResourceCachePath, const ResourceCachePath &>();
    surface.function<QString()>(&ResourceCachePath::defaultBaseDirectoryPath);
    surface.member<Dir() const>(&ResourceCachePath::baseDirPath);
    surface.member<void(const Dir &)>(&ResourceCachePath::setBaseDirPath);
    surface.member<Dir() const>(&ResourceCachePath::cacheDataDir);
    surface.member<File() const>(&ResourceCachePath::databasePath);
    surface.inSlots(0, &ResourceCachePath::cacheDataDir, &ResourceCachePath::databasePath);

    static_assert(std::is_copy_assignable_v<ResourceCacheSizes>);
    surface.constructor<ResourceCacheSizes>();
    surface.member<qint64>(&ResourceCacheSizes::optimalSize);
    surface.member<qint64>(&ResourceCacheSizes::maximumSize);
    surface.constant<const qint64>(&ResourceCacheSizes::DEFAULT_OPTIMAL_SIZE);
    surface.constant<const qint64>(&ResourceCacheSizes::DEFAULT_MAXIMUM_SIZE);
    surface.holds(ResourceCacheSizes().optimalSize == 10737418240);
    surface.holds(ResourceCacheSizes().maximumSize == 21474836480);
}

void nameOpening(Surface &surface)
{
    surface.constructor<ResourceCache>();
    surface.constructor<OpenCache, std::unique_ptr<ResourceCacheDao>>();
    surface.member<Error(const ResourceCachePath &, const ResourceCacheSizes &)>(
        &ResourceCache::open);
    surface.member<void()>(&ResourceCache::close);
    surface.member<bool() const>(&ResourceCache::isOpen);
    surface.member<ResourceCachePath() const>(&ResourceCache::path);
    surface.member<ResourceCacheSizes() const>(&ResourceCache::sizes);
    surface.member<Error(const ResourceCacheSizes &)>(&ResourceCache::setSizes);
    surface.member<void(bool)>(&ResourceCache::setPingEnabled);
    surface.member<void(std::chrono::duration<int, std::ratio<86400>>)>(
        &ResourceCache::setFullScanInterval);
    surface.member<void(bool)>(&ResourceCache::setFixLongZacqFilePaths);
    surface.member<bool() const>(&ResourceCache::isFixLongZacqFilePathsSet);
    surface.member<void(const ResourceCleanupPolicy &)>(
        &ResourceCache::setCleanupPolicyRestriction);
    surface.member<ResourceCleanupPolicy() const>(&ResourceCache::cleanupPolicyRestriction);
}

void nameRows(Surface &surface)
{
    surface.member<Error(const QString &, ResourceCleanupPolicy)>(&ResourceCache::add);
    surface.member<Error(const QString &, ResourceStatus)>(&ResourceCache::saveStatus);
    surface.member<Result<ResourceStatus>(const QString &)>(&ResourceCache::readStatus);
    surface.member<Error(const QString &, ResourceCleanupPolicy)>(
        &ResourceCache::saveCleanupPolicy);
    surface.member<Result<ResourceCleanupPolicy>(const QString &) const>(
        &ResourceCache::readCleanupPolicy);
    surface.member<Error(const QString &, const Path &, qint64)>(&ResourceCache::saveLocalPath);
    surface.member<Result<Path>(const QString &)>(&ResourceCache::readLocalPath);
    surface.member<Error(const QString &, const QVersionNumber &)>(&ResourceCache::updateVersion);
    surface.member<Result<bool>(const QString &)>(&ResourceCache::existsInDb);
    surface.member<Result<bool>(const QString &)>(&ResourceCache::inUse);
    surface.member<Result<qint64>()>(&ResourceCache::readCurrentCacheSize);
    surface.member<Result<std::unique_ptr<ResourceCache::InUseHandle>>(const QString &)>(
        &ResourceCache::useResource);
    surface.constructor<OpenInUseHandle>();
    static_assert(std::has_virtual_destructor_v<ResourceCache::InUseHandle>);
    static_assert(!std::is_default_constructible_v<ResourceCache::InUseHandle>);
}

void nameSizesAndPurging(Surface &surface)
{
    surface.member<Error(const QString &)>(&ResourceCache::updateFileSize);
    surface.member<Error()>(&ResourceCache::updateFileSizes);
    surface.member<Error(qint64)>(&ResourceCache::purgeCacheIfNeeded);
    surface.member<Error()>(&ResourceCache::purgeOutdatedResources);
    surface.member<Result<std::unique_ptr<Task>>()>(&ResourceCache::purgeOutdatedResourcesTask);
}

void nameProviders(Surface &surface)
{
    using Type = ExtendableEnumRef<FileTypes::FileTypeData>;
    using Provider = AssociatedResourcesProviderInterface;
    static_assert(!std::has_virtual_destructor_v<Provider>);
    surface.member<void(Type, std::unique_ptr<Provider>)>(
        &ResourceCache::registerAssociatedResourcesProvider);
    surface.member<void(Type)>(&ResourceCache::unregisterAssociatedResourcesProvider);
    surface.member<void()>(&ResourceCache::clearAssociatedResourcesProviders);
    surface.member<QList<QString>(const QString &) const>(&Provider::getAssociatedResources);
}

void nameRetrieveHandle(Surface &surface)
{
    using Handle = ResourceRetrieveHandle;
    using State = Handle::ProgressAndStatus;
    static_assert(std::has_virtual_destructor_v<Handle>);
    surface.constructor<Handle, const QString &, const Path &, ResourceCache *,
                        const QVersionNumber &>();
    surface.member<Result<bool>()>(&Handle::tryStartRetrieve);
    surface.member<Error()>(&Handle::addTaskToDatabase);
    surface.member<Error()>(&Handle::removeTaskFromDatabase);
    surface.member<Error(int)>(&Handle::saveProgress);
    surface.member<Result<State>() const>(&Handle::readProgress);
    surface.member<Result<bool>() const>(&Handle::isReady);
    surface.member<Error(Error)>(&Handle::finalizeRetrieve);
    surface.member<std::optional<int>>(&State::progress);
    surface.member<ResourceStatus>(&State::status);
    surface.function<Result<bool>(ResourceCache *, const QString &)>(
        &OpenRetrieveHandle::tryStartRetrieve);
    surface.function<Error(ResourceCache *, const QString &)>(
        &OpenRetrieveHandle::addTaskToDatabase);
    surface.function<Error(ResourceCache *, const QString &)>(
        &OpenRetrieveHandle::removeTaskFromDatabase);
}

void nameSemaphoreLocker(Surface &surface)
{
    static_assert(!std::is_copy_constructible_v<SemaphoreLocker>);
    static_assert(!std::is_copy_assignable_v<SemaphoreLocker>);
    surface.constructor<SemaphoreLocker, QSystemSemaphore *, int>();
    surface.member<bool(int)>(&SemaphoreLocker::acquire);
    surface.member<void(int)>(&SemaphoreLocker::release);
}

void nameReader(Surface &surface)
{
    using Reader = ResourceCacheReader;
    surface.constructor<Reader, const QString &>();
    surface.member<Result<Reader::Snapshot>(Reader::Details) const>(&Reader::read);
    surface.member<QList<Reader::Resource>>(&Reader::Snapshot::resources);
    surface.member<QList<Reader::Usage>>(&Reader::Snapshot::usages);
    surface.member<QList<Reader::AcquiringTask>>(&Reader::Snapshot::acquiringTasks);
    surface.member<QList<Reader::Client>>(&Reader::Snapshot::clients);
    surface.member<qint64>(&Reader::Snapshot::currentSize);
    surface.member<qint64>(&Reader::Snapshot::lastScanTimestamp);
}

} // namespace

void nameCache(Surface &surface)
{
    nameLocation(surface);
    nameOpening(surface);
    nameRows(surface);
    nameSizesAndPurging(surface);
    nameProviders(surface);
    nameRetrieveHandle(surface);
    nameSemaphoreLocker(surface);
    nameReader(surface);
}

} // namespace notes
