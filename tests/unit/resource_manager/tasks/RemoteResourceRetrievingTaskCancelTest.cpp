#include "support/RetrievingTaskFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using RemoteResourceRetrievingTaskCancelTest = RetrievingTaskFixture;

} // namespace

TEST_F(RemoteResourceRetrievingTaskCancelTest, cancel_fetching_goesThroughTheFetchingTask)
{
    const auto own = retrieval(cache);
    own.task->exec();
    own.task->cancel();
    EXPECT_TRUE(own.inner->isCanceled());
    EXPECT_FALSE(own.task->isCanceled());
    EXPECT_FALSE(own.task->isFinished());
    own.inner->finish(ErrorCode::Canceled);
    EXPECT_EQ(own.task->error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskCancelTest, cancel_waiting_endsCanceledAndNeverFetches)
{
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(*other);
    fetcher.task->exec();
    watcher.task->exec();
    watcher.task->cancel();
    fetcher.inner->finish(Error(42, u"broken"_s));
    EXPECT_TRUE(waitUntil([&] { return watcher.task->isFinished(); }));
    EXPECT_EQ(watcher.task->error().errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(watcher.inner->isIdle());
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(RemoteResourceRetrievingTaskCancelTest, cancel_idle_endsCanceledAndIsNotStartedAnyMore)
{
    const auto own = retrieval(cache);
    own.task->cancel();
    EXPECT_TRUE(own.task->isFinished());
    own.task->exec();
    EXPECT_TRUE(own.inner->isIdle());
    EXPECT_EQ(status(), u"Missing"_s);
}
