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

namespace zel {

class ZEL_RESOURCE_MANAGER_HIDDEN GroupTask::Private
{
public:
    mutable Mutex mutex { "the subtasks of a group" }; ///< of all below
    QList<BaseTask *> subtasks;
    int ended = 0; ///< how many of them have told their end
    int filling = 0; ///< the group does not end while this is not 0
    QSet<Error> lost; ///< failures of subtasks that are gone

    bool isComplete() const { return filling == 0 && ended == subtasks.size() && !isEmpty(); }
    bool isEmpty() const { return subtasks.isEmpty() && lost.isEmpty(); }
};

namespace {

bool isFinished(const BaseTask *task)
{
    return task->isFinished();
}

/// Deleting a running task would pull the ground from under its work.
void dispose(BaseTask *subtask, const std::shared_ptr<TaskState> &state)
{
    TaskPresence presence(state);
    if (!presence.task())
        return;
    if (!subtask->isRunning()) {
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
    int ended = 0;
    int count = 0;
    bool complete = false;
    {
        const std::lock_guard lock(d->mutex);
        ended = ++d->ended;
        count = int(d->subtasks.size());
        complete = d->isComplete();
    }
    const std::shared_ptr<TaskState> state = taskState();
    setProgress(ended, count);
    // A slot of the progress may have destroyed the group.
    if (complete && !state->isRetired())
        finish(Error());
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
    {
        const std::lock_guard lock(d->mutex);
        // Not by the count: a slot at the end of a subtask, which has not told yet, may wait for
        // the group.
        const bool allFinished
            = std::all_of(d->subtasks.cbegin(), d->subtasks.cend(), &zel::isFinished);
        if (d->filling > 0 || d->isEmpty() || !allFinished)
            return;
    }
    finish(Error());
}

} // namespace zel
