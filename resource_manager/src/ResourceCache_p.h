#pragma once

#include "Hidden.h"
#include "ResourceCache.h"
#include "ResourceCacheDao.h"
#include "ResourceRetrieveHandle.h"
#include "Task.h"
#include "TaskRows.h"
#include "threads/Mutex.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSystemSemaphore>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <functional>
#include <map>

namespace zel {

class DirectoryUse;
class SemaphoreLocker;

namespace zacq {
class Zacq;
}

/// What ResourceCache does while the semaphore is held. No member takes it but those at the end,
/// and none calls a public member of ResourceCache: the semaphore is not reentrant, a second take
/// waits for ever.
class ZEL_RESOURCE_MANAGER_HIDDEN ResourceCache::Private
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceCache)

public:
    using TransactionContext = ResourceCacheDao::TransactionContext;
    using UnknownPath = PathImpl<PathType::Unknown>;

    /// What the timer's thread goes through to this object, which may die on another one.
    struct PingGate
    {
        /// Held for as long as the object is in use there.
        Mutex mutex { "the gate of the pings of a cache" };
        Private *owner; ///< null once it is gone
        /// On the timer's thread only. Does nothing if the object is gone, or going just then.
        void pass(const std::function<void(Private *)> &work);
    };
    /// How large the data at a path was, and what lay there.
    struct CountedSize
    {
        qint64 size = 0; ///< bytes
        QByteArray identity; ///< see fileIdentity()
    };
    /// The event loop of the timer's thread would go on with a timer that another thread deleted.
    struct DeletionOnItsThread
    {
        void operator()(QTimer *timer) const;
    };

    Private(ResourceCache *owner, std::unique_ptr<ResourceCacheDao> givenDao);
    ~Private();
    Private(const Private &) = delete;
    Private &operator=(const Private &) = delete;

    // Status and paths
    Error add(const QString &reference, ResourceCleanupPolicy policy);
    Error saveStatus(const QString &reference, ResourceStatus status);
    Result<ResourceStatus> loadStatus(const QString &reference) const;
    Error saveCleanupPolicy(const QString &reference, ResourceCleanupPolicy policy);
    Result<ResourceCleanupPolicy> loadCleanupPolicy(const QString &reference) const;
    Error saveLocalPath(const QString &reference, const UnknownPath &path, qint64 size);
    /// Without a path both columns become NULL, whatever `size` says.
    Error saveLocalPath(TransactionContext *context, const QString &reference, qint64 size,
                        const std::optional<UnknownPath> &path);
    Result<UnknownPath> localPath(const QString &reference) const;
    Result<UnknownPath> localPathInternal(const QString &reference) const;
    Error updateVersion(const QString &reference, const QVersionNumber &version);
    Error updateVersion(TransactionContext *context, const QString &reference,
                        const QVersionNumber &version);
    Error updateStatusNow(TransactionContext *context, const QString &reference,
                          ResourceStatus status);
    Result<bool> existsInDb(const QString &reference) const;
    Result<bool> inUse(const QString &reference) const;
    /// An unreadable status is not ready ...
    bool isReady(const QString &reference) const;
    /// ... and counts as missing.
    bool isMissing(const QString &reference) const;

    // Use
    Result<std::unique_ptr<InUseHandle>> useResource(const QString &reference);
    Result<std::unique_ptr<InUseHandle>> markInUse(const QString &reference);
    /// Two transactions: the usage is gone even if the removal of the data fails.
    Error removeUsage(const QString &reference, qint64 usageId);
    ResourceCleanupPolicy effectiveCleanupPolicy(ResourceCleanupPolicy stored) const;

    // Purge
    Error purgeCacheIfNeeded(qint64 extraSize);
    Error removeOldestResources(TransactionContext *context, qint64 size);
    /// Logs what keeps the cache above the size that a purge was to reach, if anything does and the
    /// purge before did not say the same. Fails only to read that.
    Error reportPinnedSize(qint64 goal, qint64 extraSize);
    Result<QList<QString>> outdatedReferences() const;
    Error purgeOutdatedResources();
    /// The task keeps the locker until it has run or goes; null if the caller keeps it.
    Result<std::unique_ptr<Task>> purgeOutdatedResourcesTask(
        std::unique_ptr<SemaphoreLocker> locker);
    Error deleteResources(const QList<QString> &references, Task *task);
    Error removeIfNotInUse(TransactionContext *context, const QString &reference);
    /// Files first, then the row: a crash between the two leaves a row that the next removal mends.
    Error removeResourceAndUpdateStatus(TransactionContext *context, const QString &reference,
                                        const QString &localPath);

    // Liveness
    Error cleanupInactiveClients();
    Error cleanupAfterClient(TransactionContext *context, qint64 clientId);
    Error removeUsagesForClient(TransactionContext *context, qint64 clientId);

    // Sizes
    QList<QString> associatedResourcesFor(const QString &path) const;
    Error updateFileSize(const QString &reference);
    /// Without a context in a transaction of its own. Writes nothing if the size has not changed.
    Error updateFileSize(const ResourceCacheDao::Resource &resource, TransactionContext *context);
    Error updateFileSizes();
    Error rebuildMetadata();

    // Retrieval; see ResourceRetrieveHandle
    Result<bool> tryStartRetrieve(const QString &reference);
    Result<ResourceRetrieveHandle::ProgressAndStatus> readProgress(const QString &reference) const;
    /// For finalizeRetrieve(), without the semaphore: a folder of many files takes long to count.
    static CountedSize countSize(const UnknownPath &path);
    static qint64 sizeNow(const UnknownPath &path, const CountedSize &counted);
    Error finalizeRetrieve(const QString &reference, const UnknownPath &path,
                           const CountedSize &counted, const QVersionNumber &version,
                           const Error &retrieveError);
    Error giveUpRetrieve(const QString &reference);
    Result<bool> retrieveInProgress(const QString &reference) const;
    Error updateProgress(const QString &reference, std::optional<int> progress);
    Error addRetrievingTask(const QString &reference);
    Error deleteRetrievingTask(const QString &reference);
    Error removeOwnTask(const QString &reference, bool wasFetching);
    /// Those that could not be removed when their handles ended.
    void removeLeftOverTasks();

    Result<Leftovers> moveLeftoversAside(const QString &reference, const QString &path);
    Result<QString> moveAside(const QString &path);
    /// Ends the data's being at its path in one step, where the file system can do that.
    static void withdraw(const QString &path);
    /// What a process left that died between withdraw() and the removal.
    static Error removeWithdrawn(const QString &path);
    Error forgetLostData(const QString &reference);

    // Post-processing
    Error postProcess(const QString &reference, const UnknownPath &path);
    Error fixLongZacqFileName(const QString &reference, const QString path);
    Error acceptExistingTarget(const QString &reference, const QString &path, const QString &target,
                               const zacq::Zacq &container);

    // Opening, moving, the ping and the scan behind an opening. Of these, the callers of
    // endOpening() and isFileSizesUpdateDue() have the semaphore; the others take it, or do
    // without.
    Error open(const ResourceCachePath &path, const ResourceCacheSizes &sizes);
    void close();
    /// Takes the semaphore of the place where the cache is, and with it the cache.
    std::unique_ptr<SemaphoreLocker> hold();
    std::unique_ptr<SemaphoreLocker> holdUnlessHeld();
    void waitForHolder(); ///< whoever has the cache now
    bool isHeldByThisThread() const;
    void updateSemaphoreKey(const ResourceCachePath &path);
    void moveTo(QSystemSemaphore *newSemaphore);
    QSystemSemaphore *semaphoreOf(const QString &key);
    void endOpening();
    void startPing();
    void stopPing();
    /// Calls the function on the timer's thread, unless another request comes first.
    void postPingRequest(int request, void (QTimer::*startOrStop)());
    void pingDatabase();
    void startFileSizesUpdateIfNeeded();
    bool isFileSizesUpdateDue() const;
    /// Returns when no scan uses this object any more; one that runs goes on to its end.
    void waitForFileSizesUpdate();

    // The end of a use, by its handle. Takes the semaphore.
    void onFinishedUsing(const QString &reference, qint64 usageId,
                         const std::weak_ptr<const bool> &itsOpening);

    ResourceCleanupPolicy cleanupPolicyRestriction = ResourceCleanupPolicy::Invalid;
    ResourceCachePath cachePath;
    ResourceCacheSizes sizes;
    std::unique_ptr<QTimer, DeletionOnItsThread> pingTimer;
    /// Null once the task has deleted itself, which it does on the thread that made it.
    QPointer<Task> fileSizesTask;
    QPointer<QThread> fileSizesThread;
    std::shared_ptr<PingGate> pingGate;
    /// Which start or stop of the timer is the latest. What another thread asked for waits in the
    /// queue of the timer's own, and must not undo what was asked for since.
    std::atomic<int> pingRequest = 0;
    ResourceCache *q;
    std::unique_ptr<ResourceCacheDao> dao;
    /// One for each place where the cache has been: threads may still wait for a former one.
    std::map<QString, std::unique_ptr<QSystemSemaphore>> semaphores;
    std::atomic<QSystemSemaphore *> semaphore;
    bool fixLongZacqFilePaths = true;
    std::chrono::duration<int, std::ratio<86400>> fullScanInterval { 7 };
    std::map<ExtendableEnumRef<FileTypes::FileTypeData>,
             std::unique_ptr<AssociatedResourcesProviderInterface>>
        associatedResourcesProviders;

    std::optional<std::chrono::milliseconds> retryOpenAfter;
    TaskRows taskRows;
    /// What the last purge had to say; empty if it reached its goal.
    QString pinnedSizeReport;
    /// Live as long as this object, and from open() to close(). Handles look whether they still do.
    std::shared_ptr<const bool> life = std::make_shared<bool>(true);
    std::shared_ptr<const bool> opening;
    std::unique_ptr<DirectoryUse> directoryUse; ///< from open() to close()
};

} // namespace zel
