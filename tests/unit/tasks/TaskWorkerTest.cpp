#include "TaskTestSupport.h"
#include "ThreadStarts.h"

#include <QPointer>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(TaskWorkerTest, exec_asynchronous_returnsWhileTheWorkRuns)
{
    Gate gate;
    Task task;
    QThread *worker = nullptr;
    task.setFunction(
        [&] {
            worker = QThread::currentThread();
            gate.pass();
            return Error(ErrorCode::BadData, u"broken"_s);
        },
        Task::ExecutionMode::Asynchronous);
    task.exec();
    EXPECT_TRUE(task.isRunning());
    gate.open();
    EXPECT_EQ(task.waitForAllFinished(-1).errorMessage(), u"broken"_s);
    EXPECT_NE(worker, QThread::currentThread());
}

TEST(TaskWorkerTest, exec_asynchronous_eachHasAThreadOfItsOwn)
{
    // More than any shared pool has threads: all must be in their work before one may leave.
    const int count = QThread::idealThreadCount() + 8;
    std::atomic<int> inside = 0;
    Gate gate;
    std::vector<std::unique_ptr<Task>> tasks;
    for (int i = 0; i < count; ++i) {
        tasks.push_back(std::make_unique<Task>());
        tasks.back()->setFunction(
            [&] {
                ++inside;
                gate.pass();
                return Error();
            },
            Task::ExecutionMode::Asynchronous);
        tasks.back()->exec();
    }
    EXPECT_TRUE(eventually([&] { return inside == count; }));
    gate.open();
    for (const auto &task : tasks)
        EXPECT_FALSE(task->waitForAllFinished(-1).hasError());
}

TEST(TaskWorkerTest, exec_asynchronousInAutoConnection_slotRunsOnTheThreadOfItsContext)
{
    Task task;
    task.setExecutionMode(Task::ExecutionMode::Asynchronous);
    QThread *seen = nullptr;
    QObject::connect(&task, &BaseTask::finished, &task,
                     [&seen] { seen = QThread::currentThread(); });
    task.exec();
    EXPECT_TRUE(eventually([&seen] { return seen != nullptr; }));
    EXPECT_EQ(seen, QThread::currentThread());
}

TEST(TaskWorkerTest, cancel_asynchronous_isSeenByTheWork)
{
    Task task;
    task.setFunction([](Task *self) {
        while (!self->isCanceled())
            std::this_thread::yield();
        return Error(ErrorCode::Canceled);
    });
    task.setExecutionMode(Task::ExecutionMode::Asynchronous);
    task.exec();
    task.cancel();
    EXPECT_EQ(task.waitForAllFinished(-1).errorCode(), ErrorCode::Canceled);
}

TEST(TaskWorkerTest, destruction_asynchronous_cancelsAndWaitsForTheWorker)
{
    std::atomic<bool> left = false;
    std::promise<void> inside;
    {
        Task task;
        task.setFunction([&](Task *self) {
            inside.set_value();
            while (!self->isCanceled())
                std::this_thread::yield();
            left = true;
            return Error();
        });
        task.setExecutionMode(Task::ExecutionMode::Asynchronous);
        task.exec();
        inside.get_future().wait();
    }
    EXPECT_TRUE(left);
}

TEST(TaskWorkerTest, destruction_byItsWorker_isSurvived)
{
    std::promise<void> gone;
    auto *task = new Task;
    task->setExecutionMode(Task::ExecutionMode::Asynchronous);
    QObject::connect(
        task, &BaseTask::finished, task,
        [&gone, task] {
            delete task;
            gone.set_value();
        },
        Qt::DirectConnection);
    task->exec();
    gone.get_future().wait();
}

TEST(TaskWorkerTest, destruction_waiterDeletesAtOnce_isSurvived)
{
    for (int i = 0; i < 500; ++i) {
        auto task = std::make_unique<Task>();
        task->setExecutionMode(Task::ExecutionMode::Asynchronous);
        task->exec();
        EXPECT_FALSE(task->waitForAllFinished(-1).hasError());
    }
}

TEST(TaskWorkerTest, setDeleteOnFinished_asynchronous_isGoneInTheEnd)
{
    const QPointer<Task> task = new Task;
    task->setExecutionMode(Task::ExecutionMode::Asynchronous);
    task->setDeleteOnFinished(true);
    task->exec();
    EXPECT_TRUE(eventually([&task] {
        deliverEvents();
        return task.isNull();
    }));
}

TEST(TaskWorkerTest, exec_noThreadToBeHad_failsWithoutHavingWorked)
{
    Task task;
    bool hasWorked = false;
    task.setFunction(
        [&hasWorked] {
            hasWorked = true;
            return Error();
        },
        Task::ExecutionMode::Asynchronous);
    const QSignalSpy finished(&task, &BaseTask::finished);
    {
        const ThreadLimit limit(0);
        task.exec();
    }
    EXPECT_TRUE(task.isFinished());
    EXPECT_EQ(task.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(task.error().errorMessage().startsWith(u"Unable to start a thread: "_s));
    EXPECT_EQ(finished.count(), 1);
    EXPECT_FALSE(hasWorked);
}

TEST(TaskWorkerTest, queue_noThreadToBeHad_goesOnWithTheNextTask)
{
    DirectQueue queue(1);
    Task refused;
    refused.setExecutionMode(Task::ExecutionMode::Asynchronous);
    Task next;
    {
        const ThreadLimit limit(0);
        queue.append(&refused);
    }
    queue.append(&next);
    EXPECT_EQ(refused.waitForAllFinished(-1).errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(next.waitForAllFinished(-1).hasError());
}
