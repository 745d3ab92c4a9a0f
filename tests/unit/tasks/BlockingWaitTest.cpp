#include "BlockingWait.h"
#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(BlockingWaitTest, run_wokenBefore_returnsAtOnce)
{
    BlockingWait wait;
    wait.wake();
    bool delivered = false;
    QObject context;
    QTimer::singleShot(0, &context, [&delivered] { delivered = true; });
    EXPECT_FALSE(wait.run().hasError());
    EXPECT_FALSE(delivered);
}

TEST(BlockingWaitTest, run_wokenByAnEventOfItsThread_returns)
{
    BlockingWait wait;
    QObject context;
    QTimer::singleShot(1, &context, [&wait] { wait.wake(); });
    EXPECT_FALSE(wait.run().hasError());
}

TEST(BlockingWaitTest, run_wokenByAnotherThread_returns)
{
    for (int i = 0; i < 500; ++i) {
        BlockingWait wait;
        std::thread other([&wait] { wait.wake(); });
        EXPECT_FALSE(wait.run().hasError());
        other.join();
    }
}

TEST(BlockingWaitTest, run_nested_theOuterOneEndsBehindTheInnerOne)
{
    BlockingWait outer, inner;
    QStringList ends;
    QObject context;
    QTimer::singleShot(0, &context, [&] {
        outer.wake();
        QTimer::singleShot(1, &context, [&inner] { inner.wake(); });
        EXPECT_FALSE(inner.run().hasError());
        ends.append(u"inner"_s);
    });
    EXPECT_FALSE(outer.run().hasError());
    ends.append(u"outer"_s);
    EXPECT_EQ(ends, QStringList({ u"inner"_s, u"outer"_s }));
}

TEST(BlockingWaitTest, run_insideAPostedEvent_deliversTheOnesPostedWithIt)
{
    BlockingWait wait;
    std::optional<Error> outcome;
    QObject context;
    QMetaObject::invokeMethod(
        &context, [&] { outcome = wait.run(); }, Qt::QueuedConnection);
    QMetaObject::invokeMethod(
        &context, [&wait] { wait.wake(); }, Qt::QueuedConnection);
    ASSERT_TRUE(eventually([&outcome] { return outcome.has_value(); }));
    EXPECT_FALSE(outcome->hasError());
}

TEST(BlockingWaitTest, run_timeRunsOut_saysSo)
{
    EXPECT_TRUE(BlockingWait().run(1).equals(
        Error(ErrorCode::OperationFailed, u"Waiting took longer than allowed."_s)));

    const ContextTranslator translator;
    EXPECT_EQ(BlockingWait().run(0).errorMessage(), u"zel::BlockingWait"_s);
}

TEST(BlockingWaitTest, run_wokenWithinTheTime_isASuccess)
{
    BlockingWait wait;
    QObject context;
    QTimer::singleShot(1, &context, [&wait] { wait.wake(); });
    EXPECT_FALSE(wait.run(30000).hasError());
}

TEST(BlockingWaitTest, obstacle_withAnApplication_isNone)
{
    EXPECT_FALSE(BlockingWait::obstacle().hasError());
}
