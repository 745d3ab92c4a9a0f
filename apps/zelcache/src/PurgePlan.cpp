#include "PurgePlan.h"

#include <QSet>
#include <QtNumeric>

#include <algorithm>
#include <limits>

namespace zel::cli {

namespace {

using Resource = ResourceCacheReader::Resource;

/// A purge goes down to this share of the optimal size.
constexpr double shareOfOptimalSize = 0.9;

/// Of two that were accessed at the same time, the one that came first stays first.
void sortByLastAccess(ResourceRows &resources)
{
    std::stable_sort(resources.begin(), resources.end(),
                     [](const Resource &left, const Resource &right) {
                         return left.lastAccess < right.lastAccess;
                     });
}

/// As many from the start as it takes to free more than that.
ResourceRows exceeding(qint64 bytes, const ResourceRows &resources)
{
    ResourceRows chosen;
    qint64 remaining = bytes;
    for (const Resource &resource : resources) {
        chosen.append(resource);
        remaining -= resource.size;
        if (remaining < 0)
            break;
    }
    return chosen;
}

} // namespace

ResourceRows purgeLine(const ResourceCacheReader::Snapshot &snapshot, const ResourceUsers &users)
{
    ResourceRows resources;
    for (const Resource &resource : snapshot.resources) {
        if (resource.size > 0 && !users.contains(resource.reference))
            resources.append(resource);
    }
    sortByLastAccess(resources);
    return resources;
}

PurgeLimits purgeLimits(const ResourceCacheSizes &sizes, std::optional<qint64> target)
{
    if (!target)
        return { sizes, 0 };
    // The size beyond the target counts as too much. The maximum stays: lowering it would start a
    // purge by itself.
    return { { 0, sizes.maximumSize }, -*target };
}

qint64 purgeGoal(const ResourceCacheSizes &sizes)
{
    return static_cast<qint64>(static_cast<double>(sizes.optimalSize) * shareOfOptimalSize);
}

PurgePlan planPurge(const ResourceCacheReader::Snapshot &snapshot, const PurgeLimits &limits,
                    const ResourceUsers &users)
{
    const qint64 optimal = limits.sizes.optimalSize;
    qint64 total = 0;
    if (qAddOverflow(snapshot.currentSize, limits.extraSize, &total))
        total = std::numeric_limits<qint64>::min();
    if (total <= optimal)
        return { optimal - limits.extraSize, {} };

    const auto toFree = static_cast<qint64>(static_cast<double>(total)
                                            - static_cast<double>(optimal) * shareOfOptimalSize);
    return { snapshot.currentSize - toFree, exceeding(toFree, purgeLine(snapshot, users)) };
}

ResourceRows removedBetween(const ResourceCacheReader::Snapshot &before,
                            const ResourceCacheReader::Snapshot &after)
{
    QSet<QString> empty;
    for (const Resource &resource : after.resources) {
        if (resource.size == 0 && resource.path.isEmpty())
            empty.insert(resource.reference);
    }
    ResourceRows removed;
    for (const Resource &resource : before.resources) {
        if (resource.size > 0 && empty.contains(resource.reference))
            removed.append(resource);
    }
    sortByLastAccess(removed);
    return removed;
}

qint64 sizeOfAll(const ResourceRows &resources)
{
    qint64 size = 0;
    for (const Resource &resource : resources)
        size += resource.size;
    return size;
}

} // namespace zel::cli
