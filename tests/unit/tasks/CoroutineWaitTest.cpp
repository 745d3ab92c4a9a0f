#include "CoroutineWait.h"
#include "TaskTestSupport.h"

#include <stdexcept>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

struct NoDefault
{
    explicit NoDefault(int number)
        : number(number)
    {
    }
    int number;
};
static_assert(!std::default_initializable<Result<NoDefault>>);

QCoro::Task<Result<NoDefault>> numberBehind(BaseTask *task, int number)
{
    const auto outcome = co_await task;
    if (outcome.hasError())
        co_return outcome;
    co_return NoDefault(number);
}

QCoro::Task<Result<std::unique_ptr<QString>>> textBehind(BaseTask *task)
{
    const auto outcome = co_await task;
    ZEL_IGNORE(outcome);
    co_return std::make_unique<QString>(u"text"_s);
}

QCoro::Task<Error> throwing(BaseTask *task)
{
    const auto outcome = co_await task;
    ZEL_IGNORE(outcome);
    throw std::runtime_error("from the coroutine");
}

QCoro::Task<Error> suspended(std::coroutine_handle<> *handle)
{
    Suspension suspension { *handle };
    co_await suspension;
    co_return Error(ErrorCode::BadData, u"resumed"_s);
}

void finishSoon(BaseTask *task, const Error &outcome = Error())
{
    QTimer::singleShot(1, task, [task, outcome] { task->finish(outcome); });
}

} // namespace

TEST(CoroutineWaitTest, waitForCoroutine_ended_givesItsValue)
{
    BaseTask task;
    task.finish(Error());
    const Result<NoDefault> result = waitForCoroutine(numberBehind(&task, 5));
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value().number, 5);
}

TEST(CoroutineWaitTest, waitForCoroutine_suspended_deliversEventsUntilItsEnd)
{
    BaseTask task;
    finishSoon(&task);
    const Result<NoDefault> result = waitForCoroutine(numberBehind(&task, 5));
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value().number, 5);
}

TEST(CoroutineWaitTest, waitForCoroutine_failure_isGiven)
{
    BaseTask task;
    finishSoon(&task, Error(ErrorCode::BadData, u"broken"_s));
    const Result<NoDefault> result = waitForCoroutine(numberBehind(&task, 5));
    ASSERT_FALSE(result.hasValue());
    EXPECT_TRUE(result.error().equals(Error(ErrorCode::BadData, u"broken"_s)));
}

TEST(CoroutineWaitTest, waitForCoroutine_valueThatOnlyMoves_isMovedOut)
{
    BaseTask task;
    finishSoon(&task);
    const auto result = waitForCoroutine(textBehind(&task));
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(*result.value(), u"text"_s);
}

TEST(CoroutineWaitTest, waitForCoroutine_throwsAtOnce_isThrownAgain)
{
    BaseTask task;
    task.finish(Error());
    EXPECT_THROW(ZEL_IGNORE(waitForCoroutine(throwing(&task))), std::runtime_error);
}

TEST(CoroutineWaitTest, waitForCoroutine_throwsAfterItsSuspension_isThrownAgain)
{
    BaseTask task;
    finishSoon(&task);
    EXPECT_THROW(ZEL_IGNORE(waitForCoroutine(throwing(&task))), std::runtime_error);
}

TEST(CoroutineWaitTest, waitForCoroutine_resumedByAnotherThread_isWoken)
{
    for (int i = 0; i < 200; ++i) {
        std::coroutine_handle<> handle;
        auto coroutine = suspended(&handle);
        ASSERT_FALSE(coroutine.isReady());
        std::promise<void> waiting;
        std::thread other([&] {
            // Not before the wait has taken the coroutine over.
            waiting.get_future().wait();
            handle.resume();
        });
        QTimer::singleShot(0, [&waiting] { waiting.set_value(); });
        EXPECT_EQ(waitForCoroutine(std::move(coroutine)).errorMessage(), u"resumed"_s);
        other.join();
    }
}

TEST(CoroutineWaitTest, waitForCoroutine_onAThreadQtDoesNotKnow_works)
{
    BaseTask task;
    std::promise<Error> seen;
    std::thread plain([&] { seen.set_value(waitForCoroutine(outcomeOf(&task))); });
    task.finish(Error(ErrorCode::BadData, u"broken"_s));
    plain.join();
    EXPECT_EQ(seen.get_future().get().errorMessage(), u"broken"_s);
}
