#pragma once

#include "ResourceHandler.h"

#include <functional>
#include <memory>

namespace zel {

/// Base of the handlers whose resource lives elsewhere and is copied into the cache.
///
/// Answers come from the resource's row in the cache. The handler counts as a user of its resource
/// from its construction to its destruction, so that what a living handler holds is not purged.
/// A scheme supplies how bytes get here: createRetrieveTask() and cacheFileName(), besides
/// existsTask() and metadataTask(). The cache is borrowed and outlives the handler.
class ZEL_RESOURCE_MANAGER_EXPORT RemoteResourceHandler : public ResourceHandler
{
    Q_DECLARE_TR_FUNCTIONS(zel::RemoteResourceHandler)

public:
    ~RemoteResourceHandler() override;

    Result<ResourceCleanupPolicy> cleanupPolicy() const override;
    Error setCleanupPolicy(const ResourceCleanupPolicy &policy) override;
    /// Both must hold: the cache says Ready, and something readable lies at the path.
    bool isAvailableLocally() const override;

    /// Copies a local file or folder into the cache as this resource, and marks it Ready. Blocks
    /// for the length of the copy. A file that is there already is not overwritten: code 1. A file
    /// appears there as a whole; it and its names are on the disk before the resource is Ready.
    /// What was copied stays if the row cannot be written. A file of these is replaced by this same
    /// handler, asked again. To another one it is in the way, until
    /// ResourceCache::moveLeftoversAside(), with which a retrieval begins, has cleared it away.
    /// A folder is copied file by file into what lies there, whoever has put it there: files of the
    /// same names are overwritten, others stay.
    /// Must not run beside a retrieval of the same resource.
    Error addToCache(const PathImpl<PathType::Unknown> &source);
    /// The same with the caller's own copy step, which puts the data at expectedPath(), and on the
    /// disk if it is to outlast a power cut: WholeCopy does both.
    Error addToCache(const std::function<Error()> &copier);

protected:
    /// Marks the resource as used, and enters it if the cache does not know it. What goes wrong is
    /// logged; the handler then keeps nothing from being purged.
    RemoteResourceHandler(const QSharedPointer<ResourceReference> &reference, ResourceCache *cache);

    /// A RemoteResourceRetrievingTask around the task of createRetrieveTask(). No value if the
    /// target directory or the task could not be made.
    std::optional<std::unique_ptr<Task>> retrieveTask() override;
    /// "<data directory>/<name of the scheme>/<cacheFileName()>", in the data directory that the
    /// manager uses at this moment.
    Result<PathImpl<PathType::Unknown>> localPath() const override;

    /// A new, unstarted task that places the resource at localPath(), which lies in the given
    /// directory, and reports progressInitiated() and progress(). Null: it cannot be fetched.
    virtual std::unique_ptr<Task> createRetrieveTask(const PathImpl<PathType::Dir> &targetDirectory)
        = 0;

    /// Where the resource lies within its scheme's directory: "<folder>/<original name>". Always
    /// the same for one reference. The folder is the resource's own, since it goes with it, and no
    /// level starts with a dot.
    virtual QString cacheFileName() const = 0;

private:
    class Private;

    /// The parent of localPath(), made if it is not there. The names of the folders around it are
    /// on the disk then.
    Result<PathImpl<PathType::Dir>> createTargetDirectory();

    const std::unique_ptr<Private> d;
};

} // namespace zel
