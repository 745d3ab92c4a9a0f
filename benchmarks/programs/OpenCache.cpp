#include "OpenCache.h"

#include "Protocol.h"

namespace zel::bench {

std::shared_ptr<ResourceCache> openCache(const QString &directory, const ResourceCacheSizes &sizes)
{
    auto cache = std::make_shared<ResourceCache>();
    ResourceCachePath path;
    path.setBaseDirPath(PathImpl<PathType::Dir>(directory));
    check(cache->open(path, sizes));
    return cache;
}

void check(const Error &error)
{
    if (error.hasError())
        giveUp(error.description().toStdString());
}

} // namespace zel::bench
