#pragma once

#include "ResourceHandlerTypes.h"
#include "ResourceMetadata.h"
#include "Task.h"
#include "errors/Result.h"
#include "files/PathImpl.h"
#include "references/ResourceReference.h"

#include <QCoreApplication>
#include <QSharedPointer>

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>

namespace zel {

class GetSiblingsTask;
class ResourceCache;
class ResourceManager;
class ResourcePromptingInterface;

/// What a program holds of one resource: whether it exists, where it lies here, what it is, and the
/// way to bring it here.
///
/// A scheme brings a subclass whose virtual operations make the tasks that do the work. The public
/// operations hand the handler to ResourceManager, which remembers answers, asks before fetching
/// and queues; they have its rules on threads: no lock, meant for the manager's thread.
/// Those that block, and the coroutines, need the host's QCoreApplication and fail with code 1
/// without one; a blocked thread goes on delivering its events.
/// Ownership: handlers are shared among their callers, nobody else keeps one alive.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceHandler
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceHandler)

public:
    /// Whether somebody is asked before data is fetched.
    enum RetrieveMode : qint32 {
        Prompt = 0, ///< ask a ResourcePromptingInterface before fetching
        NoPrompt = 1, ///< fetch without a question
    };
    /// Who starts a task that the caller receives.
    enum AsyncProcessingType : qint32 {
        Queued = 0, ///< the task is in the manager's queue when the caller receives it
        Manual = 1, ///< the caller receives the task unstarted and runs it
    };

    ResourceHandler(const ResourceHandler &) = default;
    ResourceHandler &operator=(const ResourceHandler &) = default;
    virtual ~ResourceHandler();

    /// What happens to the local copy when nobody uses it any more.
    virtual Result<ResourceCleanupPolicy> cleanupPolicy() const = 0;
    /// Stores it for all programs. Code 21 where there is no local copy to speak of.
    virtual Error setCleanupPolicy(const ResourceCleanupPolicy &policy) = 0;

    /// Whether the data is here, whole and readable. Without an override: whether something
    /// readable, file or folder, lies at the local path. A failure counts as no and is logged.
    virtual bool isAvailableLocally() const;

    /// A new, unstarted task that finds the resources that belong with this one. Code 21 unless a
    /// scheme overrides it.
    virtual Result<std::unique_ptr<GetSiblingsTask>> siblings() const;

    QSharedPointer<ResourceReference> reference() const; ///< never null

    /// Whether the resource exists and may be read. Answers of the last 30 minutes are remembered.
    Result<bool> exists() const;
    /// The same as a task whose result is a bool.
    Result<std::unique_ptr<Task>> existsAsync(AsyncProcessingType type) const;
    /// The same as a coroutine, which the handler has to outlive.
    QCoro::Task<Result<bool>> co_exists() const;

    /// Where the resource is or would be. Touches neither the disk nor the cache's state.
    Result<PathImpl<PathType::Unknown>> expectedPath() const;

    /// The expected path of a resource that is proved to exist. Copies nothing: nothing needs to
    /// lie there yet. Code 1 if the resource does not exist.
    Result<PathImpl<PathType::Unknown>> grab() const;
    /// The same as a coroutine, which the handler has to outlive.
    QCoro::Task<Result<PathImpl<PathType::Unknown>>> co_grab() const;

    /// Brings the resource here, if it is not here already, and waits for that. `prompting` is
    /// borrowed; the manager's default interface is asked if it is null. Code 20 if the answer is
    /// no.
    Error retrieve(ResourcePromptingInterface *prompting = nullptr);
    /// A null task is a success: there is nothing to do. The caller keeps the task until it has
    /// finished.
    Result<std::unique_ptr<Task>> retrieveAsync(AsyncProcessingType type,
                                                ResourcePromptingInterface *prompting = nullptr);

    /// What the resource is, asked of its source each time.
    Result<QSharedPointer<ResourceMetadata>> retrieveMetadata() const;
    /// The same as a task whose result is a QSharedPointer<ResourceMetadata>.
    Result<std::unique_ptr<Task>> retrieveMetadataAsync(AsyncProcessingType type) const;

    /// The handler's own mode goes before the manager's, in both directions, until it is cleaned.
    void overrideRetrieveMode(RetrieveMode mode);
    /// The handler's own mode; empty if it has none.
    std::optional<RetrieveMode> overridenRetrieveMode() const;
    void cleanOverridenRetrieveMode(); ///< from now on the manager's mode counts

protected:
    /// For the handlers of schemes. The reference must not be null.
    explicit ResourceHandler(const QSharedPointer<ResourceReference> &reference);

    /// What ResourceHandlerFactory makes of the reference. Code 2 for a null one.
    static Result<QSharedPointer<ResourceHandler>> create(
        QSharedPointer<ResourceReference> reference, ResourceCache *cache);

    /// A new, unstarted task. On success its result holds a bool: exists and may be read. A null
    /// pointer means that nobody can tell, which is reported as a failure.
    virtual std::unique_ptr<Task> existsTask() const = 0;
    /// A new, unstarted task that fetches the resource. No value: it cannot be fetched, which is
    /// reported as a failure. A null task: nothing has to be done.
    virtual std::optional<std::unique_ptr<Task>> retrieveTask() = 0;
    /// A new, unstarted task. On success its result holds a QSharedPointer<ResourceMetadata>. A
    /// null pointer means that there is no metadata to be had, which is reported as a failure.
    virtual std::unique_ptr<Task> metadataTask() const = 0;
    /// Where the resource is or would be; answers before it was ever fetched.
    virtual Result<PathImpl<PathType::Unknown>> localPath() const = 0;

private:
    friend class ResourceManager;

    std::optional<RetrieveMode> overriddenMode;
    QSharedPointer<ResourceReference> reference_;
};

} // namespace zel
