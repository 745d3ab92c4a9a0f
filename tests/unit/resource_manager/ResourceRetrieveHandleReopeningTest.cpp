#include "support/RetrieveHandleFixture.h"
#include "support/WaitingThread.h"

#include "FailingStatement.h"
#include "LockCalls.h"
#include "SemaphoreLocker.h"

#include <QSystemSemaphore>

#include <functional>
#include <optional>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What a handle does whose cache is closed and opened meanwhile, there or elsewhere.
class ResourceRetrieveHandleReopeningTest : public RetrieveHandleFixture
{
protected:
    /// A handle that became the fetcher and whose rows went when the cache was closed; now it is
    /// open again.
    std::unique_ptr<ResourceRetrieveHandle> fetchFromBeforeReopening()
    {
        auto handle = handleOf(cache);
        EXPECT_TRUE(handle->tryStartRetrieve().value());
        cache.close();
        openCache();
        return handle;
    }
    /// Something that happens in the middle of tryStartRetrieve(): the handle has its row, has
    /// given the cache back, and is about to take it once more.
    class BeforeTheDecision
    {
    public:
        explicit BeforeTheDecision(std::function<void()> happens)
        {
            calls() = 0;
            event() = std::move(happens);
            watchLockCalls(&BeforeTheDecision::onLockCall);
        }
        ~BeforeTheDecision()
        {
            watchLockCalls(nullptr);
            EXPECT_GE(calls(), last);
        }

    private:
        static constexpr int last = 5; ///< the look at the status, the row, each with a giving back
        static void onLockCall(LockCall call)
        {
            if (call != LockCall::Semaphore || ++calls() != last)
                return;
            watchLockCalls(nullptr);
            event()();
        }
        static int &calls()
        {
            static int count = 0;
            return count;
        }
        static std::function<void()> &event()
        {
            static std::function<void()> function;
            return function;
        }
    };
};

} // namespace

