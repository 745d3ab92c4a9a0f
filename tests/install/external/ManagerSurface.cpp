#include "ResourceCache.h"
#include "ResourceManager.h"
#include "ResourcePromptingInterface.h"
#include "Surface.h"

using namespace zel;

namespace notes {

namespace {

using Reference = QSharedPointer<ResourceReference>;
using References = QList<QSharedPointer<ResourceReference>>;
using Handler = QSharedPointer<ResourceHandler>;
using Handlers = QList<QSharedPointer<ResourceHandler>>;
using RawHandlers = QList<ResourceHandler *>;
using Pairs = QHash<QSharedPointer<ResourceReference>, QSharedPointer<ResourceHandler>>;
using Mode = ResourceHandler::RetrieveMode;
using Type = ResourceHandler::AsyncProcessingType;
using Prompting = ResourcePromptingInterface;
using TaskResult = Result<std::unique_ptr<Task>>;
using GroupResult = Result<std::unique_ptr<GroupTask>>;
using Metadata = Result<QSharedPointer<ResourceMetadata>>;

/// What subclasses may use.
class OpenManager : public ResourceManager
{
public:
    explicit OpenManager(const std::optional<ResourceManagerSettings> &settings)
        : ResourceManager(settings)
    {
    }
    using ResourceManager::openCache;
};

void nameCore(Surface &surface)
{
    surface.function<ResourceManager &()>(&ResourceManager::instance);
    surface.function<ResourceCache *()>(&ResourceManager::cache);
    surface.function<ResourceCachePath()>(&ResourceManager::cachePath);
    surface.function<Mode()>(&ResourceManager::retrieveMode);
    surface.function<void(Mode)>(&ResourceManager::setRetrieveMode);
    surface.function<void(std::unique_ptr<Prompting>)>(
        &ResourceManager::setDefaultResourcePromptingInterface);
    surface.function<void(const ResourceManagerSettings &)>(
        &ResourceManager::overrideDefaultSettings);
    surface.function<void(std::chrono::days)>(&ResourceManager::overrideDefaultFullScanInterval);
    surface.function<Error(const ResourceManagerSettings &)>(&ResourceManager::updateSettings);
    surface.member<void(const ResourceCachePath &)>(&ResourceManager::cachePathChanged);
    surface.member<Error(const ResourceCachePath &, const ResourceCacheSizes &)>(
        &OpenManager::openCache);
    surface.constructor<OpenManager, const std::optional<ResourceManagerSettings> &>();
    static_assert(std::is_base_of_v<QObject, ResourceManager>);
    surface.holds(ResourceManager::staticMetaObject.methodCount()
                  == QObject::staticMetaObject.methodCount() + 1);
}

void nameSettings(Surface &surface)
{
    static_assert(std::is_base_of_v<SettingsInterface, ResourceManagerSettings>);
    static_assert(std::is_copy_assignable_v<ResourceManagerSettings>);
    static_assert(std::is_move_assignable_v<ResourceManagerSettings>);
    surface.constructor<ResourceManagerSettings>();
    surface.function<ResourceManagerSettings()>(&ResourceManagerSettings::loadSettings);
    surface.member<ResourceCachePath>(&ResourceManagerSettings::cachePath);
    surface.member<ResourceCacheSizes>(&ResourceManagerSettings::sizes);
    surface.member<void()>(&ResourceManagerSettings::load);
    surface.member<Error() const>(&ResourceManagerSettings::save);
}

void nameRetrieval(Surface &surface)
{
    surface.function<Error(ResourceHandler *, Prompting *)>(&ResourceManager::retrieve);
    surface.function<Error(const Handler &, Prompting *)>(&ResourceManager::retrieve);
    surface.function<Error(const RawHandlers &, Prompting *)>(&ResourceManager::retrieve);
    surface.function<Error(const Handlers &, Prompting *)>(&ResourceManager::retrieve);
    surface.function<Result<Handler>(const Reference &, std::optional<Mode>)>(
        &ResourceManager::retrieve);
    surface.function<Result<Handlers>(const References &, std::optional<Mode>)>(
        &ResourceManager::retrieve);
    surface.function<Result<Pairs>(const References &, std::optional<Mode>)>(
        &ResourceManager::retrieveWithReferences);
    surface.function<TaskResult(const Handler &, Type, Prompting *)>(
        &ResourceManager::retrieveAsync);
    surface.function<GroupResult(const Handlers &, Type, Prompting *)>(
        &ResourceManager::retrieveAsync);
}

void nameRequests(Surface &surface)
{
    surface.function<Result<bool>(const ResourceHandler *)>(&ResourceManager::exists);
    surface.function<Result<bool>(const Handler &)>(&ResourceManager::exists);
    surface.function<Result<bool>(const RawHandlers &)>(&ResourceManager::exists);
    surface.function<Result<bool>(const Handlers &)>(&ResourceManager::exists);
    surface.function<Result<bool>(GroupTask *)>(&ResourceManager::exists);
    surface.function<QCoro::Task<Result<bool>>(const ResourceHandler *)>(
        &ResourceManager::co_exists);
    surface.function<TaskResult(const Handler &, Type)>(&ResourceManager::existsAsync);
    surface.function<GroupResult(const Handlers &, Type)>(&ResourceManager::existsAsync);
    surface.function<Metadata(const ResourceHandler *)>(&ResourceManager::retrieveMetadata);
    surface.function<Metadata(const Handler &)>(&ResourceManager::retrieveMetadata);
    surface.function<Metadata(const Reference &)>(&ResourceManager::retrieveMetadata);
    surface.function<TaskResult(const Handler &, Type)>(&ResourceManager::retrieveMetadataAsync);
    surface.function<void(ResourceReference::Scheme)>(
        &ResourceManager::invalidateCachedRequestsValues);
}

void nameMaintenance(Surface &surface)
{
    surface.function<Error(const Handlers &)>(&ResourceManager::updateFileSizes);
    surface.function<Error()>(&ResourceManager::purgeOutdatedResources);
    surface.function<TaskResult()>(&ResourceManager::purgeOutdatedResourcesTask);
    surface.function<Result<qint64>()>(&ResourceManager::maxCacheSize);
    surface.function<Result<qint64>()>(&ResourceManager::optimalCacheSize);
    surface.function<ResourceCleanupPolicy()>(&ResourceManager::cleanupPolicyRestriction);
    surface.function<void(const ResourceCleanupPolicy &)>(
        &ResourceManager::setCleanupPolicyRestriction);
}

void nameLookUp(Surface &surface)
{
    surface.function<Result<Handler>(const Reference &)>(&ResourceManager::getHandler);
    surface.function<Result<Handler>(const QString &)>(&ResourceManager::getHandler);
    surface.function<Result<Handlers>(const References &)>(&ResourceManager::getHandlers);
    surface.function<Result<Handlers>(const QList<QString> &)>(&ResourceManager::getHandlers);
    surface.function<Result<Pairs>(const References &)>(
        &ResourceManager::getHandlersWithReferences);
}

} // namespace

void nameManager(Surface &surface)
{
    nameCore(surface);
    nameSettings(surface);
    nameRetrieval(surface);
    nameRequests(surface);
    nameMaintenance(surface);
    nameLookUp(surface);
}

} // namespace notes
