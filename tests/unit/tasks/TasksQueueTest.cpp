#include "TasksQueue.h"
#include "GroupTask.h"
#include "LogCapture.h"
#include "TaskTestSupport.h"

#include <algorithm>
#include <deque>
#include <stdexcept>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// 'i' for idle, 'r' for running, 'f' for finished, a letter each.
QString statesOf(const std::deque<ManualTask> &tasks)
{
    QString states;
    for (const ManualTask &task : tasks)
        states += task.isIdle() ? u'i' : task.isRunning() ? u'r' : u'f';
    return states;
}

template<typename Tasks>
bool allFinished(const Tasks &tasks)
{
    return std::all_of(tasks.begin(), tasks.end(),
                       [](const Task &task) { return task.isFinished(); });
}

} // namespace

TEST(TasksQueueTest, append_direct_startsWithinTheCall)
{
    DirectQueue queue(1);
    Task task;
    queue.append(&task);
    EXPECT_TRUE(task.isFinished());
}

TEST(TasksQueueTest, append_automatic_startsWithinTheCallOnItsOwnThread)
{
    TasksQueue queue;
    Task task;
    queue.append(&task);
    EXPECT_TRUE(task.isFinished());
}

TEST(TasksQueueTest, append_queued_startsFromTheEventLoop)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::QueuedConnection);
    Task first, second;
    queue.append(&first);
    queue.append(&second);
    EXPECT_TRUE(first.isIdle());
    EXPECT_TRUE(eventually([&] { return first.isFinished() && second.isFinished(); }));
}

TEST(TasksQueueTest, append_manyAtOnce_startsInOrder)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::QueuedConnection);
    queue.setMaxRunningTasksCount(3);
    QList<int> order;
    std::deque<Task> tasks(100);
    for (int i = 0; i < 100; ++i) {
        tasks[size_t(i)].setFunction([&order, i] {
            order.append(i);
            return Error();
        });
        queue.append(&tasks[size_t(i)]);
    }
    EXPECT_TRUE(eventually([&tasks] { return allFinished(tasks); }));
    ASSERT_EQ(order.size(), 100);
    EXPECT_TRUE(std::is_sorted(order.cbegin(), order.cend()));
}

TEST(TasksQueueTest, append_null_isIgnored)
{
    DirectQueue queue(1);
    queue.append(nullptr);
}

TEST(TasksQueueTest, append_queuedStartedOrFinishedTask_isRefusedWithAWarning)
{
    DirectQueue queue(1);
    std::deque<ManualTask> tasks(2);
    queue.append(tasks);
    ManualTask finished;
    finished.finish(Error());

    const LogCapture log;
    queue.append(&tasks[0]);
    queue.append(&tasks[1]);
    queue.append(&finished);
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 3);
    tasks[0].finish(Error());
    EXPECT_EQ(statesOf(tasks), u"fr"_s);
}

TEST(TasksQueueTest, append_doesNotTakeOwnership)
{
    DirectQueue queue(1);
    Task task;
    queue.append(&task);
    EXPECT_EQ(task.parent(), nullptr);
}

TEST(TasksQueueTest, append_fromManyThreads_runsAllOnItsOwnThread)
{
    DirectQueue queue(2);
    std::deque<Task> tasks(400);
    std::atomic<int> elsewhere = 0;
    for (Task &task : tasks) {
        task.setFunction([&elsewhere, home = QThread::currentThread()] {
            elsewhere += QThread::currentThread() != home;
            return Error();
        });
    }
    std::vector<std::thread> threads;
    for (size_t start = 0; start < 4; ++start) {
        threads.emplace_back([&queue, &tasks, start] {
            for (size_t i = start; i < tasks.size(); i += 4)
                queue.append(&tasks[i]);
        });
    }
    EXPECT_TRUE(eventually([&tasks] { return allFinished(tasks); }));
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(elsewhere, 0);
}

TEST(TasksQueueTest, limit_isNeverExceeded)
{
    DirectQueue queue(2);
    std::deque<ManualTask> tasks(5);
    queue.append(tasks);
    EXPECT_EQ(statesOf(tasks), u"rriii"_s);
    deliverEvents();
    EXPECT_EQ(statesOf(tasks), u"rriii"_s);
    tasks[1].finish(Error());
    EXPECT_EQ(statesOf(tasks), u"rfrii"_s);
    tasks[0].finish(Error(ErrorCode::BadData));
    EXPECT_EQ(statesOf(tasks), u"ffrri"_s);
}

TEST(TasksQueueTest, limit_tasksOnWorkers_isNeverExceeded)
{
    DirectQueue queue(3);
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    std::deque<Task> tasks(60);
    for (Task &task : tasks) {
        task.setFunction(
            [&inside, &most] {
                const int now = ++inside;
                for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) { }
                std::this_thread::yield();
                --inside;
                return Error();
            },
            Task::ExecutionMode::Asynchronous);
        queue.append(&task);
    }
    EXPECT_TRUE(eventually([&tasks] { return allFinished(tasks); }));
    EXPECT_LE(most, 3);
}

TEST(TasksQueueTest, limit_ofNothing_isOne)
{
    DirectQueue queue(0);
    std::deque<ManualTask> tasks(2);
    queue.append(tasks);
    EXPECT_EQ(statesOf(tasks), u"ri"_s);
}

