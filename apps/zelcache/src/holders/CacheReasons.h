#pragma once

#include "removal/PurgePlan.h"

#include "holders/Holders.h"

#include <QJsonObject>

namespace zel::cli {

/// Why a cache is as large as it is, as of one moment.
struct CacheReasons
{
    /// A program that uses data, and how much.
    struct Pinning
    {
        Program program;
        qint64 bytes = 0; ///< of all that it uses, alone or with others
        qsizetype resources = 0;
    };

    /// A program that fetches something into the cache.
    struct Fetching
    {
        QString reference;
        Program program;
        int percent = 0;
    };

    ResourceCacheSizes limits;
    qint64 size = 0; ///< bytes
    PurgePlan plan; ///< what a purge would take now
    QList<Pinning> pinning; ///< who keeps data from the purge, the most first
    QList<Fetching> fetching;
    qsizetype withoutSize = 0; ///< resources with data whose size is not known: no purge takes them
    /// The living processes that have to end so that a purge reaches its goal: one if that is
    /// enough. Empty if it reaches it anyway, or would not even then.
    QList<qint64> closing;
    /// A purge reaches its goal only when those that are not alive count no more, too.
    bool waitsForTheDead = false;
    qint64 now = 0; ///< milliseconds since the epoch

    bool isWithin() const { return size <= limits.optimalSize; }
    qint64 sizeAfterPurge() const { return size - sizeOfAll(plan.resources); }
    bool purgeSuffices() const { return isWithin() || sizeAfterPurge() <= plan.goal; }
};

CacheReasons cacheReasons(const ResourceCacheReader::Snapshot &snapshot,
                          const ResourceCacheSizes &limits, qint64 now, const ProcessLookup &look);

/// For people and for programs.
QStringList cacheReasonLines(const CacheReasons &reasons);
QJsonObject cacheReasonsJson(const CacheReasons &reasons);

} // namespace zel::cli
