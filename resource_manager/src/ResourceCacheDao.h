#pragma once

#include "ResourceHandlerTypes.h"
#include "errors/Result.h"

#include <QCoreApplication>
#include <QList>
#include <QVariant>
#include <QVersionNumber>

#include <chrono>
#include <memory>
#include <optional>

QT_BEGIN_NAMESPACE
class QSqlDatabase;
class QSqlQuery;
QT_END_NAMESPACE

namespace zel {

class DatabaseHandler;

/// The one class that writes the cache's database: schema, transactions and every statement.
///
/// Two kinds of operation. Those without a context stand alone: a write begins and ends a
/// transaction of its own, a reading one uses none. Those that are given a TransactionContext, made
/// by createTransaction(), become part of it; they neither commit nor roll back. Both kinds may be
/// mixed on one object: a transaction of its own inside a live context becomes part of that.
///
/// A reference is the key form of a resource. A row that is asked for and absent is a failure with
/// a text of its own; an update that matches no row is none. Everything else that fails does so
/// with code 1 and the driver's text, on a closed object as well.
///
/// Threads: one at a time, whichever; the caller's lock decides. Rows of CachedResources are never
/// deleted.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceCacheDao
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceCacheDao)

public:
    /// A transaction of the caller's. Destroyed without a commit it undoes what ran in it. It has
    /// one query for all: what one operation reads is gone when the next one begins.
    /// Must not outlive the object that made it, nor that object's being open.
    class ZEL_RESOURCE_MANAGER_EXPORT TransactionContext
    {
    public:
        TransactionContext() = default;
        TransactionContext(const TransactionContext &) = delete;
        TransactionContext &operator=(const TransactionContext &) = delete;
        virtual ~TransactionContext();
        /// Keeps what ran in it. What a failure leaves open goes with the destructor.
        virtual Error commit() = 0;
    };

    /// A row of a resource, as far as the cache needs it.
    struct Resource
    {
        int id = 0; ///< of the row
        QString reference; ///< the key form
        QString cachedPath; ///< empty without one
        qint64 fileSize = 0; ///< bytes; 0 while unknown
        ResourceStatus status = ResourceStatus::Invalid; ///< Invalid for an unknown text
    };

    /// A resource and the version of its copy.
    struct VersionableResource
    {
        QString reference; ///< the key form
        QVersionNumber version; ///< null if none is stored
    };

    /// A resource and where its copy lies.
    struct ReferenceAndPath
    {
        QString reference; ///< the key form
        QString cachedPath; ///< empty without one
    };

    /// One use of a resource.
    struct ResourceUsage
    {
        qint64 id = -1; ///< of the row
        QString reference; ///< the key form
        qint64 count = -1; ///< usages of the same resource by other clients
    };

    /// Resources of a known size that no size purge takes, since somebody uses them.
    struct PinnedSize
    {
        qint64 count = 0; ///< of such resources
        qint64 size = 0; ///< bytes
        qint64 fetchedCount = 0; ///< those of them that somebody fetches anew
        qint64 fetchedSize = 0; ///< bytes
    };

    /// What of it one client uses, each resource once.
    struct PinningClient
    {
        qint64 clientId = -1; ///< Clients.id, no process id
        std::optional<qint64> processId; ///< empty if the client is gone
        qint64 count = 0; ///< of such resources
        qint64 size = 0; ///< bytes
    };

    ResourceCacheDao();
    ResourceCacheDao(const ResourceCacheDao &) = delete;
    ResourceCacheDao &operator=(const ResourceCacheDao &) = delete;
    virtual ~ResourceCacheDao();

    /// Opens the file or makes it, brings it up to date, removes rows of clients that are gone and
    /// registers this process. Fails if a row of this process id is there already. After a failure
    /// close(), abandonOpen() or the destructor clear up; isOpen() may well be true until then.
    /// Does not exclude other processes by itself.
    virtual Error open(const QString &path);
    /// Whether an object of this process has registered the process in its file, or is about to,
    /// so that an end without close() leaves a row behind. The handler of a signal may ask.
    static bool hasClientRow() noexcept;
    bool isOpen() const; ///< whether there is a connection to a file

    /// Removes the client row of this process with all that hangs on it, then the connection. A
    /// failure is logged. An object that never registered in the file leaves the row alone if
    /// another open object of this process has registered there: it is that one's.
    void close();

    /// The close() for a failed open(): a client row of this process id can belong to a process
    /// that died under the same number, or to one that lives under it in another container. So the
    /// row goes only if it has not been pinged for 10 s and no other open object of this process
    /// has the file.
    /// Gives the time until a row that stays for its pings' sake may be removed, at most 10 s:
    /// opening again makes no sense before. Empty if nothing stands in the way of another attempt,
    /// or if the row is that of an open object of this process.
    std::optional<std::chrono::milliseconds> abandonOpen();

    /// Begins a transaction, or a nested one inside a live context. Takes the file's write lock at
    /// once and waits up to 10 s for it; code 1 after that. A thread has a transaction of one
    /// object at a time, whatever the file: a debug build ends the program otherwise.
    Result<std::unique_ptr<TransactionContext>> createTransaction();

    /// Adds a resource; fails if the reference is known. `lastAccess` in milliseconds since the
    /// epoch, here and below.
    Error insertResource(const QString &reference, const ResourceStatus &status,
                         const ResourceCleanupPolicy &policy, const qint64 &lastAccess);
    /// Whether the reference has a row, whatever its status.
    Result<bool> containsResourceInDb(const QString &reference) const;
    /// Fails with code 1 on an unknown reference, and on a stored text that is no valid status.
    Result<ResourceStatus> selectStatus(const QString &reference) const;
    /// Fails with code 1 on an unknown reference, and on a stored text that is no valid policy.
    Result<ResourceCleanupPolicy> selectCleanupPolicy(const QString &reference) const;
    /// Fails with code 1 on an unknown reference, with code 2 if it has no path.
    Result<QString> selectLocalPath(const QString &reference) const;
    /// Also records the context's client as the one that wrote the status last.
    static Error updateResourceStatus(TransactionContext *context, const QString &reference,
                                      const ResourceStatus &status, qint64 lastAccess);
    /// A null version removes what is stored.
    static Error updateResourceVersion(TransactionContext *context, const QString &reference,
                                       const QVersionNumber &version);
    /// A null variant removes the path or the size (bytes).
    static Error updateResourceLocalPath(TransactionContext *context, const QString &reference,
                                         const QVariant &path, const QVariant &size);
    Error updateResourceSize(int id, qint64 size); ///< bytes; in a transaction of its own
    /// Bytes; the same within the context.
    Error updateResourceSize(TransactionContext *context, int id, qint64 size);
    /// Replaces what is stored; in a transaction of its own.
    Error updateResourceCleanupPolicy(const QString &reference,
                                      const ResourceCleanupPolicy &policy);

    /// Resources of a known size that nobody uses, oldest access first, up to and including the one
    /// with which their sizes exceed `size` bytes; at least one if there is any.
    Result<QList<ReferenceAndPath>> selectOldestReferencesWithCombinedSize(
        TransactionContext *context, qint64 size);
    /// All with this status, each with its version.
    Result<QList<VersionableResource>> selectResources(ResourceStatus status) const;
    /// All with this status.
    Result<QList<Resource>> selectResourcesWithStatus(ResourceStatus status) const;
    /// A stored status that is unknown reads as Invalid.
    Result<QList<Resource>> selectAllResources() const;
    /// The `status` of the record is Invalid, not the one asked for. Fails with code 1 if no such
    /// resource has that status.
    Result<Resource> selectResourceWithStatus(const QString &reference,
                                              ResourceStatus status) const;

    /// Seconds since the epoch; 0 before the first scan.
    Result<qint64> lastScanTimestamp() const;
    /// Seconds since the epoch.
    Error updateLastScanTimestamp(TransactionContext *context, qint64 timestamp);
    /// Bytes: the sum of all known sizes, kept by the database itself.
    Result<qint64> selectCurrentSize();
    /// Leaves one row of metadata, the first, and sums up in it all sizes that are stored.
    Error rebuildMetadata(TransactionContext *context);

    /// Records that the context's client uses the resource; gives the usage's id. Fails on an
    /// unknown reference.
    static Result<qint64> insertResourceUsage(TransactionContext *context,
                                              const QString &reference);
    /// Gives the number of removed rows: 0 for an unknown id.
    static Result<int> deleteResourceUsage(TransactionContext *context, qint64 usageId);
    /// Those that are there; ids without a row are no failure.
    static Error deleteUsages(TransactionContext *context, const QList<qint64> &usageIds);
    /// Whether any client uses the resource.
    Result<bool> containsResourceUsage(const QString &reference) const;
    /// Always an empty list: the usages of a client that died are removed at the next open() or
    /// close() of any process, and until then its resources count as used.
    static Result<QList<ResourceUsage>> selectResourceUsagesForClient(TransactionContext *context,
                                                                      qint64 clientId);

    Result<PinnedSize> selectPinnedSize() const; ///< what no size purge can take at this moment
    /// The clients that use most of it, the largest first, at most so many.
    Result<QList<PinningClient>> selectPinningClients(int maximum) const;

    /// Sets the ping of the row with the application's process id; `time` in milliseconds since
    /// the epoch.
    Error updateClientLastPingTime(qint64 time);
    /// Clients that have not pinged for longer than the timeout.
    Result<QList<qint64>> selectInactiveClients(TransactionContext *context,
                                                const std::chrono::seconds &timeout);
    /// Leaves the usages and tasks of the client where they are.
    Error deleteClientById(qint64 clientId);

    /// What the client wanted or fetched; statuses change as by deleteRetrievingTask().
    static Error deleteRetrievingTasksForClient(TransactionContext *context, qint64 clientId);
    /// Takes resources that the client left in a transient status out of what it began: to Missing
    /// if no task for any other resource exists, else to ScheduledForAcquire.
    static Error updateIntermediateStatusesForClient(TransactionContext *context, qint64 clientId);
    /// Records that this client wants the resource; a Missing one becomes ScheduledForAcquire.
    /// Fails on an unknown reference.
    Error addRetrievingTask(const QString &reference);
    /// Removes this client's task only. With the last task of a resource that is not Ready its
    /// status returns to Missing.
    Error deleteRetrievingTask(const QString &reference);
    /// Whether some client has reported a progress for the resource.
    Result<bool> retrieveInProgress(const QString &reference) const;
    /// The same, by a client that is not this one.
    Result<bool> retrieveInProgressElsewhere(const QString &reference) const;
    /// The progress that some client has reported; empty if none has.
    Result<std::optional<int>> readProgress(const QString &reference);
    /// Reports the progress of this client's task, or takes it back; without a task it does
    /// nothing.
    Error updateProgress(const QString &reference, std::optional<int> progress);

