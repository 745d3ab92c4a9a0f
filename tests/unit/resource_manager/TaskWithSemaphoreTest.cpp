#include "TaskWithSemaphore.h"

#include "SemaphoreLockerFixture.h"

#include <atomic>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using TaskWithSemaphoreTest = SemaphoreLockerFixture;

} // namespace

TEST_F(TaskWithSemaphoreTest, exec_withTheLock_freesItBeforeAnybodyHearsOfTheEnd)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    bool wasHeld = false;
    bool wasFreeAtTheEnd = false;
    task.setFunction([&] {
        wasHeld = isHeld();
        return Error(0);
    });
    QObject::connect(
        &task, &BaseTask::finished, &task, [&] { wasFreeAtTheEnd = isFree(); },
        Qt::DirectConnection);
    task.exec();
    EXPECT_TRUE(wasHeld);
    EXPECT_TRUE(wasFreeAtTheEnd);
}

TEST_F(TaskWithSemaphoreTest, exec_onAWorker_carriesTheLockThere)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    std::atomic<bool> heldByWorker = false;
    task.setFunction(
        [&] {
            heldByWorker = SemaphoreLocker::isHeldByThisThread(*semaphore);
            return Error(0);
        },
        Task::ExecutionMode::Asynchronous);
    task.exec();
    EXPECT_FALSE(task.waitForAllFinished(-1).hasError());
    EXPECT_TRUE(heldByWorker);
    EXPECT_TRUE(isFree());
}

TEST_F(TaskWithSemaphoreTest, exec_onAWorker_leavesItsMakersThreadToWaitLikeAnyOther)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    std::promise<void> mayEnd;
    task.setFunction(
        [&] {
            mayEnd.get_future().wait();
            return Error(0);
        },
        Task::ExecutionMode::Asynchronous);
    EXPECT_TRUE(SemaphoreLocker::isHeldByThisThread(*semaphore));
    // Before the worker is there, which says itself that it holds it.
    bool isHeldAtTheStart = true;
    QObject::connect(&task, &BaseTask::started, &task,
                     [&] { isHeldAtTheStart = SemaphoreLocker::isHeldByThisThread(*semaphore); });
    task.exec();
    EXPECT_FALSE(isHeldAtTheStart);
    mayEnd.set_value();
    EXPECT_FALSE(task.waitForAllFinished(-1).hasError());
}

TEST_F(TaskWithSemaphoreTest, destruction_whileItRuns_waitsForItsWork)
{
    std::promise<void> started;
    bool ended = false;
    {
        TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
        task.setFunction([&](Task *running) {
            started.set_value();
            while (!running->isCanceled())
                std::this_thread::yield();
            ended = isHeld();
            return Error(0);
        });
        task.setExecutionMode(Task::ExecutionMode::Asynchronous);
        task.exec();
        started.get_future().wait();
    }
    EXPECT_TRUE(ended);
    EXPECT_TRUE(isFree());
}

TEST_F(TaskWithSemaphoreTest, destruction_unrun_freesTheLock)
{
    {
        const TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    }
    EXPECT_TRUE(isFree());
}

TEST_F(TaskWithSemaphoreTest, cancel_unrun_freesTheLock)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    task.cancel();
    EXPECT_TRUE(task.isFinished());
    EXPECT_TRUE(isFree());
}

TEST_F(TaskWithSemaphoreTest, exec_withoutALock_runsItsFunctionAndFreesNothing)
{
    const SemaphoreLocker holder(semaphore.get(), 1);
    TaskWithSemaphore task(nullptr);
    task.setFunction([] { return Error(4, u"x"_s); });
    task.exec();
    EXPECT_EQ(task.error().errorCode(), ErrorCode::BadData);
    EXPECT_TRUE(SemaphoreLocker::isHeldByThisThread(*semaphore));
    EXPECT_TRUE(isHeld());
}
