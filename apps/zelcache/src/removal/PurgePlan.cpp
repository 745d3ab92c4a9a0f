#include "removal/PurgePlan.h"

#include "output/Sums.h"

#include <QSet>

#include <algorithm>
#include <limits>

namespace zel::cli {

namespace {

using Resource = ResourceCacheReader::Resource;

/// A purge goes down to this share of the optimal size. The rule, and the one of what is too large
/// for a number, is that of ResourceCachePurge.cpp.
constexpr double shareOfOptimalSize = 0.9;
constexpr double firstBeyondNumbers = 9223372036854775808.0;

/// A row of a snapshot, with what it is sorted by beside it: to sort the rows themselves takes
/// longer, and a copy of them all.
struct InLine
{
    qint64 lastAccess = 0;
    const Resource *resource = nullptr;
};
using Line = QList<InLine>;

/// Of two whose status is of the same time, the one that came first stays first.
void sortByLastAccess(Line &line)
{
    std::stable_sort(line.begin(), line.end(), [](const InLine &left, const InLine &right) {
        return left.lastAccess < right.lastAccess;
    });
}

/// All that a purge may take, in the order in which it takes it.
Line purgeLine(const ResourceCacheReader::Snapshot &snapshot, const ResourceUsers &users)
{
    Line line;
    for (const Resource &resource : snapshot.resources) {
        if (mayBePurged(resource, users))
            line.append({ resource.lastAccess, &resource });
    }
    sortByLastAccess(line);
    return line;
}

/// As many from the start as it takes to free more than that.
Line exceeding(qint64 bytes, const Line &line)
{
    qsizetype count = 0;
    for (qint64 remaining = bytes; count < line.size() && remaining >= 0; ++count)
        remaining -= line.at(count).resource->size;
    return line.first(count);
}

ResourceRows rowsOf(const Line &line)
{
    ResourceRows rows;
    rows.reserve(line.size());
    for (const InLine &each : line)
        rows.append(*each.resource);
    return rows;
}

} // namespace

bool mayBePurged(const Resource &resource, const ResourceUsers &users)
{
    return resource.size > 0 && !users.contains(resource.reference);
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

std::optional<qint64> bytesToFree(qint64 currentSize, const PurgeLimits &limits)
{
    const qint64 optimal = limits.sizes.optimalSize;
    const qint64 total = sumOf(currentSize, limits.extraSize);
    if (total <= optimal)
        return {};
    const double bytes
        = static_cast<double>(total) - static_cast<double>(optimal) * shareOfOptimalSize;
    return bytes < firstBeyondNumbers ? static_cast<qint64>(bytes)
                                      : std::numeric_limits<qint64>::max();
}

PurgePlan planPurge(const ResourceCacheReader::Snapshot &snapshot, const PurgeLimits &limits,
                    const ResourceUsers &users)
{
    const auto toFree = bytesToFree(snapshot.currentSize, limits);
    if (!toFree)
        return { limits.sizes.optimalSize - limits.extraSize, {} };
    return { sumOf(snapshot.currentSize, -*toFree),
             rowsOf(exceeding(*toFree, purgeLine(snapshot, users))) };
}

ResourceRows removedBetween(const ResourceCacheReader::Snapshot &before,
                            const ResourceCacheReader::Snapshot &after)
{
    QSet<QString> empty;
    for (const Resource &resource : after.resources) {
        if (resource.size == 0 && !resource.hasPath)
            empty.insert(resource.reference);
    }
    Line removed;
    for (const Resource &resource : before.resources) {
        if (resource.size > 0 && empty.contains(resource.reference))
            removed.append({ resource.lastAccess, &resource });
    }
    sortByLastAccess(removed);
    return rowsOf(removed);
}

qint64 sizeOfAll(const ResourceRows &resources)
{
    return sumOver(resources, [](const Resource &resource) { return resource.size; });
}

} // namespace zel::cli
