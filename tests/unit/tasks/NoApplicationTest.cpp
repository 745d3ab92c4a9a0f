#include "BlockingWait.h"
#include "CoroutineWait.h"
#include "GroupTask.h"
#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

// A program without a QCoreApplication: no event loop runs in it, so no wait may begin.

namespace {

const Error impossible(ErrorCode::OperationFailed,
                       u"Waiting is impossible without a QCoreApplication."_s);
const Error broken(ErrorCode::BadData, u"broken"_s);

QCoro::Task<Result<bool>> suspended(std::coroutine_handle<> *handle, bool *resumed)
{
    Suspension suspension { *handle };
    co_await suspension;
    *resumed = true;
    co_return true;
}

} // namespace

TEST(NoApplicationTest, program_hasNoApplication)
{
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    EXPECT_TRUE(BlockingWait::obstacle().equals(impossible));
}

TEST(NoApplicationTest, waitForAllFinished_unfinished_failsAtOnce)
{
    BaseTask task;
    EXPECT_TRUE(task.waitForAllFinished(-1).equals(impossible));
    EXPECT_TRUE(task.isIdle());
}

TEST(NoApplicationTest, waitForAllFinished_unfinishedSubtask_failsAtOnce)
{
    GroupTask group;
    group.append(new BaseTask);
    group.finish(Error());
    EXPECT_TRUE(group.waitForAllFinished(-1).equals(impossible));
}

TEST(NoApplicationTest, waitForAllFinished_finished_givesTheOutcome)
{
    BaseTask task;
    task.finish(broken);
    EXPECT_TRUE(task.waitForAllFinished(-1).equals(broken));
}

TEST(NoApplicationTest, waitForCoroutine_suspended_failsAtOnceAndSurvivesItsEnd)
{
    std::coroutine_handle<> handle;
    bool resumed = false;
    const Result<bool> result = waitForCoroutine(suspended(&handle, &resumed));
    ASSERT_FALSE(result.hasValue());
    EXPECT_TRUE(result.error().equals(impossible));
    EXPECT_FALSE(resumed);
    handle.resume();
    EXPECT_TRUE(resumed);
}

TEST(NoApplicationTest, waitForCoroutine_ended_givesItsValue)
{
    BaseTask task;
    task.finish(broken);
    EXPECT_TRUE(waitForCoroutine(outcomeOf(&task)).equals(broken));
}

TEST(NoApplicationTest, coAwait_unfinished_failsWithoutSuspending)
{
    BaseTask task;
    auto coroutine = outcomeOf(&task);
    ASSERT_TRUE(coroutine.isReady());
    EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).equals(impossible));
}

TEST(NoApplicationTest, exec_synchronous_runs)
{
    Task task;
    task.setFunction([] { return broken; });
    task.exec();
    EXPECT_TRUE(task.error().equals(broken));
}

TEST(NoApplicationTest, exec_asynchronous_runs)
{
    std::promise<void> ran;
    Task task;
    task.setFunction(
        [&ran] {
            ran.set_value();
            return Error();
        },
        Task::ExecutionMode::Asynchronous);
    task.exec();
    ran.get_future().wait();
}

TEST(NoApplicationTest, queue_direct_runsItsTasks)
{
    TasksQueue queue;
    queue.setConnectionType(Qt::DirectConnection);
    Task task;
    queue.append(&task);
    EXPECT_TRUE(task.isSuccessful());
}

int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
