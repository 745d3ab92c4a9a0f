#include "support/PingTimer.h"
#include "support/RetrieveHandleFixture.h"
#include "support/WaitingThread.h"

#include "FailingStatement.h"
#include "SemaphoreLocker.h"

#include <QSystemSemaphore>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceRetrieveHandleTest : public RetrieveHandleFixture
{
protected:
    /// What subclasses reach.
    struct OnACache : ResourceRetrieveHandle
    {
        using ResourceRetrieveHandle::addTaskToDatabase;
        using ResourceRetrieveHandle::removeTaskFromDatabase;
        using ResourceRetrieveHandle::tryStartRetrieve;
    };
};

} // namespace

TEST_F(ResourceRetrieveHandleTest, construct_andDestroy_leavesNoTrace)
{
    handleOf(cache).reset();
    EXPECT_EQ(taskRows(), 0);
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(ResourceRetrieveHandleTest, tryStartRetrieve_missing_makesThisClientTheFetcher)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_EQ(taskRows(), 1);
    EXPECT_EQ(handle->readProgress().value().progress, 0);
}

TEST_F(ResourceRetrieveHandleTest, tryStartRetrieve_ready_answersFalseWithoutARow)
{
    addReady(u"test:r"_s, u"s/r/f"_s, 10);
    ResourceRetrieveHandle handle(u"test:r"_s, dataPath(u"s/r/f"_s), &cache, {});
    EXPECT_FALSE(handle.tryStartRetrieve().value());
    EXPECT_TRUE(handle.isReady().value());
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(ResourceRetrieveHandleTest, tryStartRetrieve_unknownReference_fails)
{
    ResourceRetrieveHandle handle(u"test:unknown"_s, dataPath(u"x"_s), &cache, {});
    EXPECT_FALSE(handle.tryStartRetrieve().hasValue());
}

TEST_F(ResourceRetrieveHandleTest, tryStartRetrieve_twoClients_theFirstFetchesTheSecondWatches)
{
    const auto other = otherClient();
    const auto first = handleOf(cache);
    const auto second = handleOf(*other);
    EXPECT_TRUE(first->tryStartRetrieve().value());
    EXPECT_FALSE(second->tryStartRetrieve().value());
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_EQ(taskRows(), 2);
}

TEST_F(ResourceRetrieveHandleTest, readProgress_onlyAWish_isEmptyAndScheduled)
{
    const auto handle = handleOf(cache);
    ASSERT_FALSE(handle->addTaskToDatabase().hasError());
    const auto seen = handle->readProgress();
    EXPECT_FALSE(seen.value().progress.has_value());
    EXPECT_EQ(seen.value().status, ResourceStatus::ScheduledForAcquire);
}

TEST_F(ResourceRetrieveHandleTest, addTaskToDatabase_twice_addsOneRow)
{
    const auto handle = handleOf(cache);
    ASSERT_FALSE(handle->addTaskToDatabase().hasError());
    ASSERT_FALSE(handle->addTaskToDatabase().hasError());
    EXPECT_EQ(taskRows(), 1);
}

TEST_F(ResourceRetrieveHandleTest, formsForSubclasses_aWholeRetrieve_doTheSameOnACache)
{
    ASSERT_FALSE(OnACache::addTaskToDatabase(&cache, reference).hasError());
    EXPECT_EQ(status(), u"ScheduledForAcquire"_s);
    EXPECT_EQ(taskRows(), 1);
    EXPECT_TRUE(OnACache::tryStartRetrieve(&cache, reference).value());
    EXPECT_EQ(status(), u"Acquiring"_s);
    ASSERT_FALSE(OnACache::removeTaskFromDatabase(&cache, reference).hasError());
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(ResourceRetrieveHandleTest, saveProgress_fetcher_isSeenByTheWatcher)
{
    const auto other = otherClient();
    const auto fetcher = handleOf(cache);
    const auto watcher = handleOf(*other);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    ASSERT_FALSE(watcher->tryStartRetrieve().value());
    ASSERT_FALSE(fetcher->saveProgress(55).hasError());
    EXPECT_EQ(watcher->readProgress().value().progress, 55);
    EXPECT_EQ(watcher->readProgress().value().status, ResourceStatus::Acquiring);
}

TEST_F(ResourceRetrieveHandleTest, readProgress_readyOrMissing_isEmpty)
{
    const auto handle = handleOf(cache);
    EXPECT_EQ(handle->readProgress().value().status, ResourceStatus::Missing);
    EXPECT_FALSE(handle->readProgress().value().progress.has_value());
}

TEST_F(ResourceRetrieveHandleTest, readProgress_scheduledThoughAProgressIsThere_isEmpty)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    ASSERT_FALSE(cache.saveStatus(reference, ResourceStatus::ScheduledForAcquire).hasError());
    const auto seen = handle->readProgress();
    EXPECT_FALSE(seen.value().progress.has_value());
    EXPECT_EQ(seen.value().status, ResourceStatus::ScheduledForAcquire);
}

TEST_F(ResourceRetrieveHandleTest, finalizeRetrieve_dataInPlace_isReadyWithPathSizeAndVersion)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    writeFile(dataPath(u"s/a/f"_s), "12345");
    ASSERT_FALSE(handle->finalizeRetrieve(Error()).hasError());
    EXPECT_EQ(status(), u"Ready"_s);
    EXPECT_EQ(rowValue(u"cachedPath"_s, reference).toString(), dataPath(u"s/a/f"_s));
    EXPECT_EQ(rowValue(u"fileSize"_s, reference).toInt(), 5);
    EXPECT_EQ(rowValue(u"version"_s, reference).toString(), u"2.1"_s);
    ASSERT_FALSE(handle->removeTaskFromDatabase().hasError());
    EXPECT_EQ(status(), u"Ready"_s);
}

