#pragma once

#include "Export.h"
#include "ResourceHandlerTypes.h"
#include "errors/Result.h"
#include "files/PathImpl.h"

#include <QCoreApplication>
#include <QVersionNumber>

#include <memory>
#include <optional>

namespace zel {

class ResourceCache;

/// One retrieval's bookkeeping in the shared cache: decides which process fetches a resource,
/// carries the fetcher's progress to the others and records how the fetch ended.
///
/// Processes meet in the database only: a task row without progress is a process that wants the
/// resource, a row with progress is the one that fetches it. Whoever comes first fetches; the
/// others watch, and try again when the progress has vanished without the resource being ready.
///
/// Threads: one task at a time. The members take the cache's semaphore themselves, so none may be
/// called while it is held. Ownership: borrows the cache; a handle that outlives it only may be
/// destroyed. Moved caches: once the cache is open on another base directory than the one in which
/// the handle was made, the members that would act there fail with code 1 or do nothing.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceRetrieveHandle
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceRetrieveHandle)

public:
    /// How far the fetch of a resource is, whoever fetches it.
    struct ProgressAndStatus
    {
        std::optional<int> progress; ///< percent, 0 to 100; empty while nobody fetches
        ResourceStatus status = ResourceStatus::Invalid; ///< Missing for a resource without a row
    };

    /// Touches nothing yet. The resource must have a row by the time of tryStartRetrieve().
    ResourceRetrieveHandle(const QString &reference, const PathImpl<PathType::Unknown> &localPath,
                           ResourceCache *cache, const QVersionNumber &version);
    ResourceRetrieveHandle(const ResourceRetrieveHandle &) = delete;
    ResourceRetrieveHandle &operator=(const ResourceRetrieveHandle &) = delete;
    /// Removes this process's task row, as removeTaskFromDatabase() does.
    virtual ~ResourceRetrieveHandle();

    /// True: this process is the fetcher and ends with finalizeRetrieve(). False: the resource is
    /// ready or somebody else fetches it; follow readProgress(). Fails if the database does, and
    /// with code 1 if the cache has moved.
    Result<bool> tryStartRetrieve();

    /// Tells the others that this process wants the resource. Nothing happens if it has done so
    /// since the cache was opened.
    Error addTaskToDatabase();
    /// Takes this process's wish back, unless another handle of this process still needs the row.
    Error removeTaskFromDatabase();

    /// Percent, for those who watch. Without a row of this process it changes nothing.
    Error saveProgress(int progress);
    Result<ProgressAndStatus> readProgress() const; ///< asks the cache now
    /// Whether the cache says Ready.
    Result<bool> isReady() const;

    /// Writes path, size in bytes and version, and Ready as the very last step, so that nobody sees
    /// Ready without data. Code 1 if the data is not on disk or the cache has moved; the status
    /// then stays as it was. With a failed `retrieveError` writes Missing instead, unless somebody
    /// else has published the resource or fetches it, and does not return that failure again.
    Error finalizeRetrieve(Error retrieveError);

    /// Whether this very thread holds the cache's semaphore, so that every other member would wait
    /// for ever. A timer slot asks before it does its turn.
    bool isCacheHeldByThisThread() const;

protected:
    /// For subclasses: the same on a cache.
    static Result<bool> tryStartRetrieve(ResourceCache *cache, const QString &reference);
    /// For subclasses: the same on a cache, each time.
    static Error addTaskToDatabase(ResourceCache *cache, const QString &reference);
    /// For subclasses: the same on a cache.
    static Error removeTaskFromDatabase(ResourceCache *cache, const QString &reference);

private:
    /// Its row went with the closing of the cache; one of the same resource is of another handle.
    bool hasLostItsRow() const;
    Result<bool> becomeFetcher();
    Result<bool> isReadyInPlace() const;
    // While the cache is held, so that it does not move meanwhile.
    Error addRowUnderHold();
    Result<bool> isReadyUnderHold() const;
    Error checkPlace() const;

    ResourceCache *cache;
    QString reference;
    PathImpl<PathType::Unknown> localPath;
    QVersionNumber version;
    bool taskAdded = false;
    bool fetching = false;
    QString baseDir; ///< of the cache that the path is for
    std::weak_ptr<const bool> opening; ///< the one in which the row was added
    std::weak_ptr<const bool> cacheIsAlive;
};

} // namespace zel
