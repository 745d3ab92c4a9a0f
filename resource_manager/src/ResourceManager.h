#pragma once

#include "GroupTask.h"
#include "ResourceHandler.h"
#include "ResourceManagerSettings.h"
#include "Task.h"
#include "errors/Result.h"
#include "files/FileTypes.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSharedPointer>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace zel {

class AssociatedResourcesProviderInterface;
class ResourceCache;
class ResourcePromptingInterface;

/// Where every call enters: one per process, made on first use, with the one cache and the one
/// queue of tasks of the process.
///
/// Threads: only the making of the instance is guarded. The thread of the first call is the one
/// that runs queued tasks, six at a time at most; call from there, normally the main thread, and
/// let it have an event loop.
/// Waiting: the forms that block, and the coroutines, need the host's QCoreApplication and fail
/// with code 1 without one. A blocked thread goes on delivering its events.
/// Tasks: an async form gives the caller a task or group to keep until it has finished; a null one
/// inside a success means that there is nothing to do. `Queued` ones run by themselves, others the
/// caller runs.
/// Null handlers and references give code 2.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceManager : public QObject
{
    Q_OBJECT

public:
    /// Shared among those who hold them.
    using References = QList<QSharedPointer<ResourceReference>>;
    /// In the order of what they were made for.
    using Handlers = QList<QSharedPointer<ResourceHandler>>;
    /// Keyed by the pointer, not by what the reference says.
    using HandlersByReference
        = QHash<QSharedPointer<ResourceReference>, QSharedPointer<ResourceHandler>>;

    ~ResourceManager() override;

    /// Makes the manager on the first call: reads the settings, opens the cache. A cache that
    /// cannot be opened stays closed, the manager works on without it.
    static ResourceManager &instance();

    /// What the manager is made with instead of the settings file. Counts only before the first
    /// call of instance().
    static void overrideDefaultSettings(const ResourceManagerSettings &settings);
    /// The days between two counts of all sizes. Counts only before the first call of instance().
    static void overrideDefaultFullScanInterval(std::chrono::days interval);
    /// Has the manager's cache count, with data of this type, what the provider names. For
    /// libraries of schemes: the cache may start to count the moment it is opened, and from then on
    /// it is too late to register a provider with it. Of one type the last one counts.
    static void addAssociatedResourcesProvider(
        ExtendableEnumRef<FileTypes::FileTypeData> type,
        const std::function<std::unique_ptr<AssociatedResourcesProviderInterface>()> &maker);

    /// Takes over other settings; does not save them. They are kept even if applying them fails.
    /// Another base directory moves an open cache there, a closed one stays closed. Code 1 if the
    /// new data directory cannot be made; the cache then stays where it was.
    static Error updateSettings(const ResourceManagerSettings &settings);

    /// Never null; the manager's own.
    static ResourceCache *cache();
    /// Where the cache really is, which after a failed updateSettings() is not where the settings
    /// say.
    static ResourceCachePath cachePath();

    /// The mode of all handlers that have none of their own; NoPrompt at first.
    static ResourceHandler::RetrieveMode retrieveMode();
    /// Counts from the next request on.
    static void setRetrieveMode(ResourceHandler::RetrieveMode mode);
    /// Asked whenever a call brings no interface; null for nobody.
    static void setDefaultResourcePromptingInterface(
        std::unique_ptr<ResourcePromptingInterface> prompting);

    /// One handler per resource as long as somebody holds it. With a text, the text itself is what
    /// is looked up, so give the key form to share a handler.
    static Result<QSharedPointer<ResourceHandler>> getHandler(
        const QSharedPointer<ResourceReference> &reference);
    /// See getHandler() of a reference. Code 2 if no scheme reads the text.
    static Result<QSharedPointer<ResourceHandler>> getHandler(const QString &reference);
    /// In the order of the references, repeats included. The first failure is returned.
    static Result<Handlers> getHandlers(const References &references);
    /// See getHandlers() of references.
    static Result<Handlers> getHandlers(const QList<QString> &references);
    /// The same as pairs; of equal pointers one is kept.
    static Result<HandlersByReference> getHandlersWithReferences(const References &references);

    /// Brings resources here and waits for that. Handlers in mode Prompt are asked about first:
    /// `prompting`, which is borrowed, or the default interface. Code 20 if the answer is no, code
    /// 1 if a resource cannot be fetched. What was fetched before a failure stays in the cache.
    static Error retrieve(ResourceHandler *handler,
                          ResourcePromptingInterface *prompting = nullptr);
    /// See retrieve() of one handler.
    static Error retrieve(const QSharedPointer<ResourceHandler> &handler,
                          ResourcePromptingInterface *prompting = nullptr);
    /// Several at once, each resource once, as tasks that run side by side. See retrieve() of one
    /// handler.
    static Error retrieve(const QList<ResourceHandler *> &handlers,
                          ResourcePromptingInterface *prompting = nullptr);
    /// See retrieve() of several handlers.
    static Error retrieve(const Handlers &handlers,
                          ResourcePromptingInterface *prompting = nullptr);
    /// The same for references. A mode stays on the handler after the call.
    static Result<QSharedPointer<ResourceHandler>> retrieve(
        const QSharedPointer<ResourceReference> &reference,
        std::optional<ResourceHandler::RetrieveMode> mode = std::nullopt);
    /// The handlers in the order of the references.
    static Result<Handlers> retrieve(const References &references,
                                     std::optional<ResourceHandler::RetrieveMode> mode
                                     = std::nullopt);
    /// The same as pairs.
    static Result<HandlersByReference> retrieveWithReferences(
        const References &references,
        std::optional<ResourceHandler::RetrieveMode> mode = std::nullopt);

    /// The task of one resource; null if it is here. Asks at once, on the calling thread; see
    /// retrieve() for the codes.
    static Result<std::unique_ptr<Task>> retrieveAsync(
        const QSharedPointer<ResourceHandler> &handler, ResourceHandler::AsyncProcessingType type,
        ResourcePromptingInterface *prompting = nullptr);
    /// One subtask per resource that is missing and was not left out by the answer.
    static Result<std::unique_ptr<GroupTask>> retrieveAsync(
        const Handlers &handlers, ResourceHandler::AsyncProcessingType type,
        ResourcePromptingInterface *prompting = nullptr);

    /// Whether all of the resources exist and may be read. Answers are remembered for 30 minutes,
    /// but for those of scheme File.
    static Result<bool> exists(const ResourceHandler *handler);
    /// See exists() of one handler.
    static Result<bool> exists(const QSharedPointer<ResourceHandler> &handler);
    /// Code 2 if the list is empty.
    static Result<bool> exists(const QList<ResourceHandler *> &handlers);
    /// See exists() of several handlers.
    static Result<bool> exists(const Handlers &handlers);
    /// Reads the answer of a finished group of existsAsync(). Code 1 if it is unfinished, code 2
    /// for a null one.
    static Result<bool> exists(GroupTask *group);
    /// The same as a coroutine. The handler is borrowed and has to outlive it.
    static QCoro::Task<Result<bool>> co_exists(const ResourceHandler *handler);
    /// The same as a task whose result is a bool.
    static Result<std::unique_ptr<Task>> existsAsync(const QSharedPointer<ResourceHandler> &handler,
                                                     ResourceHandler::AsyncProcessingType type);
    /// One subtask per handler; exists() of the group tells the answer. Null for an empty list.
    static Result<std::unique_ptr<GroupTask>> existsAsync(
        const Handlers &handlers, ResourceHandler::AsyncProcessingType type);
    /// Forgets the answers for a scheme, for a host that knows that its store changed. Scheme 0
    /// stands for references that cannot be parsed any more.
    static void invalidateCachedRequestsValues(ResourceReference::Scheme scheme);

    /// What the resource is, asked of its source each time. Code 1 if the scheme has no answer,
    /// else the failure of its task.
    static Result<QSharedPointer<ResourceMetadata>> retrieveMetadata(
        const ResourceHandler *handler);
    /// See retrieveMetadata() of a handler.
    static Result<QSharedPointer<ResourceMetadata>> retrieveMetadata(
        const QSharedPointer<ResourceHandler> &handler);
    /// See retrieveMetadata() of a handler.
    static Result<QSharedPointer<ResourceMetadata>> retrieveMetadata(
        const QSharedPointer<ResourceReference> &reference);
    /// The same as a task whose result is a QSharedPointer<ResourceMetadata>.
    static Result<std::unique_ptr<Task>> retrieveMetadataAsync(
        const QSharedPointer<ResourceHandler> &handler, ResourceHandler::AsyncProcessingType type);

    /// Removes all resources whose reference declares a newer major version than what is here. The
    /// task form has taken the cache's semaphore already and keeps it until the task is gone.
    static Error purgeOutdatedResources();
    /// See ResourceCache::purgeOutdatedResourcesTask().
    static Result<std::unique_ptr<Task>> purgeOutdatedResourcesTask();
    /// Counts the sizes of resources that the cache holds anew; leaves out those of scheme File,
    /// those that are not here and those that lie elsewhere. Goes on after a failure and returns
    /// the distinct ones together; a resource whose path cannot be told ends it at once.
    static Error updateFileSizes(const QList<QSharedPointer<ResourceHandler>> &handlers);
    /// Bytes, as the settings say.
    static Result<qint64> maxCacheSize();
    static Result<qint64> optimalCacheSize(); ///< bytes, as the settings say
    static ResourceCleanupPolicy cleanupPolicyRestriction(); ///< of the manager's cache
    /// See ResourceCache::setCleanupPolicyRestriction().
    static void setCleanupPolicyRestriction(const ResourceCleanupPolicy &policy);

Q_SIGNALS:
    /// The settings name another base directory. Sent before the cache moves there.
    // The type is written as in this class, and so in the texts by which hosts may connect to it.
    void cachePathChanged(const ResourceCachePath &path); // clazy:exclude=fully-qualified-moc-types

protected:
    /// For subclasses; everybody else has instance(). Reads the settings file if none are given.
    explicit ResourceManager(const std::optional<ResourceManagerSettings> &settings);

    /// Closes the cache if it is open, and opens it at the path, whose base directory it makes.
    Error openCache(const ResourceCachePath &path, const ResourceCacheSizes &sizes);

    class Private;
    const std::unique_ptr<Private> d; ///< what the manager is made of

private:
    friend class ResourceHandler;

    static Result<std::unique_ptr<Task>> retrieveAsync(ResourceHandler *handler,
                                                       ResourceHandler::AsyncProcessingType type,
                                                       ResourcePromptingInterface *prompting);
    static Result<std::unique_ptr<Task>> existsAsync(const ResourceHandler *handler,
                                                     ResourceHandler::AsyncProcessingType type);
    static Result<std::unique_ptr<Task>> retrieveMetadataAsync(
        const ResourceHandler *handler, ResourceHandler::AsyncProcessingType type);
};

} // namespace zel