TEST_F(ResourceRetrieveHandleTest, finalizeRetrieve_folder_countsItsWholeContent)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    writeFile(dataPath(u"s/a/f/one"_s), "123");
    writeFile(dataPath(u"s/a/f/sub/two"_s), "4567");
    ASSERT_FALSE(handle->finalizeRetrieve(Error()).hasError());
    EXPECT_EQ(rowValue(u"fileSize"_s, reference).toInt(), 7);
}

TEST_F(ResourceRetrieveHandleTest, finalizeRetrieve_failedFetch_isMissingAndSucceeds)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    EXPECT_FALSE(handle->finalizeRetrieve(Error(4, u"broken"_s)).hasError());
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(ResourceRetrieveHandleTest, finalizeRetrieve_noData_failsAndKeepsTheStatus)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    const Error error = handle->finalizeRetrieve(Error());
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), u"Trying to finalize retrieve for non existing resource"_s);
    EXPECT_EQ(status(), u"Acquiring"_s);
    ASSERT_FALSE(handle->removeTaskFromDatabase().hasError());
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(ResourceRetrieveHandleTest, destroy_fetcherThatNeverFinished_returnsTheResourceToMissing)
{
    auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    handle.reset();
    EXPECT_EQ(taskRows(), 0);
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(ResourceRetrieveHandleTest, destroy_watcherOfAnotherClient_leavesTheFetcherAlone)
{
    const auto other = otherClient();
    const auto fetcher = handleOf(cache);
    auto watcher = handleOf(*other);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    ASSERT_FALSE(watcher->tryStartRetrieve().value());
    watcher.reset();
    EXPECT_EQ(taskRows(), 1);
    EXPECT_EQ(status(), u"Acquiring"_s);
}

TEST_F(ResourceRetrieveHandleTest, destroy_handleThatAddedNoRow_leavesThisProcessesFetchAlone)
{
    const auto fetcher = handleOf(cache);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    handleOf(cache).reset();
    EXPECT_EQ(taskRows(), 1);
    EXPECT_EQ(status(), u"Acquiring"_s);
}

TEST_F(ResourceRetrieveHandleTest, destroy_watcherOfThisProcess_leavesItsFetchAlone)
{
    const auto fetcher = handleOf(cache);
    auto watcher = handleOf(cache);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    ASSERT_FALSE(watcher->tryStartRetrieve().value());
    watcher.reset();
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_EQ(fetcher->readProgress().value().progress, 0);
}

TEST_F(ResourceRetrieveHandleTest, removeTask_fetcherFailed_aWatcherOfThisProcessTakesOver)
{
    const auto fetcher = handleOf(cache);
    const auto watcher = handleOf(cache);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    ASSERT_FALSE(watcher->tryStartRetrieve().value());
    ASSERT_FALSE(fetcher->finalizeRetrieve(Error(1)).hasError());
    ASSERT_FALSE(fetcher->removeTaskFromDatabase().hasError());
    EXPECT_TRUE(watcher->tryStartRetrieve().value());
    EXPECT_EQ(status(), u"Acquiring"_s);
}

TEST_F(ResourceRetrieveHandleTest, removeTask_fetcherFailedBeforeManyWatchers_oneTakesOver)
{
    const auto fetcher = handleOf(cache);
    auto one = handleOf(cache);
    auto two = handleOf(cache);
    const auto other = otherClient();
    auto far = handleOf(*other);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    ASSERT_FALSE(one->tryStartRetrieve().value());
    ASSERT_FALSE(two->tryStartRetrieve().value());
    ASSERT_FALSE(far->tryStartRetrieve().value());
    ASSERT_FALSE(fetcher->finalizeRetrieve(Error(1)).hasError());
    ASSERT_FALSE(fetcher->removeTaskFromDatabase().hasError());

    EXPECT_FALSE(far->readProgress().value().progress.has_value());
    EXPECT_TRUE(one->tryStartRetrieve().value());
    EXPECT_FALSE(two->tryStartRetrieve().value());
    EXPECT_FALSE(far->tryStartRetrieve().value());

    one.reset();
    two.reset();
    EXPECT_EQ(taskRows(), 1); // the other process's
    far.reset();
    EXPECT_EQ(taskRows(), 0);
    EXPECT_EQ(status(), u"Missing"_s);
}

TEST_F(ResourceRetrieveHandleTest, removeTask_anotherHandleComesWhileItWaits_leavesTheRows)
{
    const auto going = handleOf(cache);
    const auto coming = handleOf(cache);
    ASSERT_FALSE(going->addTaskToDatabase().hasError());

    const QString key = TemporaryCache::semaphoreKey(directory.baseDir());
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Open);
    auto holder = std::make_unique<SemaphoreLocker>(&semaphore, 1);
    // The first one waits, finding itself alone; the second one says that it will have a row.
    WaitingThread first([&going] { EXPECT_FALSE(going->removeTaskFromDatabase().hasError()); });
    ASSERT_TRUE(first.isWaiting());
    WaitingThread second([&coming] { EXPECT_FALSE(coming->addTaskToDatabase().hasError()); });
    ASSERT_TRUE(second.isWaiting());
    holder.reset();
    first.join();
    second.join();

    EXPECT_EQ(taskRows(), 2); // nobody took rows away that somebody needs ...
    ASSERT_FALSE(coming->removeTaskFromDatabase().hasError());
    EXPECT_EQ(taskRows(), 0); // ... and the last one takes all
}

