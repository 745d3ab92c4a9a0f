#pragma once

#include "ResourceHandlerTypes.h"
#include "errors/Result.h"

#include <QCoreApplication>
#include <QFlags>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QVersionNumber>

#include <optional>

namespace zel {

/// Looks at a cache's database without taking part: for programs that show what a cache holds.
///
/// Neither takes the cache's lock nor registers as a client, so it works while the cache is busy,
/// while another process holds the lock, and on a cache that may not be written. It never makes the
/// file and never changes a row of it. What it tells was true at one moment and may have changed
/// since; never decide from it what to remove.
///
/// A value; each call opens the file, reads it in one short transaction and closes it again.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceCacheReader
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceCacheReader)

public:
    /// One row of CachedResources.
    struct Resource
    {
        QString reference; ///< the key form
        QString path; ///< empty without one
        bool hasPath = false; ///< known even where the path itself is not read
        qint64 size = 0; ///< bytes; 0 while unknown
        ResourceStatus status = ResourceStatus::Invalid; ///< Invalid also for an unknown text
        ResourceCleanupPolicy policy = ResourceCleanupPolicy::Invalid; ///< the same
        qint64 lastAccess = 0; ///< milliseconds since the epoch
        qint64 lastWriterClientId = -1; ///< who wrote the status last; may be gone
        QVersionNumber version; ///< null if none is stored
    };

    /// What of a resource can be left out. All else is always read.
    enum Detail {
        NoDetail = 0,
        Path = 0x1,
        Policy = 0x2,
        LastWriter = 0x4,
        Version = 0x8,
        EveryDetail = Path | Policy | LastWriter | Version,
    };
    /// Any of them together.
    Q_DECLARE_FLAGS(Details, Detail)

    /// One usage; a resource has as many as there are objects that hold it.
    struct Usage
    {
        QString reference; ///< empty if the row names a resource that does not exist
        qint64 clientId = -1; ///< of a Client
        std::optional<qint64> processId; ///< empty if the client is gone
    };

    /// A client that wants a resource; the one with a progress fetches it.
    struct AcquiringTask
    {
        QString reference; ///< empty if the row names a resource that does not exist
        qint64 clientId = -1; ///< of a Client
        std::optional<qint64> processId; ///< empty if the client is gone
        std::optional<int> progress; ///< percent
    };

    /// A process that has the cache open, or had it and is not yet cleaned up after.
    struct Client
    {
        qint64 id = -1; ///< by which all other rows name it
        qint64 processId = -1; ///< in its own container
        qint64 lastPing = 0; ///< milliseconds since the epoch
    };

    /// All of it as of one moment, each list in the order in which its rows were added.
    struct Snapshot
    {
        QList<Resource> resources; ///< whatever their status
        QList<Usage> usages; ///< of clients that are gone, too
        QList<AcquiringTask> acquiringTasks; ///< who wants and who fetches what
        QList<Client> clients; ///< who has the cache open
        qint64 currentSize = 0; ///< bytes, as the database keeps it
        qint64 lastScanTimestamp = 0; ///< seconds since the epoch; 0 before the first scan
    };

    /// What comes and goes from moment to moment, without the resources and their usages: as of one
    /// moment, each list in the order in which its rows were added.
    struct Activity
    {
        QList<AcquiringTask> acquiringTasks; ///< who wants and who fetches what
        QList<Client> clients; ///< who has the cache open
        QHash<ResourceStatus, int> resourceCounts; ///< of a status that is not here: none
        int strayUsages = 0; ///< usages whose client is gone
        qint64 currentSize = 0; ///< bytes, as the database keeps it
        qint64 lastScanTimestamp = 0; ///< seconds since the epoch; 0 before the first scan
    };

    /// The state of the file itself.
    struct Condition
    {
        qint64 metadataRows = 0; ///< 1 in good order
        QString journalMode; ///< "wal" in good order
        /// What SQLite finds wrong with its pages, a few lines at most; empty in good order.
        QStringList damages;
    };

    /// Touches nothing yet. ResourceCachePath::databasePath() gives a cache's file.
    explicit ResourceCacheReader(const QString &databasePath);

    /// Fails with code 2 if there is no such file, with code 4 if it is no database of a cache, and
    /// with code 1 and the driver's text if it cannot be read. A file whose cache was never quite
    /// made reads as an empty one; what an older file has no column for reads as absent.
    ///
    /// So does a detail that is not asked for. In a large cache each of them takes time and memory
    /// for every resource, most of all the paths: 100,000 resources are read in some 100 ms with
    /// every detail, in half of it without any.
    Result<Snapshot> read(Details details = EveryDetail) const;

    /// For programs that ask for a few resources of a large cache: of the resources only those with
    /// these references, which are taken as they stand there, each once and in this order; of the
    /// usages and tasks only theirs; everything else as in read(). Each is looked up in the index,
    /// so that neither time nor memory grows with the cache. What the cache does not know is left
    /// out. Fails like read().
    Result<Snapshot> readRowsOf(const QStringList &references) const;

    /// Much less than read(), for programs that look every second: of the resources themselves only
    /// those that are being acquired are told, the others are counted where they lie. Memory does
    /// not grow with the cache; 100,000 resources are counted in some 20 ms. Fails like read().
    Result<Activity> readActivity() const;

    /// Looks at the whole file, which takes longer the larger it is. Fails like read(). A file
    /// whose cache was never quite made has no journal mode and no row.
    Result<Condition> readCondition() const;

private:
    QString databasePath;
};
Q_DECLARE_OPERATORS_FOR_FLAGS(ResourceCacheReader::Details)

} // namespace zel