TEST_F(ResourceRetrieveHandleReopeningTest,
       finalizeRetrieve_cacheMovedMeanwhile_failsAndLeavesTheOtherCache)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    writeFile(dataPath(u"s/a/f"_s), "data");
    const TemporaryCache elsewhere;
    cache.close();
    ASSERT_FALSE(cache.open(pathOf(elsewhere.baseDir()), {}).hasError());
    ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());

    const Error error = handle->finalizeRetrieve(Error());
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(
        error.errorMessage(),
        u"The cache was moved while the resource \"%1\" was being retrieved."_s.arg(reference));
    EXPECT_EQ(cache.readStatus(reference).value(), ResourceStatus::Missing);
    CacheDatabase other(elsewhere.databasePath());
    EXPECT_TRUE(other.value(u"SELECT cachedPath FROM CachedResources"_s).isNull());
    EXPECT_EQ(handle->tryStartRetrieve().error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(handle->readProgress().error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(other.count(u"AcquiringTasks"_s), 0);
    cache.close();
}

TEST_F(ResourceRetrieveHandleReopeningTest, tryStartRetrieve_cacheMovedBeforeIt_failsAndAddsNoRow)
{
    const auto handle = handleOf(cache);
    const TemporaryCache elsewhere;
    cache.close();
    ASSERT_FALSE(cache.open(pathOf(elsewhere.baseDir()), {}).hasError());
    ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
    EXPECT_EQ(handle->tryStartRetrieve().error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(handle->addTaskToDatabase().errorCode(), ErrorCode::OperationFailed);
    CacheDatabase other(elsewhere.databasePath());
    EXPECT_EQ(other.count(u"AcquiringTasks"_s), 0);
    cache.close();
}

TEST_F(ResourceRetrieveHandleReopeningTest,
       tryStartRetrieve_cacheMovesBehindTheRow_leavesTheOtherCache)
{
    const auto handle = handleOf(cache);
    const TemporaryCache elsewhere;
    const BeforeTheDecision move([&] {
        cache.close();
        ASSERT_FALSE(cache.open(pathOf(elsewhere.baseDir()), {}).hasError());
        ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
    });
    const auto outcome = handle->tryStartRetrieve();
    ASSERT_FALSE(outcome.hasValue());
    EXPECT_EQ(outcome.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(cache.readStatus(reference).value(), ResourceStatus::Missing);
    EXPECT_EQ(CacheDatabase(elsewhere.databasePath()).count(u"AcquiringTasks"_s), 0);
    cache.close();
}

TEST_F(ResourceRetrieveHandleReopeningTest, tryStartRetrieve_cacheReopenedBehindTheRow_hasARowAgain)
{
    const auto handle = handleOf(cache);
    const BeforeTheDecision reopening([this] {
        cache.close();
        openCache();
    });
    EXPECT_TRUE(handle->tryStartRetrieve().value());
    EXPECT_EQ(taskRows(), 1);
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_FALSE(handle->removeTaskFromDatabase().hasError());
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(ResourceRetrieveHandleReopeningTest,
       tryStartRetrieve_noRowAfterReopening_othersTakeTheirsAway)
{
    const auto handle = handleOf(cache);
    const auto other = handleOf(cache);
    std::optional<FailingStatement> failing;
    {
        const BeforeTheDecision reopening([&] {
            cache.close();
            openCache();
            failing.emplace(0);
        });
        EXPECT_FALSE(handle->tryStartRetrieve().hasValue());
    }
    EXPECT_TRUE(failing->hasFailed());
    failing.reset();
    ASSERT_FALSE(other->addTaskToDatabase().hasError());
    EXPECT_EQ(taskRows(), 1);
    ASSERT_FALSE(other->removeTaskFromDatabase().hasError());
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(ResourceRetrieveHandleReopeningTest,
       finalizeRetrieve_failedAndCacheMoved_leavesTheOtherCache)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    const TemporaryCache elsewhere;
    cache.close();
    ASSERT_FALSE(cache.open(pathOf(elsewhere.baseDir()), {}).hasError());
    ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
    ASSERT_FALSE(cache.saveStatus(reference, ResourceStatus::Acquiring).hasError());

    EXPECT_FALSE(handle->finalizeRetrieve(Error(1)).hasError());
    EXPECT_EQ(cache.readStatus(reference).value(), ResourceStatus::Acquiring);
    cache.close();
}

TEST_F(ResourceRetrieveHandleReopeningTest, removeTask_cacheReopenedMeanwhile_leavesTheRowsOfOthers)
{
    const auto past = fetchFromBeforeReopening();
    const auto present = handleOf(cache);
    ASSERT_TRUE(present->tryStartRetrieve().value());
    ASSERT_FALSE(present->saveProgress(40).hasError());

    EXPECT_FALSE(past->saveProgress(7).hasError());
    EXPECT_FALSE(past->removeTaskFromDatabase().hasError());
    EXPECT_EQ(present->readProgress().value().progress, 40);
    EXPECT_FALSE(present->removeTaskFromDatabase().hasError());
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(ResourceRetrieveHandleReopeningTest,
       finalizeRetrieve_failsAfterReopening_leavesTheFetchOfNow)
{
    const auto past = fetchFromBeforeReopening();
    const auto present = handleOf(cache);
    ASSERT_TRUE(present->tryStartRetrieve().value());

    EXPECT_FALSE(past->finalizeRetrieve(Error(1)).hasError());
    EXPECT_EQ(cache.readStatus(reference).value(), ResourceStatus::Acquiring);
}

TEST_F(ResourceRetrieveHandleReopeningTest, tryStartRetrieve_cacheReopenedMeanwhile_hasARowAgain)
{
    const auto handle = fetchFromBeforeReopening();
    EXPECT_EQ(taskRows(), 0);
    EXPECT_TRUE(handle->tryStartRetrieve().value());
    EXPECT_EQ(taskRows(), 1);
}

TEST_F(ResourceRetrieveHandleReopeningTest, addTask_cacheIsOpenedWhileItWaits_keepsItsRowFromOthers)
{
    const auto coming = handleOf(cache);
    const auto going = handleOf(cache);
    cache.close();
    openCache(); // the first opening has counted all sizes: the next one waits but once
    cache.close();

    const QString key = TemporaryCache::semaphoreKey(directory.baseDir());
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Open);
    auto holder = std::make_unique<SemaphoreLocker>(&semaphore, 1);
    WaitingThread first([this] { EXPECT_FALSE(cache.open(cachePath(), {}).hasError()); });
    ASSERT_TRUE(first.isWaiting());
    WaitingThread second([&coming] { EXPECT_FALSE(coming->addTaskToDatabase().hasError()); });
    ASSERT_TRUE(second.isWaiting());
    holder.reset(); // they are served in the order in which they came
    first.join();
    second.join();

    ASSERT_FALSE(going->removeTaskFromDatabase().hasError());
    EXPECT_EQ(taskRows(), 1);
}