TEST_F(ResourceRetrieveHandleTest, tryStartRetrieve_afterCleanupRemovedTheRow_fetchesWithoutOne)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    database().run(u"DELETE FROM AcquiringTasks"_s);
    EXPECT_TRUE(handle->tryStartRetrieve().value());
    EXPECT_EQ(taskRows(), 0);
    EXPECT_FALSE(handle->saveProgress(10).hasError());
}

TEST_F(ResourceRetrieveHandleTest, finalizeRetrieve_failedButFetchedByAnother_leavesTheStatus)
{
    const auto late = handleOf(cache);
    ASSERT_TRUE(late->tryStartRetrieve().value());
    database().run(u"DELETE FROM AcquiringTasks"_s); // taken for dead
    const auto other = otherClient();
    const auto next = handleOf(*other);
    ASSERT_TRUE(next->tryStartRetrieve().value());
    EXPECT_FALSE(late->finalizeRetrieve(Error(1)).hasError());
    EXPECT_EQ(status(), u"Acquiring"_s);

    writeFile(dataPath(u"s/a/f"_s), "data");
    ASSERT_FALSE(next->finalizeRetrieve(Error()).hasError());
    ASSERT_FALSE(next->removeTaskFromDatabase().hasError());
    EXPECT_FALSE(late->finalizeRetrieve(Error(1)).hasError());
    EXPECT_EQ(status(), u"Ready"_s);
}