TEST(TasksQueueTest, limit_neverSet_isTheNumberOfCores)
{
    TasksQueue queue;
    std::deque<ManualTask> tasks(size_t(QThread::idealThreadCount()) + 1);
    for (ManualTask &task : tasks)
        queue.append(&task);
    EXPECT_EQ(statesOf(tasks).count(u'r'), QThread::idealThreadCount());
}

TEST(TasksQueueTest, limit_raised_startsWhatWaited)
{
    DirectQueue queue(1);
    std::deque<ManualTask> tasks(3);
    queue.append(tasks);
    queue.setMaxRunningTasksCount(2);
    EXPECT_EQ(statesOf(tasks), u"rri"_s);
    std::thread([&queue] { queue.setMaxRunningTasksCount(3); }).join();
    EXPECT_TRUE(eventually([&tasks] { return statesOf(tasks) == u"rrr"_s; }));
}

TEST(TasksQueueTest, finish_onAnotherThread_startsTheNextOnItsOwn)
{
    DirectQueue queue(1);
    ManualTask first;
    Task second;
    QThread *seen = nullptr;
    tellThread(second, seen);
    queue.append(&first);
    queue.append(&second);
    std::thread([&first] { first.finish(Error()); }).join();
    EXPECT_TRUE(eventually([&second] { return second.isFinished(); }));
    EXPECT_EQ(seen, QThread::currentThread());
}

TEST(TasksQueueTest, finish_manyEndInsideExec_takesNoMoreStack)
{
    DirectQueue queue(1);
    ManualTask first;
    queue.append(&first);

    quintptr lowest = std::numeric_limits<quintptr>::max();
    quintptr highest = 0;
    std::deque<Task> tasks(20000);
    for (Task &task : tasks) {
        task.setFunction([&lowest, &highest] {
            const auto here = reinterpret_cast<quintptr>(__builtin_frame_address(0));
            lowest = std::min(lowest, here);
            highest = std::max(highest, here);
            return Error();
        });
        queue.append(&task);
    }
    first.finish(Error());
    EXPECT_TRUE(allFinished(tasks));
    EXPECT_LT(highest - lowest, 16384u);
}

TEST(TasksQueueTest, finish_taskDeletesItselfInside_isSurvived)
{
    DirectQueue queue(1);
    auto *first = new Task;
    QObject context;
    QObject::connect(first, &BaseTask::finished, &context, [first] { delete first; });
    queue.append(first);
    Task second;
    queue.append(&second);
    EXPECT_TRUE(second.isFinished());
}

TEST(TasksQueueTest, destroyedTask_waiting_leavesTheQueue)
{
    DirectQueue queue(1);
    ManualTask first, third;
    auto second = std::make_unique<ManualTask>();
    queue.append(&first);
    queue.append(second.get());
    queue.append(&third);
    second.reset();
    first.finish(Error());
    EXPECT_TRUE(third.isRunning());
}

TEST(TasksQueueTest, destroyedTask_running_freesItsPlace)
{
    DirectQueue queue(1);
    auto first = std::make_unique<ManualTask>();
    ManualTask second;
    queue.append(first.get());
    queue.append(&second);
    first.reset();
    EXPECT_TRUE(eventually([&second] { return second.isRunning(); }));
}

TEST(TasksQueueTest, canceledTask_waiting_isSkipped)
{
    DirectQueue queue(1);
    std::deque<ManualTask> tasks(3);
    const QSignalSpy started(&tasks[1], &BaseTask::started);
    queue.append(tasks);
    tasks[1].cancel();
    EXPECT_EQ(tasks[1].error().errorCode(), ErrorCode::Canceled);
    tasks[0].finish(Error());
    EXPECT_EQ(statesOf(tasks), u"ffr"_s);
    EXPECT_EQ(started.count(), 0);
}

TEST(TasksQueueTest, startedTask_waiting_isSkipped)
{
    DirectQueue queue(1);
    std::deque<ManualTask> tasks(3);
    queue.append(tasks);
    tasks[1].exec();
    tasks[0].finish(Error());
    EXPECT_EQ(statesOf(tasks), u"frr"_s);
}

TEST(TasksQueueTest, throwingTask_passesItsExceptionOnAndTheQueueGoesOn)
{
    DirectQueue queue(1);
    Task first, thrower, last;
    thrower.setFunction([]() -> Error { throw std::runtime_error("from the work"); });
    first.setFunction([&] {
        queue.append(&thrower);
        queue.append(&last);
        return Error();
    });
    EXPECT_THROW(queue.append(&first), std::runtime_error);
    EXPECT_EQ(thrower.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(eventually([&last] { return last.isFinished(); }));
}

TEST(TasksQueueTest, destruction_cancelsWhatWaitsAndLeavesTheRest)
{
    std::deque<ManualTask> tasks(3);
    auto queue = std::make_unique<DirectQueue>(1);
    queue->append(tasks);
    queue.reset();
    EXPECT_EQ(statesOf(tasks), u"rff"_s);
    EXPECT_FALSE(tasks[0].isCanceled());
    EXPECT_EQ(tasks[1].error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(tasks[2].waitForAllFinished(-1).errorCode(), ErrorCode::Canceled);
    tasks[0].finish(Error());
    EXPECT_TRUE(tasks[0].isSuccessful());
}
