#include "CoroutineWait.h"
#include "TaskTestSupport.h"
#include "TasksQueue.h"

#include <deque>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// As many as the manager lets run at once.
constexpr int limit = 6;

class BlockingTask : public Task
{
public:
    explicit BlockingTask(BaseTask *awaited)
        : awaited(awaited)
    {
    }

protected:
    Error doExec() override { return awaited->waitForAllFinished(-1); }

private:
    BaseTask *awaited;
};

class BlockingOnCoroutineTask : public Task
{
public:
    explicit BlockingOnCoroutineTask(BaseTask *awaited)
        : awaited(awaited)
    {
    }

protected:
    Error doExec() override { return waitForCoroutine(outcomeOf(awaited)); }

private:
    BaseTask *awaited;
};

class AwaitingTask : public Task
{
public:
    explicit AwaitingTask(BaseTask *awaited)
        : awaited(awaited)
    {
    }

protected:
    QCoro::Task<Error> co_doExec() override
    {
        const auto outcome = co_await awaited;
        co_return outcome;
    }

private:
    BaseTask *awaited;
};

/// Has more to do after it awaited, and does not wait for a task then.
class GoingOnTask : public Task
{
public:
    explicit GoingOnTask(BaseTask *awaited)
        : awaited(awaited)
    {
    }
    std::coroutine_handle<> behindTheAwait;

protected:
    QCoro::Task<Error> co_doExec() override
    {
        const auto outcome = co_await awaited;
        Suspension suspension { behindTheAwait };
        co_await suspension;
        co_return outcome;
    }

private:
    BaseTask *awaited;
};

/// Is queued, and has its work done by a task that is not.
template<typename WaitingTask>
class DelegatingTask : public Task
{
public:
    explicit DelegatingTask(BaseTask *awaited)
        : worker(awaited)
    {
        setWorkDoneBy(&worker);
        connect(
            &worker, &BaseTask::finished, this, [this] { finish(worker.error()); },
            Qt::DirectConnection);
    }
    ~DelegatingTask() override { waitForWork(); }

    void setExecutionMode(ExecutionMode mode) { worker.setExecutionMode(mode); }
    void exec() override
    {
        if (start())
            worker.exec();
    }

private:
    WaitingTask worker;
};

/// One task more than may run at once, each of which waits for one that is queued behind them all.
template<typename WaitingTask>
void expectAllGetThrough(Task::ExecutionMode mode)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::DirectConnection);
    queue.setMaxRunningTasksCount(limit);
    std::deque<Task> awaited(limit + 1);
    std::deque<WaitingTask> waiting;
    for (Task &task : awaited) {
        task.setFunction([] { return Error(ErrorCode::BadData, u"awaited"_s); });
        waiting.emplace_back(&task).setExecutionMode(mode);
    }
    // From elsewhere: here the first of them would not come back from append().
    std::thread([&] {
        for (WaitingTask &task : waiting)
            queue.append(&task);
        for (Task &task : awaited)
            queue.append(&task);
    }).join();

    for (WaitingTask &task : waiting)
        EXPECT_EQ(task.waitForAllFinished(-1).errorMessage(), u"awaited"_s);
}

} // namespace

TEST(TasksQueueLendingTest, blockingTasks_onTheQueuesThread_lendTheirPlaces)
{
    expectAllGetThrough<BlockingTask>(Task::ExecutionMode::Synchronous);
}

TEST(TasksQueueLendingTest, workDoneByAnother_lendsThePlaceOfWhatIsQueued)
{
    expectAllGetThrough<DelegatingTask<BlockingTask>>(Task::ExecutionMode::Asynchronous);
    expectAllGetThrough<DelegatingTask<BlockingTask>>(Task::ExecutionMode::Synchronous);
    expectAllGetThrough<DelegatingTask<AwaitingTask>>(Task::ExecutionMode::Synchronous);
}

TEST(TasksQueueLendingTest, blockingTasks_onWorkers_lendTheirPlaces)
{
    expectAllGetThrough<BlockingTask>(Task::ExecutionMode::Asynchronous);
}

TEST(TasksQueueLendingTest, tasksBlockingOnCoroutines_onTheQueuesThread_lendTheirPlaces)
{
    expectAllGetThrough<BlockingOnCoroutineTask>(Task::ExecutionMode::Synchronous);
}

TEST(TasksQueueLendingTest, tasksBlockingOnCoroutines_onWorkers_lendTheirPlaces)
{
    expectAllGetThrough<BlockingOnCoroutineTask>(Task::ExecutionMode::Asynchronous);
}

TEST(TasksQueueLendingTest, coroutines_onTheQueuesThread_lendTheirPlaces)
{
    expectAllGetThrough<AwaitingTask>(Task::ExecutionMode::Synchronous);
}

TEST(TasksQueueLendingTest, coroutines_onWorkers_lendTheirPlaces)
{
    expectAllGetThrough<AwaitingTask>(Task::ExecutionMode::Asynchronous);
}

TEST(TasksQueueLendingTest, wait_over_takesThePlaceBack)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::DirectConnection);
    queue.setMaxRunningTasksCount(1);
    BaseTask awaited;
    std::atomic<bool> waited = false;
    Gate gate;
    Task first;
    first.setFunction(
        [&] {
            const Error outcome = awaited.waitForAllFinished(-1);
            waited = true;
            gate.pass();
            return outcome;
        },
        Task::ExecutionMode::Asynchronous);
    ManualTask lent, next;
    queue.append(&first);
    queue.append(&lent);
    EXPECT_TRUE(eventually([&lent] { return lent.isRunning(); }));
    lent.finish(Error());
    awaited.finish(Error());
    EXPECT_TRUE(eventually([&waited] { return waited.load(); }));

    queue.append(&next);
    deliverEvents();
    EXPECT_TRUE(next.isIdle());
    gate.open();
    EXPECT_TRUE(eventually([&next] { return next.isRunning(); }));
    EXPECT_TRUE(first.isFinished());
}

TEST(TasksQueueLendingTest, await_over_takesThePlaceBack)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::DirectConnection);
    queue.setMaxRunningTasksCount(1);
    BaseTask awaited;
    ManualTask lent, next;
    GoingOnTask first(&awaited);
    queue.append(&first);
    queue.append(&lent);
    EXPECT_TRUE(lent.isRunning());
    lent.finish(Error());
    awaited.finish(Error());
    EXPECT_TRUE(eventually([&first] { return bool(first.behindTheAwait); }));

    queue.append(&next);
    deliverEvents();
    EXPECT_TRUE(next.isIdle());
    first.behindTheAwait.resume();
    EXPECT_TRUE(first.isFinished());
    EXPECT_TRUE(next.isRunning());
}

TEST(TasksQueueLendingTest, waitOutsideOfTasks_lendsNothing)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::DirectConnection);
    queue.setMaxRunningTasksCount(1);
    ManualTask running, next;
    queue.append(&running);
    queue.append(&next);
    BaseTask awaited;
    QTimer::singleShot(1, &awaited, [&awaited] { awaited.finish(Error()); });
    EXPECT_FALSE(awaited.waitForAllFinished(-1).hasError());
    EXPECT_TRUE(next.isIdle());
}
