#pragma once

#include "errors/Error.h"
#include "threads/Mutex.h"

#include <QDeadlineTimer>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace zel {

class BaseTask;
class TasksQueueState;

/// The part of a task that outlives it: its phase, those who wait for it, and its ties to a group
/// and a queue.
///
/// A waiter may delete the task as soon as it is woken, and a slot may do so during the end. So
/// whoever wakes, tells the group or asks the queue to go on works on this object only, and comes
/// near the task through a TaskPresence. Every member may be called on any thread. No callback runs
/// under the mutex but those of waiters, which only post.
///
/// How a task ends, on the thread that ends it (see BaseTask::complete()):
/// 1. tryBeginFinish(): who comes second ends nothing.
/// 2. The task stores its outcome and does what its class does at the end.
/// 3. setFinished(): its place in the queue is free. For this thread a wait for the task is over.
/// 4. finished() is emitted. A slot may destroy the task.
/// 5. tellEnd(): the group counts it, and may end as well.
/// 6. The presence ends: from now on other threads may destroy the task.
/// 7. settle(): those who wait on other threads are woken, and the queue goes on.
class TaskState : public std::enable_shared_from_this<TaskState>
{
public:
    enum class Phase { Idle, Running, Finishing, Finished };

    explicit TaskState(BaseTask *owner);

    Phase phase() const { return currentPhase; }
    bool tryStart();
    bool tryBeginFinish();
    bool tryBeginFinishIfIdle();
    /// From here on the task counts as finished; its place in the queue is free.
    void setFinished(const Error &outcome);
    /// Wakes those who wait and lets the queue go on. The task may be gone before this returns.
    void settle();

    /// The task goes: nobody comes near it any more. Waits for other threads that still are.
    void retire();
    bool isRetired() const { return retired; }
    void waitForOtherThreads();
    /// Wakes those who wait for a task that is destroyed unfinished, and tells the group.
    void abandon(const Error &outcome);

    /// Whether a wait is over as seen by this thread: one that is inside the task's end does not
    /// wait for the rest of it.
    bool isDone() const;
    Error outcome() const;
    Error wait(QDeadlineTimer deadline);
    /// Waits for the subtasks of a group, those of its groups too; a failure is one of the waiting.
    Error waitForParts(QDeadlineTimer deadline);
    /// `wake` runs under the mutex and so may only post. 0 if there is nothing to wait for.
    quint64 addWaiter(std::function<void()> wake);
    void removeWaiter(quint64 id);
    /// Lets a queue whose thread has ended go on here, for somebody waits for this task.
    void reviveQueue();

    /// False if the end has been told to a group before, so that it is counted once.
    bool joinGroup(const std::shared_ptr<TaskState> &groupState);
    void addPart(const std::shared_ptr<TaskState> &part);
    std::vector<std::shared_ptr<TaskState>> parts() const;
    void tellStart();
    void tellEnd();

    bool joinQueue(const std::shared_ptr<TasksQueueState> &newQueue, quint64 newTicket);
    void leaveQueue();
    /// This task does the work of that one, and it is that one's place that it lends.
    void workFor(const std::shared_ptr<TaskState> &wholeState);
    /// Between these two the task holds no place in its queue. They nest.
    void lendPlace();
    void takePlaceBack();

    /// A coroutine of the task awaits another task. The place is lent once the work leaves the
    /// thread, and not before: the await may be that of somebody else's coroutine.
    void beginAwait();
    void endAwait();
    void lendPlaceIfAwaiting();

private:
    friend class TaskPresence;

    struct Waiter
    {
        quint64 id;
        std::function<void()> wake;
    };

    BaseTask *enter();
    void leave();
    bool isAlone() const;
    bool isPresent() const;
    void wakeAll();
    std::shared_ptr<TasksQueueState> queueAndTicket(quint64 *ticketOut) const;
    std::shared_ptr<TasksQueueState> queueAndTicketToLend(quint64 *ticketOut) const;

    mutable Mutex mutex { "the state of a task" };
    std::condition_variable_any someoneLeft;
    BaseTask *const owner;
    std::atomic<Phase> currentPhase = Phase::Idle;
    std::atomic<bool> retired = false;
    bool settled = false;
    Error finalOutcome;
    std::vector<std::thread::id> present;

    std::vector<Waiter> waiters;
    quint64 lastWaiterId = 0;

    std::weak_ptr<TaskState> group;
    bool endTold = false;
    std::vector<std::shared_ptr<TaskState>> groupParts;

    std::weak_ptr<TasksQueueState> queue;
    quint64 ticket = 0;
    std::weak_ptr<TaskState> whole; ///< whose work this task does, if it is not its own
    int awaits = 0;
    bool lentForAwaits = false;
};

/// While it lives, and unless task() is null, the task is not destroyed by another thread. The own
/// thread may do so in a slot: ask TaskState::isRetired() after each call that can reach one.
class TaskPresence
{
public:
    explicit TaskPresence(const std::shared_ptr<TaskState> &taskState)
        : state(taskState)
        , entered(state->enter())
    {
    }
    ~TaskPresence() { leave(); }
    TaskPresence(const TaskPresence &) = delete;
    TaskPresence &operator=(const TaskPresence &) = delete;

    BaseTask *task() const { return entered; }
    void leave()
    {
        if (entered)
            state->leave();
        entered = nullptr;
    }

private:
    std::shared_ptr<TaskState> state;
    BaseTask *entered;
};

} // namespace zel
