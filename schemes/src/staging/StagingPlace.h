#pragma once

#include "SchemesExport.h"
#include "staging/StagingRecord.h"

#include <functional>

namespace zel {

/// One place beside a cache's data directory in which a fetch collects its bytes, as it is seen by
/// somebody who looks. A value.
struct ZEL_RESOURCE_SCHEMES_EXPORT StagingPlace
{
    /// Whether the resource with this key is Ready in the cache.
    using IsReady = std::function<bool(const QString &referenceKey)>;

    QString folder; ///< absolute
    std::optional<StagingRecord> record; ///< empty if it has none, or one that cannot be read
    QDateTime lastUse; ///< when its record was written, or without one its folder changed
    /// On its way out: what an interrupted removal has left.
    bool isRemains = false;

    /// Whether the process that fetches by it lives, as far as can be seen from here, also if it
    /// stands still.
    bool isInUse() const { return record && record->isBeingWritten(); }
    /// The name of the folder in the cache that all data of its resource lies in; empty if it
    /// cannot be told.
    QString resourceFolder() const;
    /// Whether the next program that fetches removes it, unless somebody has it locked: nobody will
    /// go on with it.
    bool isStale(const IsReady &isReady,
                 const QDateTime &now = QDateTime::currentDateTimeUtc()) const;

    /// All places of the cache with this data directory. Takes no lock and changes nothing.
    static QList<StagingPlace> readAll(const QString &cacheDataDirectory);
    /// Removes what every program that fetches removes now and again. A place that somebody has
    /// locked stays. What cannot be removed is logged. Never call it while the cache's semaphore is
    /// held.
    static void removeStale(const QString &cacheDataDirectory, const IsReady &isReady);
};

} // namespace zel
