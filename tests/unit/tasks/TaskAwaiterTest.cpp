#include "TaskAwaiter.h"
#include "CoroutineWait.h"
#include "GroupTask.h"
#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using Operation = QCoro::detail::ZelTaskWaitForFinishedOperation;

namespace {

const Error broken(ErrorCode::BadData, u"broken"_s);

/// A class such as a loading program brings.
class HostTask : public Task
{
};

QCoro::Task<Result<QThread *>> threadBehind(const BaseTask *task)
{
    const auto outcome = co_await task;
    ZEL_IGNORE(outcome);
    co_return QThread::currentThread();
}

} // namespace

TEST(TaskAwaiterTest, coAwait_unfinished_suspendsUntilTheEnd)
{
    BaseTask task;
    auto coroutine = outcomeOf(&task);
    EXPECT_FALSE(coroutine.isReady());
    deliverEvents();
    EXPECT_FALSE(coroutine.isReady());

    task.finish(broken);
    EXPECT_TRUE(eventually([&coroutine] { return coroutine.isReady(); }));
    EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).equals(broken));
}

TEST(TaskAwaiterTest, coAwait_end_neverResumesInsideFinish)
{
    BaseTask task;
    auto coroutine = outcomeOf(&task);
    task.finish(Error());
    EXPECT_FALSE(coroutine.isReady());
    EXPECT_FALSE(waitForCoroutine(std::move(coroutine)).hasError());
}

TEST(TaskAwaiterTest, coAwait_pointersToDerivedClasses_areServed)
{
    HostTask task;
    GroupTask group;
    const BaseTask *constant = &task;
    auto ofTask = outcomeOf(&task);
    auto ofGroup = outcomeOf(&group);
    auto ofConstant = outcomeOf(constant);
    EXPECT_FALSE(ofTask.isReady() || ofGroup.isReady() || ofConstant.isReady());

    task.finish(broken);
    group.finish(broken);
    EXPECT_TRUE(waitForCoroutine(std::move(ofTask)).equals(broken));
    EXPECT_TRUE(waitForCoroutine(std::move(ofGroup)).equals(broken));
    EXPECT_TRUE(waitForCoroutine(std::move(ofConstant)).equals(broken));
}

TEST(TaskAwaiterTest, coAwait_owningPointer_keepsTheTaskInTheFrame)
{
    auto owner = std::make_unique<HostTask>();
    BaseTask *task = owner.get();
    auto coroutine = outcomeOf(std::move(owner));
    EXPECT_FALSE(coroutine.isReady());
    task->finish(broken);
    EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).equals(broken));
}

TEST(TaskAwaiterTest, coAwait_finished_goesOnAtOnce)
{
    BaseTask task;
    task.finish(broken);
    auto coroutine = outcomeOf(&task);
    EXPECT_TRUE(coroutine.isReady());
    EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).equals(broken));
}

TEST(TaskAwaiterTest, coAwait_inASlotOfTheEnd_goesOnAtOnce)
{
    BaseTask task;
    bool ready = false;
    QObject::connect(&task, &BaseTask::finished, &task,
                     [&] { ready = outcomeOf(&task).isReady(); });
    task.finish(Error());
    EXPECT_TRUE(ready);
}

TEST(TaskAwaiterTest, coAwait_endOnAnotherThread_resumesOnItsOwn)
{
    BaseTask task;
    auto coroutine = threadBehind(&task);
    std::thread other([&task] { task.finish(Error()); });
    const Result<QThread *> thread = waitForCoroutine(std::move(coroutine));
    other.join();
    ASSERT_TRUE(thread.hasValue());
    EXPECT_EQ(thread.value(), QThread::currentThread());
}

TEST(TaskAwaiterTest, coAwait_onAnotherThread_resumesThere)
{
    LoopThread thread;
    BaseTask task;
    std::promise<Result<QThread *>> seen;
    QMetaObject::invokeMethod(
        thread.receiver(), [&] { seen.set_value(waitForCoroutine(threadBehind(&task))); },
        Qt::QueuedConnection);
    thread.call([] { return true; });
    task.finish(Error());
    const Result<QThread *> result = seen.get_future().get();
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value(), thread.get());
}

