#pragma once

#include "removal/PurgePlan.h"

#include <QJsonObject>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <optional>

namespace zel::cli {

/// Whether resources that are not here yet would fit, what would go for them, and how long they
/// would take, as of one moment.
struct FitPlan
{
    /// What a fetch leaves free on the disk, since the cache's database lies there, too: the bytes
    /// that StagingArea.cpp keeps for it.
    static constexpr qint64 reserveBytes = 4ll * 1024 * 1024;

    /// One resource that is missing.
    struct Missing
    {
        QString reference; ///< its key
        std::optional<qint64> size; ///< bytes, as its source tells
        QString reason; ///< why the size is unknown; may be empty
        bool isNowhere = false; ///< its source says that there is none
        qint64 stagedBytes = 0; ///< what an earlier fetch of it has left on the disk
        std::optional<qint64> bytesPerSecond; ///< of earlier fetches from its host; not 0

        /// What still has to come.
        qint64 openBytes() const { return std::max(size.value_or(0) - stagedBytes, qint64(0)); }
    };

    QList<Missing> missing;
    QList<Missing> nowhere; ///< what is asked for, but cannot be fetched
    ResourceRows evicted; ///< what would go, in this order
    ResourceCacheSizes limits;
    qint64 size = 0; ///< of the cache now, in bytes
    qint64 staleBytes = 0; ///< of them those that the cache still counts of what is missing
    std::optional<qint64> freeBytes; ///< on the volume of the data; empty if unknown

    /// These three are without those whose size is unknown.
    qint64 missingBytes() const;
    qint64 openBytes() const;
    /// As if one came after the other. Empty if that cannot be told of each of them.
    std::optional<std::chrono::seconds> time() const;

    qsizetype unknownSizes() const;
    qint64 sizeAfterwards() const;

    /// What ResourceCache::purgeCacheIfNeeded() must be asked for, so that what is missing has room
    /// in the cache and on the disk.
    qint64 purgeBytes() const;
    /// Whether that removes something, if it can.
    bool needsPurge() const;

    /// As far as the sizes are known.
    bool fits() const { return fitsMaximum() && fitsDisk(); }
    /// A maximum that is no size is nobody's limit.
    bool fitsMaximum() const;
    bool fitsDisk() const { return bytesShortOnDisk() <= sizeOfAll(evicted); }
    /// How much has to go for the disk, whatever the cache's limits are; 0 for nothing.
    qint64 bytesShortOnDisk() const;
};

/// Whether a fetch finds the resource here: a row alone is no data.
bool isHere(const ResourceCacheReader::Resource &resource);

/// The keys of those that a fetch finds here. Looks at the disk for each row.
QSet<QString> keysOfWhatIsHere(const ResourceCacheReader::Snapshot &snapshot);

/// What a fetch of these would evict. `wanted`: keys of all that is asked for; what of it is here
/// already stays.
FitPlan fitPlan(const ResourceCacheReader::Snapshot &snapshot, const ResourceCacheSizes &limits,
                const QList<FitPlan::Missing> &missing, const QStringList &wanted,
                std::optional<qint64> freeBytes, qint64 now);

/// For people and for programs.
QStringList fitPlanLines(const FitPlan &plan);
QJsonObject fitPlanJson(const FitPlan &plan);
/// How much is missing and whether it fits, in one line.
QString fitPlanSummary(const FitPlan &plan);

} // namespace zel::cli