// The machine slept: others took this program for dead, and it has asked for the resource again.
TEST_F(ResourceRetrieveHandleTest, fetchGivenUp_fetchedAgainByTheSameProcess_leavesThatOneAlone)
{
    const auto late = handleOf(cache);
    ASSERT_TRUE(late->tryStartRetrieve().value());
    database().run(u"DELETE FROM AcquiringTasks"_s);
    const auto next = handleOf(cache);
    ASSERT_TRUE(next->tryStartRetrieve().value());
    ASSERT_FALSE(next->saveProgress(40).hasError());

    EXPECT_FALSE(late->finalizeRetrieve(Error(1)).hasError());
    EXPECT_FALSE(late->removeTaskFromDatabase().hasError());
    EXPECT_EQ(status(), u"Acquiring"_s);
    EXPECT_EQ(database().value(u"SELECT progress FROM AcquiringTasks"_s), QVariant(40));

    EXPECT_FALSE(next->finalizeRetrieve(Error(1)).hasError());
    EXPECT_FALSE(next->removeTaskFromDatabase().hasError());
    EXPECT_EQ(status(), u"Missing"_s);
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(ResourceRetrieveHandleTest, givenDatabaseAccessThatIsOpen_rowsGoWithTheirHandles)
{
    auto dao = std::make_unique<OtherProcessDao>(4000001);
    ASSERT_FALSE(dao->open(cachePath().databasePath()).hasError());
    TestCache given(std::move(dao));
    ASSERT_FALSE(given.add(u"test:given"_s, ResourceCleanupPolicy::OnDemand).hasError());
    const int before = database().count(u"ResourceUsages"_s);
    {
        const auto usage = given.useResource(u"test:given"_s);
        ASSERT_TRUE(usage.hasValue());
        EXPECT_EQ(database().count(u"ResourceUsages"_s), before + 1);
        const auto fetch = handleOf(given);
        ASSERT_TRUE(fetch->tryStartRetrieve().value());
        EXPECT_FALSE(fetch->finalizeRetrieve(Error(1)).hasError());
    }
    EXPECT_EQ(database().count(u"ResourceUsages"_s), before);
    EXPECT_EQ(taskRows(), 0);
}

// It looks once more when its turn has come: what is Ready by then may be in use already.
TEST_F(ResourceRetrieveHandleTest, tryStartRetrieve_publishedSinceItsFirstLook_fetchesNothingOver)
{
    ASSERT_FALSE(OnACache::addTaskToDatabase(&cache, reference).hasError()); // it has looked
    const auto other = otherClient();
    const auto fetcher = handleOf(*other);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    writeFile(dataPath(u"s/a/f"_s), "data");
    ASSERT_FALSE(fetcher->finalizeRetrieve(Error()).hasError());
    ASSERT_FALSE(fetcher->removeTaskFromDatabase().hasError());

    EXPECT_FALSE(OnACache::tryStartRetrieve(&cache, reference).value());
    EXPECT_EQ(status(), u"Ready"_s);
}

// Taken for dead, it has counted its data when another program puts its own in the place.
TEST_F(ResourceRetrieveHandleTest, finalizeRetrieve_dataReplacedWhileItWaits_recordsTheNewSize)
{
    const auto handle = handleOf(cache);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    const QString path = dataPath(u"s/a/f"_s);
    writeFile(path, "data");

    const QString key = TemporaryCache::semaphoreKey(directory.baseDir());
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Open);
    auto holder = std::make_unique<SemaphoreLocker>(&semaphore, 1);
    WaitingThread ending([&handle] { EXPECT_FALSE(handle->finalizeRetrieve(Error()).hasError()); });
    ASSERT_TRUE(ending.isWaiting());
    writeFile(path + u".new"_s, "longer data");
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QFile::rename(path + u".new"_s, path));
    holder.reset();
    ending.join();
    EXPECT_EQ(database().value(u"SELECT currentSize FROM CacheMetadata"_s).toLongLong(), 11);
}

TEST_F(ResourceRetrieveHandleTest, addTask_rowCannotBeAdded_othersTakeTheirsAway)
{
    const auto handle = handleOf(cache);
    const auto other = handleOf(cache);
    {
        const FailingStatement failing(0);
        EXPECT_TRUE(handle->addTaskToDatabase().hasError());
    }
    ASSERT_FALSE(other->addTaskToDatabase().hasError());
    ASSERT_FALSE(other->removeTaskFromDatabase().hasError());
    EXPECT_EQ(taskRows(), 0);
}

TEST_F(ResourceRetrieveHandleTest, ping_taskThatCouldNotBeTakenBack_takesItBackForTheNextFetcher)
{
    auto fetcher = handleOf(cache);
    ASSERT_TRUE(fetcher->tryStartRetrieve().value());
    ASSERT_FALSE(fetcher->finalizeRetrieve(Error(1)).hasError());
    {
        const FailingStatement failing(0);
        EXPECT_TRUE(fetcher->removeTaskFromDatabase().hasError());
    }
    {
        const FailingStatement failing(0);
        fetcher.reset();
        EXPECT_TRUE(failing.hasFailed());
    }
    const auto other = otherClient();
    const auto next = handleOf(*other);
    EXPECT_EQ(taskRows(), 1);
    EXPECT_FALSE(next->tryStartRetrieve().value());

    PingTimer(cache, true).tick();
    EXPECT_EQ(taskRows(), 1); // that of the other client
    EXPECT_TRUE(next->tryStartRetrieve().value());
}

TEST_F(ResourceRetrieveHandleTest, destroy_afterItsCache_isHarmless)
{
    auto mortal = otherClient();
    auto handle = handleOf(*mortal);
    ASSERT_TRUE(handle->tryStartRetrieve().value());
    mortal.reset();
    handle.reset();
}
