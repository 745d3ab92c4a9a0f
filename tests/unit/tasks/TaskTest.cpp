#include "TaskTestSupport.h"

#include "CoroutineWait.h"

#include <QPointer>

#include <csignal>
#include <stdexcept>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Waits for the event loop before it ends.
class SuspendingTask : public Task
{
public:
    int resumed = 0;

protected:
    QCoro::Task<Error> co_doExec() override
    {
        BaseTask tick;
        QTimer::singleShot(1, &tick, [&tick] { tick.finish(Error(ErrorCode::BadData, u"x"_s)); });
        const auto error = co_await &tick;
        ++resumed;
        co_return error;
    }
};

class ThrowingTask : public Task
{
protected:
    Error doExec() override { throw std::runtime_error("from the work"); }
};

/// Suspends so many times before it throws.
class ThrowingCoroutineTask : public Task
{
public:
    explicit ThrowingCoroutineTask(int suspensions)
        : suspensions(suspensions)
    {
    }

protected:
    QCoro::Task<Error> co_doExec() override
    {
        BaseTask tick;
        QTimer::singleShot(1, &tick, [&tick] { tick.finish(Error()); });
        while (suspensions-- > 0) {
            const auto error = co_await &tick;
            ZEL_IGNORE(error);
        }
        throw std::runtime_error("from the work");
    }

private:
    int suspensions;
};

class FinalizingTask : public Task
{
public:
    int finalized = 0;

protected:
    void finalize() override
    {
        Task::finalize();
        ++finalized;
    }
};

} // namespace

TEST(TaskTest, executionMode_numbersAreAgreed)
{
    EXPECT_EQ(int(Task::ExecutionMode::Synchronous), 0);
    EXPECT_EQ(int(Task::ExecutionMode::Asynchronous), 1);
    EXPECT_EQ(Task().executionMode(), Task::ExecutionMode::Synchronous);
}

TEST(TaskTest, exec_functionOfTheTask_endsWithItsOutcome)
{
    Task task;
    Task *seen = nullptr;
    task.setFunction([&seen](Task *self) {
        seen = self;
        EXPECT_TRUE(self->isRunning());
        return Error(ErrorCode::BadData, u"broken"_s);
    });
    task.exec();
    EXPECT_EQ(seen, &task);
    EXPECT_TRUE(task.isFinished());
    EXPECT_EQ(task.error().errorMessage(), u"broken"_s);
}

TEST(TaskTest, exec_functionWithoutArgument_runs)
{
    Task task;
    task.setFunction([&task] {
        task.setResult(true);
        return Error();
    });
    task.exec();
    const Result<bool> result = task.result<bool>();
    ASSERT_TRUE(result.hasValue());
    EXPECT_TRUE(result.value());
}

TEST(TaskTest, exec_noFunction_isASuccess)
{
    Task task;
    task.exec();
    EXPECT_TRUE(task.isSuccessful());
}

TEST(TaskTest, exec_second_isIgnored)
{
    Task task;
    int runs = 0;
    task.setFunction([&runs] {
        ++runs;
        return Error();
    });
    task.exec();
    task.exec();
    EXPECT_EQ(runs, 1);
}

TEST(TaskTest, exec_canceledBefore_doesNotRun)
{
    Task task;
    bool ran = false;
    task.setFunction([&ran] {
        ran = true;
        return Error();
    });
    task.cancel();
    task.exec();
    EXPECT_FALSE(ran);
    EXPECT_EQ(task.error().errorCode(), ErrorCode::Canceled);
}

TEST(TaskTest, exec_endedInASlotOfTheStart_doesNotRun)
{
    Task task;
    bool ran = false;
    task.setFunction([&ran] {
        ran = true;
        return Error();
    });
    QObject::connect(&task, &BaseTask::started, &task, [&task] { task.finish(Error()); });
    task.exec();
    EXPECT_FALSE(ran);
}

TEST(TaskTest, exec_deletedInASlotOfTheEnd_isSurvived)
{
    auto *task = new Task;
    QObject context;
    QObject::connect(task, &BaseTask::finished, &context, [task] { delete task; });
    task->exec();
}

