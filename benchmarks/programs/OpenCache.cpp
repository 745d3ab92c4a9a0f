#include "OpenCache.h"

#include "Protocol.h"
#include "ResourceManager.h"
#include "ResourceManagerSettings.h"
#include "SchemesRegistration.h"

namespace zel::bench {

std::shared_ptr<ResourceCache> openCache(const QString &directory, const ResourceCacheSizes &sizes)
{
    auto cache = std::make_shared<ResourceCache>();
    ResourceCachePath path;
    path.setBaseDirPath(PathImpl<PathType::Dir>(directory));
    check(cache->open(path, sizes));
    return cache;
}

ResourceCache *openManager(const QString &directory)
{
    registerResourceSchemes();
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(PathImpl<PathType::Dir>(directory));
    ResourceManager::overrideDefaultSettings(settings);
    ResourceManager::overrideDefaultFullScanInterval(std::chrono::days(365'000));
    if (!ResourceManager::cache()->isOpen())
        giveUp("The cache cannot be opened.");
    return ResourceManager::cache();
}

void check(const Error &error)
{
    if (error.hasError())
        giveUp(error.description().toStdString());
}

} // namespace zel::bench
