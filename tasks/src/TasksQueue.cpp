#include "TasksQueue.h"

#include "Task.h"
#include "TaskExecution_p.h"
#include "TaskState_p.h"
#include "TasksQueue_p.h"
#include "errors/Logging.h"

#include <algorithm>

namespace zel {

TasksQueue::TasksQueue(QObject *parent)
    : QObject(parent)
    , state(std::make_shared<TasksQueueState>(this))
{
    makeEventDispatcher();
}

TasksQueue::~TasksQueue()
{
    state->close();
}

void TasksQueue::setConnectionType(Qt::ConnectionType type)
{
    state->setConnectionType(type);
}

void TasksQueue::setMaxRunningTasksCount(int count)
{
    state->setMaxRunningTasksCount(count);
}

void TasksQueue::append(Task *task)
{
    if (task)
        state->append(task->taskState());
}

QThread *TasksQueue::executionThread() const
{
    return state->executionThread();
}

/// Marks that tasks are being started further up on this stack, also if one of them throws.
class TasksQueueState::Pumping
{
public:
    explicit Pumping(TasksQueueState *queueState)
        : state(queueState)
    {
        count(1);
    }
    ~Pumping() { count(-1); }
    Pumping(const Pumping &) = delete;
    Pumping &operator=(const Pumping &) = delete;

private:
    void count(int change)
    {
        const std::lock_guard lock(state->mutex);
        state->pumping += change;
        state->schedule();
    }

    TasksQueueState *state;
};

TasksQueueState::TasksQueueState(TasksQueue *owner)
    : queue(owner)
{
}

void TasksQueueState::setConnectionType(Qt::ConnectionType type)
{
    const std::lock_guard lock(mutex);
    connectionType = type;
}

void TasksQueueState::setMaxRunningTasksCount(int count)
{
    {
        const std::lock_guard lock(mutex);
        limit = std::max(1, count);
        schedule();
    }
    proceed();
}

void TasksQueueState::append(const std::shared_ptr<TaskState> &task)
{
    {
        const std::lock_guard lock(mutex);
        if (!task->joinQueue(shared_from_this(), lastTicket + 1)) {
            qCWarning(lcResourceManager) << "A task that was started or queued before is not "
                                            "queued again";
            return;
        }
        waiting.emplace(++lastTicket, task);
        schedule();
    }
    proceed();
}

void TasksQueueState::close()
{
    std::map<quint64, std::shared_ptr<TaskState>> abandoned;
    {
        const std::lock_guard lock(mutex);
        queue = nullptr;
        abandoned.swap(waiting);
    }
    // Nobody would ever start them, and somebody may wait for them.
    for (const auto &[ticket, task] : abandoned) {
        const TaskPresence presence(task);
        if (presence.task())
            presence.task()->cancel();
    }
}

bool TasksQueueState::hasThread() const
{
    const QThread *thread = queue->thread();
    return thread && !thread->isFinished();
}

QThread *TasksQueueState::executionThread() const
{
    const std::lock_guard lock(mutex);
    return queue && hasThread() ? queue->thread() : QThread::currentThread();
}

QObject *TasksQueueState::target()
{
    if (hasThread())
        return queue;
    if (!substitute || !substitute->thread() || substitute->thread()->isFinished()) {
        substitute = std::make_unique<QObject>();
        scheduled = false; // What was posted has gone with its thread.
    }
    return substitute.get();
}

void TasksQueueState::leave(quint64 ticket)
{
    const std::lock_guard lock(mutex);
    waiting.erase(ticket);
    const auto place = running.constFind(ticket);
    if (place == running.constEnd())
        return;
    if (*place == 0)
        --occupied;
    running.erase(place);
    schedule();
}

void TasksQueueState::lend(quint64 ticket)
{
    const std::lock_guard lock(mutex);
    const auto place = running.find(ticket);
    if (place == running.end() || ++*place != 1)
        return;
    --occupied;
    schedule();
}

void TasksQueueState::takeBack(quint64 ticket)
{
    const std::lock_guard lock(mutex);
    const auto place = running.find(ticket);
    if (place != running.end() && --*place == 0)
        ++occupied;
}

// Who starts the tasks that wait, always on the queue's thread, or, when that has ended, on the one
// that calls:
//
// a task was appended, or has ended,   at once (proceed()), and posted (schedule()) besides; posted
// or the limit was raised              only on another thread, for Qt::QueuedConnection, and where
//                                      a start is under way further up on the stack
// a place was lent or left             posted
// somebody waits for a task, and the   at once, where he waits (revive())
// queue's thread has ended

/// Posted, besides what proceed() does: a task further up on the stack of the thread may sit in an
/// event loop that waits for the ones to be started.
void TasksQueueState::schedule()
{
    if (!queue || waiting.empty() || occupied >= limit)
        return;
    QObject *receiver = target();
    if (scheduled)
        return;
    scheduled = true;
    const std::weak_ptr<TasksQueueState> self = weak_from_this();
    QMetaObject::invokeMethod(
        receiver,
        [self] {
            if (const auto state = self.lock())
                state->onScheduled();
        },
        Qt::QueuedConnection);
}

void TasksQueueState::onScheduled()
{
    {
        const std::lock_guard lock(mutex);
        scheduled = false;
    }
    pump();
}

bool TasksQueueState::mayStartHere()
{
    const std::lock_guard lock(mutex);
    // Tasks that end inside exec() would pile up on the stack without the look at `pumping`.
    if (!queue || waiting.empty() || pumping > 0)
        return false;
    if (connectionType == Qt::QueuedConnection && hasThread())
        return false;
    return target()->thread() == QThread::currentThread();
}

void TasksQueueState::proceed()
{
    if (mayStartHere())
        pump();
}

void TasksQueueState::revive()
{
    {
        const std::lock_guard lock(mutex);
        if (!queue || hasThread())
            return;
        schedule();
    }
    proceed();
}

void TasksQueueState::pump()
{
    const std::shared_ptr<TasksQueueState> self = shared_from_this();
    const Pumping mark(this);
    while (const std::shared_ptr<TaskState> next = takeNext()) {
        const TaskPresence presence(next);
        if (presence.task())
            static_cast<Task *>(presence.task())->exec();
    }
}

std::shared_ptr<TaskState> TasksQueueState::takeNext()
{
    const std::lock_guard lock(mutex);
    while (!waiting.empty() && occupied < limit) {
        const auto first = waiting.begin();
        const quint64 ticket = first->first;
        const std::shared_ptr<TaskState> task = std::move(first->second);
        waiting.erase(first);
        if (task->phase() != TaskState::Phase::Idle)
            continue;
        running.insert(ticket, 0);
        ++occupied;
        return task;
    }
    return nullptr;
}

} // namespace zel