TEST(TaskAwaiterTest, coAwait_endAtTheSameTime_isNotMissed)
{
    for (int i = 0; i < 500; ++i) {
        BaseTask task;
        std::promise<void> ready;
        std::thread other([&task, &ready] {
            ready.set_value();
            task.finish(broken);
        });
        ready.get_future().wait();
        EXPECT_TRUE(waitForCoroutine(outcomeOf(&task)).equals(broken));
        other.join();
    }
}

TEST(TaskAwaiterTest, coAwait_byMany_resumesThemAll)
{
    BaseTask task;
    std::vector<QCoro::Task<Error>> coroutines;
    for (int i = 0; i < 10; ++i)
        coroutines.push_back(outcomeOf(&task));
    task.finish(broken);
    for (QCoro::Task<Error> &coroutine : coroutines)
        EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).equals(broken));
}

TEST(TaskAwaiterTest, coAwait_destroyedMeanwhile_givesCode20)
{
    auto task = std::make_unique<BaseTask>();
    auto coroutine = outcomeOf(task.get());
    task.reset();
    EXPECT_FALSE(coroutine.isReady());
    EXPECT_EQ(waitForCoroutine(std::move(coroutine)).errorCode(), ErrorCode::Canceled);
}

TEST(TaskAwaiterTest, coAwait_destroyedRightAfterItsEnd_givesTheOutcome)
{
    auto task = std::make_unique<BaseTask>();
    auto coroutine = outcomeOf(task.get());
    task->finish(broken);
    task.reset();
    EXPECT_TRUE(waitForCoroutine(std::move(coroutine)).equals(broken));
}

TEST(TaskAwaiterTest, coAwait_null_givesCode2)
{
    const Error error = waitForCoroutine(outcomeOf(static_cast<Task *>(nullptr)));
    EXPECT_TRUE(error.equals(Error(ErrorCode::BadArgument, u"There is no task to wait for."_s)));
    EXPECT_EQ(waitForCoroutine(outcomeOf(std::unique_ptr<GroupTask>())).errorCode(),
              ErrorCode::BadArgument);

    const ContextTranslator translator;
    EXPECT_EQ(waitForCoroutine(outcomeOf(static_cast<Task *>(nullptr))).errorMessage(),
              u"zel::BaseTask"_s);
}

TEST(TaskAwaiterTest, coAwait_queueWhoseThreadHasEnded_startsTheTask)
{
    Task task;
    std::unique_ptr<TasksQueue> queue = queueOfAnEndedThread({ &task });
    EXPECT_TRUE(task.isIdle());
    EXPECT_FALSE(waitForCoroutine(outcomeOf(&task)).hasError());
    EXPECT_TRUE(task.isSuccessful());
}

TEST(TaskAwaiterTest, operation_stepByStep_tellsWhetherToSuspend)
{
    BaseTask task;
    Operation operation(&task);
    EXPECT_FALSE(operation.await_ready());
    EXPECT_TRUE(operation.await_suspend(std::noop_coroutine()));
    task.finish(broken);
    EXPECT_TRUE(operation.await_ready());
    EXPECT_TRUE(operation.await_resume().equals(broken));
    deliverEvents();
}

TEST(TaskAwaiterTest, operation_endBeforeTheSuspension_doesNotSuspend)
{
    BaseTask task;
    Operation operation(&task);
    EXPECT_FALSE(operation.await_ready());
    task.finish(broken);
    EXPECT_FALSE(operation.await_suspend(std::noop_coroutine()));
    EXPECT_TRUE(operation.await_resume().equals(broken));
}

TEST(TaskAwaiterTest, operation_goneBeforeTheEnd_isNotWoken)
{
    BaseTask task;
    {
        Operation operation(&task);
        EXPECT_TRUE(operation.await_suspend(std::noop_coroutine()));
    }
    task.finish(Error());
    {
        BaseTask other;
        Operation operation(&other);
        EXPECT_TRUE(operation.await_suspend(std::noop_coroutine()));
        other.finish(Error()); // Wakes by an event, which finds nobody.
    }
    deliverEvents();
}
