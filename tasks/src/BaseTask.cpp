#include "BaseTask.h"

#include "GroupTask.h"
#include "Hidden.h"
#include "TaskState_p.h"
#include "threads/Mutex.h"

#include <QDeadlineTimer>

#include <atomic>
#include <optional>

namespace zel {

class ZEL_RESOURCE_MANAGER_HIDDEN BaseTask::Private
{
public:
    explicit Private(BaseTask *q)
        : state(std::make_shared<TaskState>(q))
    {
    }

    const std::shared_ptr<TaskState> state;
    std::atomic<bool> paused = false;
    std::atomic<bool> deleteOnFinished = false;
    QVariant result;

    mutable Mutex mutex { "the facts about a task" }; ///< of all below
    QString name;
    QString progressText;
    std::optional<int> progressMaximum;
    int progressValue = 0;
};

BaseTask::BaseTask(QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this))
{
}

BaseTask::~BaseTask()
{
    d->state->retire();
    d->state->abandon(
        ZEL_ERROR(ErrorCode::Canceled, tr("Task has been destroyed before it finished.")));
}

const std::shared_ptr<TaskState> &BaseTask::taskState() const
{
    return d->state;
}

void BaseTask::setName(const QString &name)
{
    const std::lock_guard lock(d->mutex);
    d->name = name;
}

QString BaseTask::name() const
{
    const std::lock_guard lock(d->mutex);
    return d->name;
}

void BaseTask::pause()
{
    d->paused = true;
}

void BaseTask::resume()
{
    d->paused = false;
}

bool BaseTask::isPaused() const
{
    return d->paused;
}

bool BaseTask::isIdle() const
{
    return d->state->phase() == TaskState::Phase::Idle;
}

bool BaseTask::isRunning() const
{
    const TaskState::Phase phase = d->state->phase();
    return phase == TaskState::Phase::Running || phase == TaskState::Phase::Finishing;
}

bool BaseTask::isFinished() const
{
    return d->state->phase() == TaskState::Phase::Finished;
}

bool BaseTask::isSuccessful() const
{
    return isFinished() && !hasError();
}

void BaseTask::cancel()
{
    setCanceled(true);
    const std::shared_ptr<TaskState> state = d->state;
    TaskPresence presence(state);
    if (presence.task() && state->tryBeginFinishIfIdle())
        complete(ZEL_ERROR(ErrorCode::Canceled, tr("Task has been canceled.")), &presence);
}

void BaseTask::setRunning()
{
    static_cast<void>(start());
}

bool BaseTask::start()
{
    const std::shared_ptr<TaskState> state = d->state;
    const TaskPresence presence(state);
    if (!presence.task() || !state->tryStart())
        return false;
    Q_EMIT started();
    // A slot may have destroyed or ended the task.
    state->tellStart();
    return !state->isRetired() && state->phase() == TaskState::Phase::Running;
}

void BaseTask::setWorkDoneBy(BaseTask *worker)
{
    worker->taskState()->workFor(taskState());
}

void BaseTask::finish(Error outcome)
{
    const std::shared_ptr<TaskState> state = d->state;
    TaskPresence presence(state);
    if (presence.task() && state->tryBeginFinish())
        complete(outcome, &presence);
}

void BaseTask::complete(const Error &outcome, TaskPresence *presence)
{
    const std::shared_ptr<TaskState> state = d->state;
    setError(outcome);
    const Error closing = ZEL_PASS(doFinish());
    if (outcome.hasError())
        ZEL_DROP(closing); // a task has one outcome, and the first failure is nearer to the cause
    const Error &counting = outcome.hasError() || !closing.hasError() ? outcome : closing;
    setError(counting);
    finalize();
    state->setFinished(counting);
    Q_EMIT finished();
    // A slot may have destroyed the task; another thread cannot while we are present.
    if (!state->isRetired() && d->deleteOnFinished)
        deleteLater();
    state->tellEnd();
    presence->leave();
    state->settle();
}

void BaseTask::finalize() { }

Error BaseTask::doFinish()
{
    return Error();
}

void BaseTask::setDeleteOnFinished(bool deleteOnFinished)
{
    const TaskPresence presence(d->state);
    d->deleteOnFinished = deleteOnFinished;
    if (deleteOnFinished && isFinished())
        deleteLater();
}

void BaseTask::setProgress(int value, int maximum)
{
    const std::shared_ptr<TaskState> state = d->state;
    bool initiated = false;
    {
        const std::lock_guard lock(d->mutex);
        initiated = d->progressMaximum != maximum;
        d->progressMaximum = maximum;
        d->progressValue = value;
    }
    if (initiated)
        Q_EMIT progressInitiated(maximum);
    // A slot may have ended the task, and somebody destroyed it.
    if (!state->isRetired())
        Q_EMIT progress(value, maximum);
}

void BaseTask::setProgressText(const QString &text)
{
    {
        const std::lock_guard lock(d->mutex);
        d->progressText = text;
    }
    Q_EMIT progressTextChanged(text);
}

int BaseTask::progressValue() const
{
    const std::lock_guard lock(d->mutex);
    return d->progressValue;
}

int BaseTask::progressMaximum() const
{
    const std::lock_guard lock(d->mutex);
    return d->progressMaximum.value_or(0);
}

QString BaseTask::progressText() const
{
    const std::lock_guard lock(d->mutex);
    return d->progressText;
}

void BaseTask::setVariantResult(const QVariant &result)
{
    d->result = result;
}

const QVariant &BaseTask::variantResult() const
{
    return d->result;
}

Error BaseTask::waitForAllFinished(int msecs)
{
    const QDeadlineTimer deadline(msecs);
    const std::shared_ptr<TaskState> state = d->state;
    // Not the posted end: the group's thread may deliver no events.
    if (auto *group = qobject_cast<GroupTask *>(this))
        group->endIfComplete();
    state->reviveQueue();

    // From here on the task may go at any time.
    const Error outcome = state->wait(deadline);
    if (!state->isDone())
        return outcome;
    Error error;
    ZEL_TRY(error, state->waitForParts(deadline));
    return outcome;
}

} // namespace zel
