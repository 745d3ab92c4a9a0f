#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(BaseTaskWaitTest, waitForAllFinished_finished_returnsItsErrorAtOnce)
{
    BaseTask task;
    task.finish(Error(ErrorCode::BadData, u"broken"_s));
    EXPECT_EQ(task.waitForAllFinished(-1).errorMessage(), u"broken"_s);
}

TEST(BaseTaskWaitTest, waitForAllFinished_deliversTheEventsOfTheThread)
{
    BaseTask task;
    QTimer::singleShot(1, &task, [&task] { task.finish(Error()); });
    EXPECT_FALSE(task.waitForAllFinished(-1).hasError());
}

TEST(BaseTaskWaitTest, waitForAllFinished_endOnAnotherThread_wakes)
{
    for (int i = 0; i < 200; ++i) {
        BaseTask task;
        std::thread other([&task] { task.finish(Error(ErrorCode::BadData)); });
        EXPECT_EQ(task.waitForAllFinished(-1).errorCode(), ErrorCode::BadData);
        other.join();
    }
}

TEST(BaseTaskWaitTest, waitForAllFinished_waiterDeletesAtOnce_isSurvived)
{
    for (int i = 0; i < 500; ++i) {
        auto task = std::make_unique<BaseTask>();
        BaseTask *raw = task.get();
        std::promise<void> ready;
        std::thread other([raw, &ready] {
            ready.set_value();
            raw->finish(Error());
        });
        ready.get_future().wait();
        EXPECT_FALSE(task->waitForAllFinished(-1).hasError());
        task.reset();
        other.join();
    }
}

TEST(BaseTaskWaitTest, waitForAllFinished_waitersComeAfterTheSlots)
{
    for (int i = 0; i < 200; ++i) {
        BaseTask task;
        std::atomic<bool> slotDone = false;
        QObject::connect(
            &task, &BaseTask::finished, &task, [&slotDone] { slotDone = true; },
            Qt::DirectConnection);
        std::thread other([&task] { task.finish(Error()); });
        ZEL_IGNORE(task.waitForAllFinished(-1));
        EXPECT_TRUE(slotDone);
        other.join();
    }
}

TEST(BaseTaskWaitTest, waitForAllFinished_inASlotOfTheEnd_returns)
{
    BaseTask task;
    std::optional<Error> seen;
    QObject::connect(&task, &BaseTask::finished, &task,
                     [&] { seen = task.waitForAllFinished(-1); });
    task.finish(Error(ErrorCode::BadData, u"broken"_s));
    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(seen->errorMessage(), u"broken"_s);
}

TEST(BaseTaskWaitTest, waitForAllFinished_timeRunsOut_saysSo)
{
    BaseTask task;
    const Error error = task.waitForAllFinished(20);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), u"Waiting took longer than allowed."_s);
    EXPECT_TRUE(task.isIdle());
}

TEST(BaseTaskWaitTest, waitForAllFinished_destroyedMeanwhile_givesCode20)
{
    auto *task = new BaseTask;
    QTimer::singleShot(1, task, [task] { delete task; });
    EXPECT_EQ(task->waitForAllFinished(-1).errorCode(), ErrorCode::Canceled);
}

TEST(BaseTaskWaitTest, waitForAllFinished_deletesItselfAtItsEnd_stillGivesTheError)
{
    auto *task = new BaseTask;
    task->setDeleteOnFinished(true);
    QTimer::singleShot(1, task, [task] { task->finish(Error(ErrorCode::BadData)); });
    EXPECT_EQ(task->waitForAllFinished(-1).errorCode(), ErrorCode::BadData);
    deliverEvents();
}

TEST(BaseTaskWaitTest, waitForAllFinished_loopsAreAskedToQuit_stillWaits)
{
    LoopThread thread;
    const Error error = thread.call([] {
        BaseTask task;
        QTimer::singleShot(1, &task, [&task] {
            QThread::currentThread()->quit();
            QTimer::singleShot(1, &task, [&task] { task.finish(Error(ErrorCode::BadData)); });
        });
        return task.waitForAllFinished(-1);
    });
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
}

TEST(BaseTaskWaitTest, waitForAllFinished_onAThreadQtDoesNotKnow_deliversItsTimers)
{
    Error error;
    std::thread plain([&error] {
        BaseTask task;
        QMetaObject::invokeMethod(
            &task,
            [&task] {
                QTimer::singleShot(1, &task, [&task] { task.finish(Error(ErrorCode::BadData)); });
            },
            Qt::QueuedConnection);
        error = task.waitForAllFinished(-1);
    });
    plain.join();
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
}
