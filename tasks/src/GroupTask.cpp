#include "GroupTask.h"

#include "Hidden.h"
#include "Task.h"
#include "TaskState_p.h"
#include "errors/Logging.h"
#include "errors/UnifiedError.h"
#include "threads/Mutex.h"

#include <QSet>
#include <QThread>

#include <algorithm>
#include <optional>
#include <thread>
#include <utility>

namespace zel {

class ZEL_RESOURCE_MANAGER_HIDDEN GroupTask::Private
{
public:
    /// How far the group is, to be told next.
    struct Telling
    {
        int ended;
        int count;
        bool isNews; ///< else only the end of the group is left to tell
        bool isLast; ///< the end of the group follows
    };

    mutable Mutex mutex { "the subtasks of a group" }; ///< of all below
    QList<BaseTask *> subtasks;
    int ended = 0; ///< how many of them have told their end
    int filling = 0; ///< the group does not end while this is not 0
    QSet<Error> lost; ///< failures of subtasks that are gone

    // One thread at a time tells of ends, also of those that come on others meanwhile. Else an
    // earlier one could be told behind a later one, or behind the end of the group. Whoever tells
    // of the last one ends the group and stays the teller.
    std::thread::id teller; ///< nobody, if it is none
    bool isUntold = false; ///< an end is still to be told
    bool isLastTold = false; ///< and nothing comes behind it but the end of the group
    bool isEndAsked = false; ///< somebody has seen that the group may end

    bool isTeller() const { return teller == std::this_thread::get_id(); }
    bool isComplete() const { return filling == 0 && ended == subtasks.size() && !isEmpty(); }
    bool isEmpty() const { return subtasks.isEmpty() && lost.isEmpty(); }
    bool mayEnd() const;

