#pragma once

#include "Hidden.h"
#include "ResourceManager.h"
#include "ResourcePromptingInterface.h"
#include "TasksQueue.h"
#include "threads/Mutex.h"

#include <QHash>
#include <QTime>
#include <QWeakPointer>

#include <algorithm>
#include <memory>

namespace zel {

class ResourceCache;

/// Guards the memo of existence answers: a task that ends on a worker writes its answer from there,
/// at a time when the manager may be gone.
struct MemoGuard
{
    Mutex mutex { "the memo of existence answers" };
    bool isOpen = true;
};

/// An answer to "does it exist", and the time of day when it came.
struct CachedRequestValue
{
    bool exists = false;
    QTime time;
};

/// Rids a table of what nobody needs any more, each time it has doubled: so it stays in proportion
/// to what is needed, and what is put in costs two looks at an entry, whatever its size.
class SweepMark
{
public:
    template<typename Table, typename Predicate>
    void sweepIfDue(Table &table, Predicate isNeedless)
    {
        if (table.size() < mark)
            return;
        table.removeIf(isNeedless);
        mark = std::max(smallest, 2 * table.size());
    }

    static constexpr qsizetype smallest = 64;

private:
    qsizetype mark = smallest;
};

/// What ResourceManager does, one source per subject. No lock but that of the memo; on threads see
/// ResourceManager.
class ZEL_RESOURCE_MANAGER_HIDDEN ResourceManager::Private
{
public:
    using Type = ResourceHandler::AsyncProcessingType;
    using TaskResult = Result<std::unique_ptr<Task>>;
    using GroupResult = Result<std::unique_ptr<GroupTask>>;
    using RawHandlers = QList<ResourceHandler *>;

    Private(ResourceManager *owner, const std::optional<ResourceManagerSettings> &givenSettings);
    ~Private();
    Private(const Private &) = delete;
    Private &operator=(const Private &) = delete;

    // Opening and settings
    Error openCache(const ResourceCachePath &path, const ResourceCacheSizes &sizes);
    Error setSettings(const ResourceManagerSettings &newSettings);

    // Handler lookup
    Result<QSharedPointer<ResourceHandler>> getHandler(
        const QSharedPointer<ResourceReference> &reference);
    Result<QSharedPointer<ResourceHandler>> getHandler(const QString &reference);
    Result<Handlers> getHandlers(const References &references);
    Result<Handlers> getHandlers(const QList<QString> &references);
    Result<HandlersByReference> getHandlersWithReferences(const References &references);
    static HandlersByReference paired(const References &references, const Handlers &handlers);
    Result<QSharedPointer<ResourceHandler>> createHandler(
        const QSharedPointer<ResourceReference> &reference);
    ResourceHandler::RetrieveMode retrieveModeFor(const ResourceHandler *handler) const;

    // Retrieval
    TaskResult retrieveAsync(ResourceHandler *handler);
    TaskResult retrieveAsync(ResourceHandler *handler, Type type,
                             ResourcePromptingInterface *prompting);
    GroupResult retrieveAsync(const RawHandlers &handlers, Type type,
                              ResourcePromptingInterface *prompting);
    GroupResult createRetrieveGroupTask(const RawHandlers &handlers);
    Error promptRetrieveIfNeeded(const RawHandlers &handlers,
                                 ResourcePromptingInterface *prompting);
    Error retrieve(ResourceHandler *handler, ResourcePromptingInterface *prompting);
    Error retrieve(const RawHandlers &handlers, ResourcePromptingInterface *prompting);

    // Existence and metadata
    TaskResult existsAsync(const ResourceHandler *handler, Type type);
    GroupResult existsAsync(const RawHandlers &handlers, Type type);
    // A coroutine keeps its own list: the caller's may go while it is suspended.
    QCoro::Task<Result<bool>> co_exists(const ResourceHandler *handler);
    QCoro::Task<Result<bool>> co_exists(RawHandlers handlers);
    Result<bool> exists(const ResourceHandler *handler);
    Result<bool> exists(const RawHandlers &handlers);
    Result<bool> exists(GroupTask *group) const;
    std::optional<bool> cachedExistsValue(const QSharedPointer<ResourceReference> &reference) const;
    void invalidateCachedRequestsValues(ResourceReference::Scheme scheme);
    TaskResult retrieveMetadataAsync(const ResourceHandler *handler, Type type);
    Result<QSharedPointer<ResourceMetadata>> retrieveMetadata(const ResourceHandler *handler);

    // Maintenance
    /// Removes what lies at the path, but nothing outside the cache's data directory, which counts
    /// as no failure.
    Error deleteResource(const QString &path);
    Error updateFileSizes(const Handlers &handlers);

    /// Tells the time of day; a test may have another one.
    QTime (*currentTime)() = &QTime::currentTime;

    // In this order: the cache outlives the queue, whose tasks borrow it.
    ResourceHandler::RetrieveMode retrieveMode = ResourceHandler::NoPrompt;
    QHash<QString, QWeakPointer<ResourceHandler>> handlersByReference;
    SweepMark handlersSweep;
    ResourceManager *q;
    ResourceManagerSettings settings;
    std::unique_ptr<ResourceCache> cache;
    /// Whoever asks keeps it: in the midst of the question another one may be set.
    std::shared_ptr<ResourcePromptingInterface> defaultPromptingInterface;
    TasksQueue tasksQueue;
    QHash<QString, CachedRequestValue> cachedRequestsValues;
    SweepMark answersSweep;
    const std::shared_ptr<MemoGuard> memoGuard = std::make_shared<MemoGuard>();

private:
    void openCacheAtStart();
    Error makeDataDir() const;
    /// Whether its data is here and the cache's own.
    Result<bool> isInCache(const ResourceHandler *handler) const;
    /// The single road into the queue.
    void enqueueTask(Task *task);
    QSharedPointer<ResourceHandler> liveHandler(const QString &key) const;
    void rememberHandler(const QString &key, const QSharedPointer<ResourceHandler> &handler);
    /// Under the memo's mutex.
    void memoise(const QString &key, bool exists);
    Result<RawHandlers> missingOnes(const RawHandlers &handlers);
    RawHandlers withoutUnaccepted(const RawHandlers &missing, const References &accepted) const;
    /// True: the resource was published in the meantime and nothing is left to do.
    Result<bool> clearWayFor(const ResourceHandler &handler, const QString &path);
    std::unique_ptr<Task> makeAnswerTask(bool exists) const;
    void memoiseWhenFinished(Task *task, const ResourceReference &reference);
};

} // namespace zel