TEST(TaskTest, exec_endsAndFinalizesOnce)
{
    FinalizingTask task;
    task.exec();
    EXPECT_EQ(task.finalized, 1);
}

TEST(TaskTest, exec_workThrows_endsTheTaskAndPassesTheExceptionOn)
{
    ThrowingTask task;
    EXPECT_THROW(task.exec(), std::runtime_error);
    EXPECT_TRUE(task.isFinished());
    EXPECT_EQ(task.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(task.waitForAllFinished(-1).errorMessage().isEmpty());
}

TEST(TaskTest, exec_coroutineSuspends_returnsAndEndsLater)
{
    SuspendingTask task;
    task.exec();
    EXPECT_TRUE(task.isRunning());
    EXPECT_EQ(task.resumed, 0);
    EXPECT_EQ(task.waitForAllFinished(-1).errorMessage(), u"x"_s);
    EXPECT_EQ(task.resumed, 1);
}

TEST(TaskTest, exec_workThrowsInTheCoroutine_endsTheTaskAndPassesTheExceptionOn)
{
    ThrowingCoroutineTask task(0);
    EXPECT_THROW(task.exec(), std::runtime_error);
    EXPECT_EQ(task.error().errorCode(), ErrorCode::OperationFailed);
}

TEST(TaskTest, exec_workThrowsAndItsEndDeletesTheTask_isSurvived)
{
    auto *task = new ThrowingTask;
    QObject context;
    QObject::connect(task, &BaseTask::finished, &context, [task] { delete task; });
    EXPECT_THROW(task->exec(), std::runtime_error);
}

TEST(TaskDeathTest, exec_asynchronousWorkThrows_endsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ThrowingTask task;
            task.setExecutionMode(Task::ExecutionMode::Asynchronous);
            task.exec();
            ZEL_IGNORE(task.waitForAllFinished(-1));
        },
        testing::KilledBySignal(SIGABRT), "from the work");
}

TEST(TaskDeathTest, exec_coroutineThrowsAfterItsSuspension_endsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ThrowingCoroutineTask task(1);
            task.exec();
            ZEL_IGNORE(task.waitForAllFinished(-1));
        },
        testing::KilledBySignal(SIGABRT), "from the work");
}

TEST(TaskTest, exec_overridden_isTheWholeWork)
{
    ManualTask task;
    task.exec();
    EXPECT_TRUE(task.isRunning());
    task.finish(Error(ErrorCode::BadData, u"own"_s));
    EXPECT_EQ(task.error().errorMessage(), u"own"_s);
}

TEST(TaskTest, exec_overriddenDoExec_runsInsteadOfTheFunction)
{
    ThrowingTask task;
    task.setFunction([] { return Error(); });
    EXPECT_THROW(task.exec(), std::runtime_error);
}

TEST(TaskTest, exec_functionFails_outcomeIsStamped)
{
    Task task;
    task.setFunction([] { return Error(ErrorCode::BadData, u"broken"_s); });
    task.exec();
    EXPECT_FALSE(task.error().trail().isEmpty());
}

TEST(TaskTest, texts_areTranslatedInTheContextOfTheClass)
{
    const ContextTranslator translator;
    ThrowingTask task;
    EXPECT_THROW(task.exec(), std::runtime_error);
    EXPECT_EQ(task.error().errorMessage(), u"zel::Task"_s);
}

TEST(TaskTest, exec_asynchronousCoroutine_runsToItsEndOnTheWorker)
{
    SuspendingTask task;
    task.setExecutionMode(Task::ExecutionMode::Asynchronous);
    task.exec();
    EXPECT_EQ(task.waitForAllFinished(-1).errorMessage(), u"x"_s);
    EXPECT_EQ(task.resumed, 1);
}

TEST(TaskTest, destruction_neverStarted_isSilent)
{
    int finished = 0;
    QObject context;
    {
        FinalizingTask task;
        QObject::connect(&task, &BaseTask::finished, &context, [&finished] { ++finished; });
    }
    EXPECT_EQ(finished, 0);
}
