#pragma once

#include "Export.h"
#include "ResourceCachePath.h"
#include "ResourceCacheSizes.h"
#include "ResourceHandlerTypes.h"
#include "errors/Result.h"
#include "files/FileTypes.h"
#include "files/PathImpl.h"

#include <QVersionNumber>

#include <chrono>
#include <memory>
#include <optional>

namespace zel {

class AssociatedResourcesProviderInterface;
class ResourceCacheDao;
class Task;

/// The cache of local copies that all programs of the machine share: what it holds, who uses what,
/// who fetches what, and how large it may be.
///
/// Any number of processes open one base directory at the same time. They meet in its database
/// only; every member that touches it takes one named system semaphore for its whole length, so
/// that each is one atomic operation among all processes. A resource is known by its key, the
/// reference's key form; a key without a row counts as Missing. Rows never go: what leaves the
/// cache stays as a Missing row.
///
/// Threads: every member that is said to be atomic may be called on any thread, but not while the
/// same thread holds the semaphore (through a task of purgeOutdatedResourcesTask(), say): it would
/// wait for ever. The settings (path, sizes, restriction, switches) take no lock; set them up on
/// one thread.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceCache
{
public:
    /// Keeps one resource from being purged for as long as it lives.
    ///
    /// Its destructor waits for the semaphore and, if the resource's policy says so, removes the
    /// data. A handle that outlives its cache, or the closing of it, does nothing.
    class InUseHandle
    {
    public:
        virtual ~InUseHandle() = default;
        InUseHandle(const InUseHandle &) = delete;
        InUseHandle &operator=(const InUseHandle &) = delete;

        /// False once the cache was closed, whether or not it was opened anew: it keeps nothing.
        virtual bool isInForce() const { return true; }

    protected:
        InUseHandle() = default;
    };

    ResourceCache();
    ResourceCache(const ResourceCache &) = delete;
    ResourceCache &operator=(const ResourceCache &) = delete;
    /// Closes the cache.
    virtual ~ResourceCache();

    // Opening

    /// Opens or creates the cache, registers this process in it and starts its ping; cleans up
    /// after processes that died. The base directory must exist. Fails if the database cannot be
    /// used; the cache is closed then, unless only the clean-up failed.
    ///
    /// If the last count of all sizes was long enough ago, a new one starts on a worker, which
    /// holds the semaphore until it is done; this call returns meanwhile.
    Error open(const ResourceCachePath &path, const ResourceCacheSizes &sizes);
    /// Ends the ping and takes this process, its usages and its fetches out of the database.
    void close();
    bool isOpen() const; ///< waits for the semaphore
    /// After a failed open(): how long to wait before another try may succeed, because a process
    /// that had this process's number, and may live in another container, is still registered.
    /// Empty if waiting does not help.
    std::optional<std::chrono::milliseconds> retryOpenAfter() const;

    ResourceCachePath path() const; ///< where it was opened last; the default before that
    ResourceCacheSizes sizes() const; ///< as set last, whether or not a purge could keep to them
    /// Stores the sizes; purges at once only if the maximum was lowered. The new sizes stay if that
    /// purge fails.
    Error setSizes(const ResourceCacheSizes &sizes);

    /// A process that does not ping counts as dead after 30 s. open() starts the ping whatever was
    /// said here before; on a closed cache true does nothing.
    void setPingEnabled(bool enabled);
    /// How many days pass between two counts of all sizes. 7 at first; read at open().
    void setFullScanInterval(std::chrono::duration<int, std::ratio<86400>> interval);
    /// Whether containers with paths that are too long are moved to a short one after their fetch.
    void setFixLongZacqFilePaths(bool fix);
    bool isFixLongZacqFilePathsSet() const; ///< true at first
    /// Makes handles of this process release more eagerly than the stored policies say: OnClose
    /// turns OnDemand into OnClose. Invalid and Never restrict nothing.
    void setCleanupPolicyRestriction(const ResourceCleanupPolicy &restriction);
    ResourceCleanupPolicy cleanupPolicyRestriction() const; ///< invalid at first

    // One resource. All are atomic and fail if the database does.

    /// Makes room if the cache is above its optimal size, then enters the resource as Missing.
    /// Fails for one that has a row.
    Error add(const QString &reference, ResourceCleanupPolicy policy);
    /// Takes any status from any state; Ready only with a local path (else code 1). Counts as an
    /// access: the purge takes the resource last.
    Error saveStatus(const QString &reference, ResourceStatus status);
    /// Missing for a resource without a row.
    Result<ResourceStatus> readStatus(const QString &reference);
    /// Counts from the next release on. Nothing happens to a resource without a row.
    Error saveCleanupPolicy(const QString &reference, ResourceCleanupPolicy policy);
    /// The stored policy, without the restriction.
    Result<ResourceCleanupPolicy> readCleanupPolicy(const QString &reference) const;
    /// `size` in bytes. The path is stored as given.
    Error saveLocalPath(const QString &reference, const PathImpl<PathType::Unknown> &path,
                        qint64 size);
    /// Code 1 for a Missing resource, even if its row has a path.
    Result<PathImpl<PathType::Unknown>> readLocalPath(const QString &reference);
    /// The version of the copy. Nothing happens to a resource without a row.
    Error updateVersion(const QString &reference, const QVersionNumber &version);
    /// Whether the resource has a row, even as Missing.
    Result<bool> existsInDb(const QString &reference);
    /// Whether any process of the machine uses it.
    Result<bool> inUse(const QString &reference);

    /// Marks the resource as used; enters it first if it is unknown (policy OnDemand), and makes
    /// room first if its data is not there.
    Result<std::unique_ptr<InUseHandle>> useResource(const QString &reference);

    /// What moveLeftoversAside() found and did.
    struct Leftovers
    {
        bool isPublished = false; ///< nothing to fetch: Ready by now, and readable at the path
        QString movedTo; ///< for the caller to delete; empty if nothing was moved
    };

    /// Clears the path at which a resource is to be fetched, so that the fetch starts clean. Leaves
    /// what belongs to a fetch that somebody runs at this moment, and what has been published. One
    /// rename and no deletion, but for a container whose data lies elsewhere, which goes at once.
    /// A Ready resource whose data somebody has deleted becomes Missing, so that it can be fetched.
    Result<Leftovers> moveLeftoversAside(const QString &reference,
                                         const PathImpl<PathType::Unknown> &path);

    /// Counts the size of a Ready resource anew, what its providers name and where a sparse
    /// container has its sample included. Code 1 for any other. Atomic, so it keeps everybody
    /// waiting while it looks at each of the files.
    Error updateFileSize(const QString &reference);

    // Files that belong to a resource without being part of it. For the time of setting up, not
    // while the cache is in use: these take no lock, and a count of sizes reads what they write.

    /// Counts the files that `provider` names with each resource whose path is of `type`, instead
    /// of those of the provider that the type had before. Every type that a path belongs to counts.
    void registerAssociatedResourcesProvider(
        ExtendableEnumRef<FileTypes::FileTypeData> type,
        std::unique_ptr<AssociatedResourcesProviderInterface> provider);
    /// Nothing happens if the type has none.
    void unregisterAssociatedResourcesProvider(ExtendableEnumRef<FileTypes::FileTypeData> type);
    void clearAssociatedResourcesProviders(); ///< from then on resources are counted alone

    // The whole cache. Atomic.

    /// The sum of all stored sizes, in bytes.
    Result<qint64> readCurrentCacheSize();
    /// Counts the sizes of all Ready resources anew. All or nothing: the first failure leaves every
    /// size as it was.
    Error updateFileSizes();
    /// Makes readCurrentCacheSize() right again after something else has written to the database:
    /// leaves exactly one row of sums and sums up in it what is stored. Looks at no file.
    Error rebuildMetadata();
    /// If the current size and `extraSize` bytes exceed the optimal size, removes the resources
    /// fetched or changed longest ago that nobody uses until nine tenths of it are reached. A
    /// removal that fails is an error only above the maximum size.
    Error purgeCacheIfNeeded(qint64 extraSize);
    /// Removes every Ready resource whose reference declares a higher major version than the copy
    /// has, used or not. The first failure ends it; what was removed stays removed.
    Error purgeOutdatedResources();
    /// The same as a task, or null if nothing is outdated. Holds the semaphore from this call until
    /// the task has run or is destroyed: run it soon. Canceling it takes effect between two
    /// resources. The task borrows the cache; once that has moved, it only ends as canceled.
    Result<std::unique_ptr<Task>> purgeOutdatedResourcesTask();

protected:
    /// Works on the given database access; null stands for the ordinary one.
    explicit ResourceCache(std::unique_ptr<ResourceCacheDao> dao);

private:
    friend class ResourceRetrieveHandle;
    class Private;

    ResourceCacheDao *dao();

    std::unique_ptr<Private> d;
};

} // namespace zel
