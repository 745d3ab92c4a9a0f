#include "TaskState_p.h"

#include "BlockingWait.h"
#include "GroupTask.h"
#include "TasksQueue_p.h"

#include <algorithm>

namespace zel {

TaskState::TaskState(BaseTask *task)
    : owner(task)
{
}

bool TaskState::tryStart()
{
    Phase expected = Phase::Idle;
    return currentPhase.compare_exchange_strong(expected, Phase::Running);
}

bool TaskState::tryBeginFinish()
{
    Phase seen = currentPhase;
    while (seen == Phase::Idle || seen == Phase::Running) {
        if (currentPhase.compare_exchange_weak(seen, Phase::Finishing))
            return true;
    }
    return false;
}

bool TaskState::tryBeginFinishIfIdle()
{
    Phase expected = Phase::Idle;
    return currentPhase.compare_exchange_strong(expected, Phase::Finishing);
}

void TaskState::setFinished(const Error &outcome)
{
    {
        const std::lock_guard lock(mutex);
        finalOutcome = outcome;
        currentPhase = Phase::Finished;
    }
    leaveQueue();
}

void TaskState::settle()
{
    {
        const std::lock_guard lock(mutex);
        settled = true;
        wakeAll();
    }
    if (const auto owningQueue = queueAndTicket(nullptr))
        owningQueue->proceed();
}

void TaskState::wakeAll()
{
    for (const Waiter &waiter : waiters)
        waiter.wake();
    waiters.clear();
}

BaseTask *TaskState::enter()
{
    const std::lock_guard lock(mutex);
    if (retired)
        return nullptr;
    present.push_back(std::this_thread::get_id());
    return owner;
}

void TaskState::leave()
{
    const std::lock_guard lock(mutex);
    present.erase(std::find(present.begin(), present.end(), std::this_thread::get_id()));
    someoneLeft.notify_all();
}

bool TaskState::isAlone() const
{
    return std::all_of(present.begin(), present.end(),
                       [](std::thread::id id) { return id == std::this_thread::get_id(); });
}

bool TaskState::isPresent() const
{
    return std::find(present.begin(), present.end(), std::this_thread::get_id()) != present.end();
}

void TaskState::waitForOtherThreads()
{
    const std::lock_guard lock(mutex);
    while (!isAlone())
        someoneLeft.wait(mutex);
}

void TaskState::retire()
{
    {
        const std::lock_guard lock(mutex);
        retired = true;
    }
    waitForOtherThreads();
    leaveQueue();
}

void TaskState::abandon(const Error &outcome)
{
    std::shared_ptr<TaskState> groupState;
    const bool unfinished = currentPhase != Phase::Finished;
    {
        const std::lock_guard lock(mutex);
        groupState = group.lock();
        if (unfinished) {
            finalOutcome = outcome;
            settled = true;
            wakeAll();
        }
    }
    if (!groupState)
        return;
    const TaskPresence presence(groupState);
    if (auto *task = static_cast<GroupTask *>(presence.task()))
        task->onSubtaskDestroyed(owner, unfinished ? outcome : Error());
}

bool TaskState::isDone() const
{
    const std::lock_guard lock(mutex);
    return settled || (currentPhase == Phase::Finished && isPresent());
}

Error TaskState::outcome() const
{
    const std::lock_guard lock(mutex);
    return finalOutcome;
}

Error TaskState::wait(QDeadlineTimer deadline)
{
    BlockingWait blocking;
    const quint64 id = addWaiter([&blocking] { blocking.wake(); });
    if (id != 0) {
        const Error error
            = ZEL_PASS(blocking.run(deadline.isForever() ? -1 : int(deadline.remainingTime())));
        removeWaiter(id);
        if (error.hasError())
            return error;
    }
    return outcome();
}

Error TaskState::waitForParts(QDeadlineTimer deadline)
{
    for (const std::shared_ptr<TaskState> &part : parts()) {
        const Error partOutcome = part->wait(deadline);
        if (!part->isDone())
            return partOutcome;
        Error error;
        ZEL_TRY(error, part->waitForParts(deadline));
    }
    return Error();
}

quint64 TaskState::addWaiter(std::function<void()> wake)
{
    const std::lock_guard lock(mutex);
    if (settled || (currentPhase == Phase::Finished && isPresent()))
        return 0;
    waiters.push_back({ ++lastWaiterId, std::move(wake) });
    return lastWaiterId;
}

void TaskState::removeWaiter(quint64 id)
{
    const std::lock_guard lock(mutex);
    std::erase_if(waiters, [id](const Waiter &waiter) { return waiter.id == id; });
}

void TaskState::reviveQueue()
{
    for (const auto &part : parts())
        part->reviveQueue();
    if (const auto owningQueue = queueAndTicket(nullptr))
        owningQueue->revive();
}

bool TaskState::joinGroup(const std::shared_ptr<TaskState> &groupState)
{
    const std::lock_guard lock(mutex);
    group = groupState;
    return !endTold;
}

void TaskState::addPart(const std::shared_ptr<TaskState> &part)
{
    const std::lock_guard lock(mutex);
    groupParts.push_back(part);
}

std::vector<std::shared_ptr<TaskState>> TaskState::parts() const
{
    const std::lock_guard lock(mutex);
    return groupParts;
}

void TaskState::tellStart()
{
    std::shared_ptr<TaskState> groupState;
    {
        const std::lock_guard lock(mutex);
        groupState = group.lock();
    }
    if (!groupState)
        return;
    const TaskPresence presence(groupState);
    if (auto *task = static_cast<GroupTask *>(presence.task()))
        task->onSubtaskStarted();
}

void TaskState::tellEnd()
{
    std::shared_ptr<TaskState> groupState;
    {
        const std::lock_guard lock(mutex);
        groupState = group.lock();
        endTold = true;
    }
    if (!groupState)
        return;
    const TaskPresence presence(groupState);
    if (auto *task = static_cast<GroupTask *>(presence.task()))
        task->onSubtaskEnded();
}

bool TaskState::joinQueue(const std::shared_ptr<TasksQueueState> &newQueue, quint64 newTicket)
{
    const std::lock_guard lock(mutex);
    if (currentPhase != Phase::Idle || !queue.expired())
        return false;
    queue = newQueue;
    ticket = newTicket;
    return true;
}

std::shared_ptr<TasksQueueState> TaskState::queueAndTicket(quint64 *ticketOut) const
{
    const std::lock_guard lock(mutex);
    if (ticketOut)
        *ticketOut = ticket;
    return queue.lock();
}

void TaskState::leaveQueue()
{
    quint64 ownTicket = 0;
    if (const auto owningQueue = queueAndTicket(&ownTicket))
        owningQueue->leave(ownTicket);
}

void TaskState::workFor(const std::shared_ptr<TaskState> &wholeState)
{
    const std::lock_guard lock(mutex);
    whole = wholeState;
}

std::shared_ptr<TasksQueueState> TaskState::queueAndTicketToLend(quint64 *ticketOut) const
{
    std::shared_ptr<TaskState> wholeState;
    {
        const std::lock_guard lock(mutex);
        wholeState = whole.lock();
    }
    return wholeState ? wholeState->queueAndTicketToLend(ticketOut) : queueAndTicket(ticketOut);
}

void TaskState::lendPlace()
{
    quint64 lentTicket = 0;
    if (const auto owningQueue = queueAndTicketToLend(&lentTicket))
        owningQueue->lend(lentTicket);
}

void TaskState::takePlaceBack()
{
    quint64 lentTicket = 0;
    if (const auto owningQueue = queueAndTicketToLend(&lentTicket))
        owningQueue->takeBack(lentTicket);
}

void TaskState::beginAwait()
{
    const std::lock_guard lock(mutex);
    ++awaits;
}

void TaskState::endAwait()
{
    {
        const std::lock_guard lock(mutex);
        if (--awaits > 0 || !lentForAwaits)
            return;
        lentForAwaits = false;
    }
    takePlaceBack();
}

void TaskState::lendPlaceIfAwaiting()
{
    {
        const std::lock_guard lock(mutex);
        if (awaits == 0 || lentForAwaits)
            return;
        lentForAwaits = true;
    }
    lendPlace();
}

} // namespace zel