protected:
    /// The same as open(), registered under another process id. Only the registration honours it:
    /// pings and close() look for the application's own process id and so do not find that row.
    Error open(const QString &path, const std::optional<qint64> &clientProcessId);

private:
    Error connectTo(const QString &path);
    Error registerClient(qint64 processId);
    Result<qint64> insertClient(QSqlQuery &query, qint64 processId);
    Error cleanupStrayEntries();

    Error deleteClient(qint64 processId);
    Result<std::optional<std::chrono::milliseconds>> removeRowLeftBehind();
    Result<std::optional<qint64>> selectLastPingTime(qint64 processId) const;
    bool isFileOpenElsewhere() const;
    void forgetRegistration();
    void disconnectFromFile();

    Error prepareFile();
    Result<bool> hasTables() const;
    Error initializeDb();
    Error updateDb();
    Error createTables(QSqlQuery &query);
    Error createIndexes(QSqlQuery &query);
    Error createTriggers(QSqlQuery &query);
    Error createMissingColumns(QSqlQuery &query);
    Error insertDefaultValues(QSqlQuery &query);

    Error checkConnected() const;
    Error beginTransaction();
    QSqlQuery newQuery() const;
    Error updateResourceSize(QSqlQuery &query, int id, qint64 size);
    Result<qint64> selectSizeFromMetadataTable(const QString &column) const;
    /// Nobody calls it as things are: the triggers keep the sum.
    Error updateSizeInMetadataTable(const QString &column, qint64 value);

    std::unique_ptr<QSqlDatabase> database;
    std::unique_ptr<DatabaseHandler> databaseHandler;
    qint64 clientId = -1; ///< Clients.id of this connection; keeps its last value after close()
    QString registeredFile; ///< the file in which this object has its client row; else empty
};

} // namespace zel
