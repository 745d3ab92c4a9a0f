#pragma once

#include "ResourceCacheReader.h"
#include "ResourceManagerSettings.h"

#include <optional>

namespace zel::cli {

/// What the cache of the settings holds at this moment, without taking part in it. Fails if it
/// cannot be read or was never made. Ask for no detail that is not needed: a cache may be large.
Result<ResourceCacheReader::Snapshot> readCache(const ResourceManagerSettings &settings,
                                                ResourceCacheReader::Details details);

/// The same with every detail, but of those resources only that the arguments may mean; see
/// keyOf(). Takes no longer in a large cache. The schemes must be registered.
Result<ResourceCacheReader::Snapshot> readCacheFor(const QStringList &arguments,
                                                   const ResourceManagerSettings &settings);

/// What comes and goes in the cache, in the same way.
Result<ResourceCacheReader::Activity> readActivity(const ResourceManagerSettings &settings);

/// How much is free on the volume of the cache's data, in bytes, if that can be told.
std::optional<qint64> freeBytesOf(const ResourceManagerSettings &settings);

} // namespace zel::cli
