#pragma once

#include "ResourceCacheReader.h"
#include "ResourceCacheSizes.h"
#include "holders/ResourceUsers.h"

#include <optional>

namespace zel::cli {

using ResourceRows = QList<ResourceCacheReader::Resource>;

/// What a purge of a cache in that state removes. Follows the cache's own rules to the letter, so
/// that what is announced is what happens.
struct PurgePlan
{
    qint64 goal = 0; ///< the purge is content with a cache of at most so many bytes
    ResourceRows resources; ///< what goes, in this order
};

/// Whether a purge may take it at all: what has a size and no user. Of those it takes the one first
/// whose status is the oldest, and of the same age the one whose row comes first.
bool mayBePurged(const ResourceCacheReader::Resource &resource, const ResourceUsers &users);

/// The limits that a purge works with. With a target it is to go down to that many bytes, without
/// one to nine tenths of the optimal size, and only if that is exceeded.
struct PurgeLimits
{
    ResourceCacheSizes sizes;
    qint64 extraSize = 0;
};
PurgeLimits purgeLimits(const ResourceCacheSizes &sizes, std::optional<qint64> target);

/// What a purge without a target goes down to, in bytes.
qint64 purgeGoal(const ResourceCacheSizes &sizes);

/// A purge takes one after the other until it has freed more than that many bytes; empty if there
/// is no need for one.
std::optional<qint64> bytesToFree(qint64 currentSize, const PurgeLimits &limits);

PurgePlan planPurge(const ResourceCacheReader::Snapshot &snapshot, const PurgeLimits &limits,
                    const ResourceUsers &users);

/// The resources that had a size in the first state and have no data in the second, those that were
/// whose status was the oldest first.
ResourceRows removedBetween(const ResourceCacheReader::Snapshot &before,
                            const ResourceCacheReader::Snapshot &after);

/// The sum of the sizes, in bytes.
qint64 sizeOfAll(const ResourceRows &resources);

} // namespace zel::cli
