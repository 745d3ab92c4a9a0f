#include "ResourceCacheDao.h"
#include "Surface.h"

using namespace zel;

namespace notes {

namespace {

using Dao = ResourceCacheDao;
using Context = ResourceCacheDao::TransactionContext;

/// What subclasses may use.
class OpenDao : public ResourceCacheDao
{
public:
    using ResourceCacheDao::open;
};

class OpenContext : public Context
{
public:
    Error commit() override { return Error(); }
};

void nameEnumerations(Surface &surface)
{
    using Holder = ZEL_QEnumsResourceHandlerTypes;
    static_assert(std::is_same_v<ResourceStatus, Holder::ResourceStatus>);
    static_assert(int(ResourceStatus::Invalid) == 0);
    static_assert(int(ResourceStatus::Missing) == 1);
    static_assert(int(ResourceStatus::Ready) == 2);
    static_assert(int(ResourceStatus::ScheduledForAcquire) == 3);
    static_assert(int(ResourceStatus::Acquiring) == 4);
    static_assert(std::is_same_v<ResourceCleanupPolicy, Holder::ResourceCleanupPolicy>);
    static_assert(int(ResourceCleanupPolicy::Invalid) == 0);
    static_assert(int(ResourceCleanupPolicy::Never) == 1);
    static_assert(int(ResourceCleanupPolicy::OnClose) == 2);
    static_assert(int(ResourceCleanupPolicy::OnDemand) == 3);
    surface.holds(Holder::staticMetaObject.indexOfEnumerator("ResourceStatus") >= 0);
    surface.holds(Holder::staticMetaObject.indexOfEnumerator("ResourceCleanupPolicy") >= 0);
}

void nameRecords(Surface &surface)
{
    surface.member<int>(&Dao::Resource::id);
    surface.member<QString>(&Dao::Resource::reference);
    surface.member<QString>(&Dao::Resource::cachedPath);
    surface.member<qint64>(&Dao::Resource::fileSize);
    surface.member<ResourceStatus>(&Dao::Resource::status);
    surface.member<QString>(&Dao::VersionableResource::reference);
    surface.member<QVersionNumber>(&Dao::VersionableResource::version);
    surface.member<QString>(&Dao::ReferenceAndPath::reference);
    surface.member<QString>(&Dao::ReferenceAndPath::cachedPath);
    surface.member<qint64>(&Dao::ResourceUsage::id);
    surface.member<QString>(&Dao::ResourceUsage::reference);
    surface.member<qint64>(&Dao::ResourceUsage::count);

    // In this order: programs fill them by position.
    [[maybe_unused]] const Dao::Resource resource { 1, {}, {}, 2, ResourceStatus::Ready };
    [[maybe_unused]] const Dao::VersionableResource versionable { {}, QVersionNumber(1) };
    [[maybe_unused]] const Dao::ReferenceAndPath pair { QString(), QString() };
    [[maybe_unused]] const Dao::ResourceUsage usage { 1, {}, 2 };
}

void nameOpening(Surface &surface)
{
    surface.constructor<Dao>();
    surface.member<Error(const QString &)>(&Dao::open);
    surface.member<Error(const QString &, const std::optional<qint64> &)>(&OpenDao::open);
    surface.member<bool() const>(&Dao::isOpen);
    surface.member<void()>(&Dao::close);
    surface.inSlots(0, static_cast<Error (Dao::*)(const QString &)>(&Dao::open));

    surface.member<Result<std::unique_ptr<Context>>()>(&Dao::createTransaction);
    surface.constructor<OpenContext>();
    surface.member<Error()>(&Context::commit);
    surface.inSlots(0, &Context::commit);
}

void nameResourceRows(Surface &surface)
{
    surface.member<Error(const QString &, const ResourceStatus &, const ResourceCleanupPolicy &,
                         const qint64 &)>(&Dao::insertResource);
    surface.member<Result<bool>(const QString &) const>(&Dao::containsResourceInDb);
    surface.member<Result<ResourceStatus>(const QString &) const>(&Dao::selectStatus);
    surface.member<Result<ResourceCleanupPolicy>(const QString &) const>(&Dao::selectCleanupPolicy);
    surface.member<Result<QString>(const QString &) const>(&Dao::selectLocalPath);
    surface.function<Error(Context *, const QString &, const ResourceStatus &, qint64)>(
        &Dao::updateResourceStatus);
    surface.function<Error(Context *, const QString &, const QVersionNumber &)>(
        &Dao::updateResourceVersion);
    surface.function<Error(Context *, const QString &, const QVariant &, const QVariant &)>(
        &Dao::updateResourceLocalPath);
    surface.member<Error(int, qint64)>(&Dao::updateResourceSize);
    surface.member<Error(Context *, int, qint64)>(&Dao::updateResourceSize);
    surface.member<Error(const QString &, const ResourceCleanupPolicy &)>(
        &Dao::updateResourceCleanupPolicy);
    surface.member<Result<QList<Dao::ReferenceAndPath>>(Context *, qint64)>(
        &Dao::selectOldestReferencesWithCombinedSize);
    surface.member<Result<QList<Dao::VersionableResource>>(ResourceStatus) const>(
        &Dao::selectResources);
    surface.member<Result<QList<Dao::Resource>>(ResourceStatus) const>(
        &Dao::selectResourcesWithStatus);
    surface.member<Result<QList<Dao::Resource>>() const>(&Dao::selectAllResources);
    surface.member<Result<Dao::Resource>(const QString &, ResourceStatus) const>(
        &Dao::selectResourceWithStatus);
    surface.member<Result<qint64>() const>(&Dao::lastScanTimestamp);
    surface.member<Error(Context *, qint64)>(&Dao::updateLastScanTimestamp);
    surface.member<Result<qint64>()>(&Dao::selectCurrentSize);
}

void nameOtherRows(Surface &surface)
{
    surface.function<Result<qint64>(Context *, const QString &)>(&Dao::insertResourceUsage);
    surface.function<Result<int>(Context *, qint64)>(&Dao::deleteResourceUsage);
    surface.function<Error(Context *, const QList<qint64> &)>(&Dao::deleteUsages);
    surface.member<Result<bool>(const QString &) const>(&Dao::containsResourceUsage);
    surface.function<Result<QList<Dao::ResourceUsage>>(Context *, qint64)>(
        &Dao::selectResourceUsagesForClient);
    surface.member<Error(qint64)>(&Dao::updateClientLastPingTime);
    surface.member<Result<QList<qint64>>(Context *, const std::chrono::seconds &)>(
        &Dao::selectInactiveClients);
    surface.member<Error(qint64)>(&Dao::deleteClientById);
    surface.function<Error(Context *, qint64)>(&Dao::deleteRetrievingTasksForClient);
    surface.function<Error(Context *, qint64)>(&Dao::updateIntermediateStatusesForClient);
    surface.member<Error(const QString &)>(&Dao::addRetrievingTask);
    surface.member<Error(const QString &)>(&Dao::deleteRetrievingTask);
    surface.member<Result<bool>(const QString &) const>(&Dao::retrieveInProgress);
    surface.member<Result<std::optional<int>>(const QString &)>(&Dao::readProgress);
    surface.member<Error(const QString &, std::optional<int>)>(&Dao::updateProgress);
}

} // namespace

void nameDao(Surface &surface)
{
    nameEnumerations(surface);
    nameRecords(surface);
    nameOpening(surface);
    nameResourceRows(surface);
    nameOtherRows(surface);
}

} // namespace notes
