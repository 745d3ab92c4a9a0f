#pragma once

#include "PurgePlan.h"

#include <QJsonObject>
#include <QStringList>

#include <optional>

namespace zel::cli {

/// Whether resources that are not here yet would fit, and what would go for them, as of one moment.
struct FitPlan
{
    /// One resource that is missing.
    struct Missing
    {
        QString reference;
        std::optional<qint64> size; ///< bytes, as its source tells
        QString reason; ///< why the size is unknown; may be empty
    };

    QList<Missing> missing;
    ResourceRows evicted; ///< what would go, in this order
    ResourceCacheSizes limits;
    qint64 size = 0; ///< of the cache now, in bytes
    std::optional<qint64> freeBytes; ///< on the volume of the data; empty if unknown

    qint64 missingBytes() const; ///< without those whose size is unknown
    qsizetype unknownSizes() const;
    qint64 sizeAfterwards() const { return size - sizeOfAll(evicted) + missingBytes(); }
    bool fitsMaximum() const { return sizeAfterwards() <= limits.maximumSize; }
    bool fitsDisk() const
    {
        return !freeBytes || missingBytes() <= *freeBytes + sizeOfAll(evicted);
    }
    /// As far as the sizes are known.
    bool fits() const { return fitsMaximum() && fitsDisk(); }
};

/// What a fetch of these would evict. `wanted`: keys of all that is asked for; what of it is here
/// already stays.
FitPlan fitPlan(const ResourceCacheReader::Snapshot &snapshot, const ResourceCacheSizes &limits,
                const QList<FitPlan::Missing> &missing, const QStringList &wanted,
                std::optional<qint64> freeBytes, qint64 now);

/// For people and for programs.
QStringList fitPlanLines(const FitPlan &plan);
QJsonObject fitPlanJson(const FitPlan &plan);

} // namespace zel::cli
