#pragma once

#include <QString>

#include <functional>

namespace zel {

class ResourceCache;
class ResourceReference;

/// What a fetching task has to know of the resource and of the cache it is fetched for. A value
/// that is made on the manager's thread and used on the task's.
struct FetchPlan
{
    QString referenceKey;
    QString displayText; ///< for people; never holds a secret
    QString expectedPath; ///< where the resource is to appear as a whole
    QString stagingDirectory; ///< beside the cache's data directory
    QString manifestDirectory; ///< where its manifest goes; empty for nowhere
    QString scheme; ///< as in "http"
    QString host; ///< that it comes from, with a port of its own; empty for what has none
    /// Whether the resource with this key is Ready in the cache. Takes the semaphore, so it must
    /// not be called while that is held; on any thread.
    std::function<bool(const QString &referenceKey)> isReady;

    /// The plan of one resource in the cache that the manager uses now. The cache is borrowed.
    static FetchPlan make(const ResourceReference &reference, const QString &expectedPath,
                          ResourceCache *cache);
};

} // namespace zel
