#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(TasksQueueThreadTest, executionThread_isTheQueuesUntilThatHasEnded)
{
    LoopThread thread;
    TasksQueue queue;
    EXPECT_EQ(queue.executionThread(), QThread::currentThread());
    queue.moveToThread(thread.get());
    EXPECT_EQ(queue.executionThread(), thread.get());
    thread.end();
    EXPECT_EQ(queue.executionThread(), QThread::currentThread());
}

TEST(TasksQueueThreadTest, endedThread_append_startsWithinTheCall)
{
    Task before, after;
    const auto queue = queueOfAnEndedThread({ &before });
    EXPECT_TRUE(before.isIdle());
    queue->append(&after);
    EXPECT_TRUE(before.isFinished());
    EXPECT_TRUE(after.isFinished());
}

TEST(TasksQueueThreadTest, endedThread_finish_startsTheNextWhereItIsCalled)
{
    LoopThread thread;
    DirectQueue queue(1);
    queue.moveToThread(thread.get());
    ManualTask first;
    Task second;
    QThread *seen = nullptr;
    tellThread(second, seen);
    queue.append(&first);
    queue.append(&second);
    EXPECT_TRUE(eventually([&first] { return first.isRunning(); }));
    thread.end();
    first.finish(Error());
    EXPECT_TRUE(eventually([&second] { return second.isFinished(); }));
    EXPECT_EQ(seen, QThread::currentThread());
}

TEST(TasksQueueThreadTest, endedThread_wait_startsTheTask)
{
    Task task;
    task.setFunction([] { return Error(ErrorCode::BadData, u"ran"_s); });
    const auto queue = queueOfAnEndedThread({ &task });
    EXPECT_EQ(task.waitForAllFinished(-1).errorMessage(), u"ran"_s);
}

TEST(TasksQueueThreadTest, endedThread_waitForAGroup_startsItsSubtasks)
{
    GroupTask group;
    auto *first = new Task;
    auto *second = new Task;
    group.append(first);
    group.append(second);
    const auto queue = queueOfAnEndedThread({ first, second });
    EXPECT_FALSE(group.waitForAllFinished(-1).hasError());
    EXPECT_TRUE(first->isSuccessful());
    EXPECT_TRUE(second->isSuccessful());
}

TEST(TasksQueueThreadTest, plainThread_timersOfItsTasksFire)
{
    Error seen;
    std::thread([&seen] {
        DirectQueue queue(1);
        ManualTask task;
        QObject::connect(&task, &BaseTask::started, &task, [&task] {
            QTimer::singleShot(1, &task, [&task] { task.finish(Error(ErrorCode::BadData)); });
        });
        queue.append(&task);
        seen = task.waitForAllFinished(-1);
    }).join();
    EXPECT_EQ(seen.errorCode(), ErrorCode::BadData);
}

TEST(TasksQueueThreadTest, wait_onTheQueuesThread_runsWhatIsQueued)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::QueuedConnection);
    queue.setMaxRunningTasksCount(1);
    Task first, second;
    queue.append(&first);
    queue.append(&second);
    EXPECT_FALSE(second.waitForAllFinished(-1).hasError());
    EXPECT_TRUE(first.isFinished());
}

TEST(TasksQueueThreadTest, destroyedIdle_whileItsTurnComesElsewhere_isStartedOrGoneButNeverBoth)
{
    LoopThread thread;
    DirectQueue queue(4);
    queue.moveToThread(thread.get());
    constexpr int races = 5000;
    std::atomic<int> ran = 0;
    for (int i = 0; i < races; ++i) {
        Task task;
        task.setFunction(
            [&ran] {
                ++ran;
                return Error();
            },
            Task::ExecutionMode::Asynchronous);
        queue.append(&task);
    }
    Task last;
    queue.append(&last);
    EXPECT_FALSE(last.waitForAllFinished(-1).hasError());
    EXPECT_LE(ran, races);
    thread.end();
}

TEST(TasksQueueThreadTest, wait_waiterDeletesTheTaskAtOnce_queueGoesOn)
{
    DirectQueue queue(1);
    for (int i = 0; i < 300; ++i) {
        auto task = std::make_unique<Task>();
        task->setExecutionMode(Task::ExecutionMode::Asynchronous);
        queue.append(task.get());
        EXPECT_FALSE(task->waitForAllFinished(-1).hasError());
    }
}
