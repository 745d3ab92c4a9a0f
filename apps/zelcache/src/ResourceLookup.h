#pragma once

#include "ResourceCacheReader.h"

#include <optional>

namespace zel::cli {

/// The key of the resource that the user means: what stands in the cache exactly so, also for
/// schemes of other programs, else the key form of the reference. Code 2 for what is neither.
/// Enters nothing into the cache.
Result<QString> keyOf(const ResourceCacheReader::Snapshot &snapshot, const QString &argument);

/// Under which keys the cache may have what the user means.
QStringList possibleKeysOf(const QString &argument);

/// What the cache knows of it; empty without a row.
std::optional<ResourceCacheReader::Resource> resourceOf(
    const ResourceCacheReader::Snapshot &snapshot, const QString &key);

} // namespace zel::cli
