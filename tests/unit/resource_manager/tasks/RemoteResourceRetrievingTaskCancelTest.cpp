#include "support/RetrievingTaskFixture.h"
#include "support/WaitingThread.h"

#include "SemaphoreLocker.h"

#include <QSystemSemaphore>

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
    EXPECT_TRUE(deliverEventsUntil([&] { return watcher.task->isFinished(); }));
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

TEST_F(RemoteResourceRetrievingTaskCancelTest,
       cancel_inASlotOfItsStart_endsCanceledAndFetchesNothing)
{
    const auto own = retrieval(cache);
    QObject::connect(own.task.get(), &BaseTask::started, own.task.get(),
                     [&own] { own.task->cancel(); });
    own.task->exec();
    EXPECT_EQ(own.task->error().errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(own.inner->isIdle());
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskCancelTest,
       cancel_justBeforeTakingOver_endsCanceledAndFetchesNothing)
{
    const auto other = otherClient();
    const auto fetcher = retrieval(cache);
    const auto watcher = retrieval(*other);
    fetcher.task->exec();
    watcher.task->exec();
    fetcher.inner->setProgress(1, 2);
    ASSERT_TRUE(deliverEventsUntil([&] { return watcher.task->progressValue() == 50; }));
    QObject::connect(watcher.task.get(), &BaseTask::progress, watcher.task.get(),
                     [&watcher](int value) {
                         if (value == 0)
                             watcher.task->cancel();
                     });
    fetcher.inner->finish(Error(42, u"broken"_s));
    ASSERT_TRUE(deliverEventsUntil([&] { return watcher.task->isCanceled(); }));
    EXPECT_TRUE(watcher.task->isFinished());
    EXPECT_EQ(watcher.task->error().errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(watcher.inner->isIdle());
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(RemoteResourceRetrievingTaskCancelTest, cancel_whileDeciding_theFetchDoesNotBegin)
{
    bool hasRun = false;
    const auto task = retrievalBy(cache, fetchAtOnce(&hasRun));
    const QString key = TemporaryCache::semaphoreKey(directory.baseDir());
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Open);
    auto holder = std::make_unique<SemaphoreLocker>(&semaphore, 1);
    WaitingThread runner([&task] { task->exec(); });
    EXPECT_TRUE(runner.isWaiting());
    task->cancel();
    holder.reset();
    runner.join();
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(task->error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}