    bool countEnd();
    std::optional<Telling> takeTelling();
    bool takeEnd();
};

/// Not by the count: a slot at the end of a subtask, which has not told yet, may wait for the
/// group.
bool GroupTask::Private::mayEnd() const
{
    return filling == 0 && !isEmpty()
        && std::all_of(subtasks.cbegin(), subtasks.cend(),
                       [](const BaseTask *subtask) { return subtask->isFinished(); });
}

/// Whether the calling thread has to tell of it.
bool GroupTask::Private::countEnd()
{
    const std::lock_guard lock(mutex);
    ++ended;
    isUntold = true;
    // In a slot of what it tells, the event loop of a wait may bring about the next end.
    if (teller != std::thread::id() && !isTeller())
        return false;
    teller = std::this_thread::get_id();
    return true;
}

/// Nothing if the calling thread has no more to tell.
std::optional<GroupTask::Private::Telling> GroupTask::Private::takeTelling()
{
    const std::lock_guard lock(mutex);
    if (!isTeller())
        return {};
    const bool shallEnd = std::exchange(isEndAsked, false) && mayEnd();
    const bool isNews = std::exchange(isUntold, false);
    if (!isNews && !shallEnd) {
        teller = {};
        return {};
    }
    const int count = int(subtasks.size());
    if (!shallEnd && !isComplete())
        return Telling { ended, count, true, false };
    // All have ended, also one that has not told yet. A slot of this may bring us here once more.
    const bool isLastNews = (isNews || ended < count) && !std::exchange(isLastTold, true);
    return Telling { count, count, isLastNews, true };
}

/// Whether the calling thread has to tell of the end of the group: it may end, and nobody else
/// tells. The teller itself, which calls this in a slot, leaves the telling to those it is about to
/// wait for.
bool GroupTask::Private::takeEnd()
{
    const std::lock_guard lock(mutex);
    if (isTeller())
        teller = {};
    if (!mayEnd())
        return false;
    isEndAsked = true;
    if (teller != std::thread::id())
        return false;
    teller = std::this_thread::get_id();
    return true;
}

namespace {

/// Deleting a running task would pull the ground from under its work.
void dispose(BaseTask *subtask, const std::shared_ptr<TaskState> &state)
{
    TaskPresence presence(state);
    if (!presence.task())
        return;
    // One that is idle is kept from being started in the meantime.
    if (state->tryBeginFinishIfIdle() || !subtask->isRunning()) {
        presence.leave();
        delete subtask;
        return;
    }
    if (subtask->thread() == QThread::currentThread())
        subtask->setParent(nullptr);
    subtask->setDeleteOnFinished(true);
    subtask->cancel();
}

} // namespace

GroupTask::Filling::Filling(GroupTask *group)
    : state(group->taskState())
{
    group->beginFilling();
}

GroupTask::Filling::~Filling()
{
    const TaskPresence presence(state);
    if (auto *group = static_cast<GroupTask *>(presence.task()))
        group->endFilling();
}

GroupTask::GroupTask(QObject *parent)
    : BaseTask(parent)
    , d(std::make_unique<Private>())
{
}

GroupTask::~GroupTask()
{
    taskState()->retire();
    const QList<BaseTask *> owned = subtasks();
    for (BaseTask *subtask : owned)
        dispose(subtask, subtask->taskState());
}

void GroupTask::beginFilling()
{
    const std::lock_guard lock(d->mutex);
    ++d->filling;
}

void GroupTask::endFilling()
{
    {
        const std::lock_guard lock(d->mutex);
        --d->filling;
    }
    postEndIfComplete();
}

void GroupTask::append(BaseTask *subtask)
{
    if (!subtask)
        return;
    const Filling filling(this);
    {
        const std::lock_guard lock(d->mutex);
        if (d->subtasks.contains(subtask))
            return;
        d->subtasks.append(subtask);
    }
    // A parent cannot be set across threads.
    if (subtask->thread() == thread() && thread() == QThread::currentThread())
        subtask->setParent(this);
    taskState()->addPart(subtask->taskState());
    const bool willTell = subtask->taskState()->joinGroup(taskState());
    if (!subtask->isIdle())
        setRunning();
    if (!willTell)
        onSubtaskEnded();
}

QList<BaseTask *> GroupTask::subtasks(QFlags<GetSubtasksMode> mode) const
{
    QList<BaseTask *> direct;
    {
        const std::lock_guard lock(d->mutex);
        direct = d->subtasks;
    }
    if (!mode)
        return direct;

    QList<BaseTask *> all;
    for (BaseTask *subtask : std::as_const(direct)) {
        if (!mode.testFlag(UnfinishedOnly) || !subtask->isFinished())
            all.append(subtask);
        const auto *group = qobject_cast<const GroupTask *>(subtask);
        if (group && mode.testFlag(Recursive))
            all.append(group->subtasks(mode));
    }
    return all;
}

QList<Task *> GroupTask::executableSubtasks(bool onlyIdle) const
{
    QList<Task *> leaves;
    const QList<BaseTask *> all = subtasks(Recursive);
    for (BaseTask *subtask : all) {
        auto *task = qobject_cast<Task *>(subtask);
        if (task && (!onlyIdle || task->isIdle()))
            leaves.append(task);
    }
    return leaves;
}

void GroupTask::cancel()
{
    setCanceled(true);
    const std::vector<std::shared_ptr<TaskState>> parts = taskState()->parts();
    if (parts.empty()) {
        BaseTask::cancel();
        return;
    }
    // The end of the last one may take the group along.
    for (const std::shared_ptr<TaskState> &part : parts) {
        const TaskPresence presence(part);
        if (presence.task())
            presence.task()->cancel();
    }
}

Error GroupTask::doFinish()
{
    Error error;
    ZEL_TRY(error, BaseTask::doFinish());
    return ZEL_PASS(unifiedError());
}

Error GroupTask::unifiedError() const
{
    const std::lock_guard lock(d->mutex);
    QSet<Error> errors = d->lost;
    for (const BaseTask *subtask : std::as_const(d->subtasks)) {
        if (const Error error = subtask->error(); error.hasError())
            errors.insert(error);
    }
    return UnifiedError::computeUnifiedError(errors);
}

void GroupTask::onSubtaskStarted()
{
    setRunning();
}

void GroupTask::onSubtaskEnded()
{
    if (d->countEnd())
        tellOfEnds();
    else
        postEndIfComplete(); // the teller may sit in an event loop in a slot
}

void GroupTask::tellOfEnds()
{
    const std::shared_ptr<TaskState> state = taskState();
    while (!isFinished()) {
        const std::optional<Private::Telling> telling = d->takeTelling();
        if (!telling)
            return;
        if (telling->isNews)
            setProgress(telling->ended, telling->count);
        // A slot of the progress may have destroyed the group.
        if (state->isRetired())
            return;
        if (telling->isLast)
            return finish(Error());
    }
}

void GroupTask::onSubtaskDestroyed(BaseTask *subtask, const Error &unfinished)
{
    {
        const std::lock_guard lock(d->mutex);
        if (!d->subtasks.removeOne(subtask))
            return;
        if (!unfinished.hasError())
            --d->ended;
        const Error failure = unfinished.hasError() ? unfinished : subtask->error();
        if (failure.hasError())
            d->lost.insert(failure);
    }
    postEndIfComplete();
}

/// Posted: whoever fills the group has not connected to its end yet.
void GroupTask::postEndIfComplete()
{
    {
        const std::lock_guard lock(d->mutex);
        if (!d->isComplete())
            return;
    }
    QMetaObject::invokeMethod(this, &GroupTask::endIfComplete, Qt::QueuedConnection);
}

void GroupTask::endIfComplete()
{
    const std::shared_ptr<TaskState> state = taskState();
    const TaskPresence ownPresence(state);
    if (!ownPresence.task())
        return;
    for (const std::shared_ptr<TaskState> &part : state->parts()) {
        const TaskPresence presence(part);
        if (auto *group = qobject_cast<GroupTask *>(presence.task()))
            group->endIfComplete();
    }
    // The end of the last one may take the group along.
    if (!state->isRetired() && d->takeEnd())
        tellOfEnds();
}

} // namespace zel
