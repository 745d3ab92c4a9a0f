#include "ResourceManager_p.h"

#include "BlockingWait.h"
#include "CoroutineWait.h"
#include "ResourceCache.h"
#include "errors/Propagate.h"

#include <functional>

namespace zel {

namespace {

constexpr int freshForMsecs = 30 * 60 * 1000;

// By the time of day alone: an answer from before midnight stays fresh until the clock has come
// round to half an hour past its time.
bool isFresh(const CachedRequestValue &value, QTime now)
{
    return !value.time.isNull() && value.time.msecsTo(now) < freshForMsecs;
}

} // namespace

std::optional<bool> ResourceManager::Private::cachedExistsValue(
    const QSharedPointer<ResourceReference> &reference) const
{
    const QString key = reference->referenceText(false);
    const std::lock_guard lock(memoGuard->mutex);
    const auto found = cachedRequestsValues.constFind(key);
    if (found == cachedRequestsValues.constEnd() || !isFresh(*found, currentTime()))
        return std::nullopt;
    return found->exists;
}

ResourceManager::Private::TaskResult ResourceManager::Private::existsAsync(
    const ResourceHandler *handler, Type type)
{
    if (!handler)
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null handler provided."));

    std::unique_ptr<Task> task;
    if (const auto answer = cachedExistsValue(handler->reference())) {
        task = makeAnswerTask(*answer);
    } else {
        task = handler->existsTask();
        if (!task) {
            return ZEL_ERROR(ErrorCode::OperationFailed,
                             ResourceManager::tr("Unable to check existence of resource: %1")
                                 .arg(handler->reference()->referenceText(true)));
        }
        memoiseWhenFinished(task.get(), *handler->reference());
    }
    if (type == ResourceHandler::Queued)
        enqueueTask(task.get());
    return task;
}

std::unique_ptr<Task> ResourceManager::Private::makeAnswerTask(bool exists) const
{
    auto task = std::make_unique<Task>(nullptr);
    task->setFunction([exists](Task *running) {
        running->setResult<bool>(exists);
        return Error(0);
    });
    return task;
}

void ResourceManager::Private::memoiseWhenFinished(Task *task, const ResourceReference &reference)
{
    // Asking for a local file is cheap, and it may go without anybody telling.
    if (reference.scheme() == ResourceReference::Scheme::File)
        return;

    const auto takeIn = [this, task, guard = memoGuard, key = reference.referenceText(false)] {
        if (!task->isSuccessful())
            return;
        const auto answer = task->result<bool>();
        const std::lock_guard lock(guard->mutex);
        if (guard->isOpen)
            memoise(key, answer.hasValue() && answer.value());
    };
    QObject::connect(task, &Task::finished, task, takeIn, Qt::DirectConnection);
}

void ResourceManager::Private::memoise(const QString &key, bool exists)
{
    const QTime now = currentTime();
    const auto isStale = [now](std::pair<const QString &, CachedRequestValue &> entry) {
        return !isFresh(entry.second, now);
    };
    answersSweep.sweepIfDue(cachedRequestsValues, isStale);
    cachedRequestsValues.insert(key, { exists, now });
}

ResourceManager::Private::GroupResult ResourceManager::Private::existsAsync(
    const RawHandlers &handlers, Type type)
{
    if (handlers.contains(nullptr))
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null handler provided."));

    auto group = std::make_unique<GroupTask>(nullptr);
    {
        // Queued tasks may have ended before the last one is in the group.
        const GroupTask::Filling filling(group.get());
        for (const ResourceHandler *handler : handlers) {
            ZEL_TRY_LET(auto task, existsAsync(handler, type));
            group->append(task.release());
        }
    }
    if (group->executableSubtasks(false).isEmpty())
        return std::unique_ptr<GroupTask>();
    return group;
}

Result<bool> ResourceManager::Private::exists(GroupTask *group) const
{
    if (!group)
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null task provided."));
    return ZEL_PASS(group->accumulateResults<bool>(std::logical_and<bool>(), true));
}

QCoro::Task<Result<bool>> ResourceManager::Private::co_exists(const ResourceHandler *handler)
{
    Error error;
    ZEL_CO_TRY(error, BlockingWait::obstacle());
    ZEL_CO_TRY_LET(const std::unique_ptr<Task> task, existsAsync(handler, ResourceHandler::Queued));
    const Error outcome = co_await task.get();
    ZEL_CO_TRY(error, outcome);
    co_return task->result<bool>();
}

QCoro::Task<Result<bool>> ResourceManager::Private::co_exists(RawHandlers handlers)
{
    Error error;
    ZEL_CO_TRY(error, BlockingWait::obstacle());
    ZEL_CO_TRY_LET(const std::unique_ptr<GroupTask> group,
                   existsAsync(handlers, ResourceHandler::Queued));
    const Error outcome = co_await group.get();
    ZEL_CO_TRY(error, outcome);
    co_return ZEL_PASS(exists(group.get()));
}

Result<bool> ResourceManager::Private::exists(const ResourceHandler *handler)
{
    return ZEL_PASS(waitForCoroutine(co_exists(handler)));
}

Result<bool> ResourceManager::Private::exists(const RawHandlers &handlers)
{
    return ZEL_PASS(waitForCoroutine(co_exists(handlers)));
}

void ResourceManager::Private::invalidateCachedRequestsValues(ResourceReference::Scheme scheme)
{
    const std::lock_guard lock(memoGuard->mutex);
    cachedRequestsValues.removeIf([scheme](std::pair<const QString &, CachedRequestValue &> entry) {
        const auto parsed = ResourceReference::scheme(entry.first);
        const auto own = parsed.hasValue() ? parsed.value() : ResourceReference::Scheme::Invalid;
        return own == scheme;
    });
}

ResourceManager::Private::TaskResult ResourceManager::Private::retrieveMetadataAsync(
    const ResourceHandler *handler, Type type)
{
    if (!handler)
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null handler provided."));

    auto task = handler->metadataTask();
    if (!task) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         ResourceManager::tr("Unable to retrieve metadata of resource: %1")
                             .arg(handler->reference()->referenceText(true)));
    }
    if (type == ResourceHandler::Queued)
        enqueueTask(task.get());
    return task;
}

Result<QSharedPointer<ResourceMetadata>> ResourceManager::Private::retrieveMetadata(
    const ResourceHandler *handler)
{
    Error error;
    ZEL_TRY(error, BlockingWait::obstacle());
    ZEL_TRY_LET(const auto task, retrieveMetadataAsync(handler, ResourceHandler::Queued));
    ZEL_TRY(error, task->waitForAllFinished(-1));
    return task->result<QSharedPointer<ResourceMetadata>>();
}

} // namespace zel
