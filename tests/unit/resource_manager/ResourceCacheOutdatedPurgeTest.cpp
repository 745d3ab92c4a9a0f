#include "support/PurgeFixture.h"

#include "Task.h"
#include "WaitUntil.h"
#include "WalFile.h"
#include "support/TestReference.h"
#include "threads/LockOrder.h"

#include <QEventLoop>
#include <QRegularExpression>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// References "test:..." whose scheme declares version 2.5.
class ResourceCacheOutdatedPurgeTest : public PurgeFixture
{
protected:
    void SetUp() override
    {
        open(1000000, 2000000);
        registerTestSchemes(QVersionNumber(2, 5));
    }
    void addVersion(const QString &reference, const QString &relativePath,
                    const QVersionNumber &version)
    {
        addReady(reference, relativePath, 10);
        ASSERT_FALSE(cache.updateVersion(reference, version).hasError());
    }
};

} // namespace

TEST_F(ResourceCacheOutdatedPurgeTest, purgeOutdatedResources_higherMajor_removesOnlyThose)
{
    addVersion(u"test:old"_s, u"s/1/f"_s, QVersionNumber(1, 9));
    addVersion(u"test:lowerMinor"_s, u"s/2/f"_s, QVersionNumber(2, 0));
    addVersion(u"test:higherMinor"_s, u"s/3/f"_s, QVersionNumber(2, 9));
    addVersion(u"test:future"_s, u"s/4/f"_s, QVersionNumber(3, 0));
    addVersion(u"test:none"_s, u"s/5/f"_s, QVersionNumber());
    ASSERT_FALSE(cache.purgeOutdatedResources().hasError());
    EXPECT_EQ(status(u"test:old"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:lowerMinor"_s), u"Ready"_s);
    EXPECT_EQ(status(u"test:higherMinor"_s), u"Ready"_s);
    EXPECT_EQ(status(u"test:future"_s), u"Ready"_s);
    EXPECT_EQ(status(u"test:none"_s), u"Missing"_s);
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResources_someOutdated_tellsHowLongOthersHaveWaited)
{
    for (const QString &name : { u"1"_s, u"2"_s })
        addVersion(u"test:"_s + name, u"s/%1/f"_s.arg(name), QVersionNumber(1));
    addVersion(u"test:current"_s, u"s/3/f"_s, QVersionNumber(2));
    const LogCapture log;
    ASSERT_FALSE(cache.purgeOutdatedResources().hasError());
    const QStringList texts = log.texts(QtDebugMsg);
    EXPECT_EQ(texts.filter(u"Determining resources to delete"_s).size(), 1);
    EXPECT_EQ(texts.filter(u"Deleting resources from the cache"_s).size(), 1);
    for (const QString &name : { u"1"_s, u"2"_s }) {
        EXPECT_TRUE(texts.contains(
            u"Deleting a resource from the cache pointed by \"test:%1\" reference"_s.arg(name)));
    }
    const QRegularExpression search(u"^Determining resources for deletion was completed in [0-9]+ "
                                    "ms. 2 resources have been marked for deletion$"_s);
    EXPECT_EQ(texts.filter(search).size(), 1);
    const QRegularExpression deletion(u"^Deleted 2 resources in [0-9]+ ms$"_s);
    EXPECT_EQ(texts.filter(deletion).size(), 1);
}

TEST_F(ResourceCacheOutdatedPurgeTest, purgeOutdatedResources_nothingOutdated_succeedsWithoutATask)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(2));
    EXPECT_FALSE(cache.purgeOutdatedResources().hasError());
    const auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue());
    EXPECT_EQ(task.value(), nullptr);
    EXPECT_TRUE(cache.readStatus(u"test:a"_s).hasValue()); // the semaphore is free again
}

TEST_F(ResourceCacheOutdatedPurgeTest, purgeOutdatedResources_inUse_isRemovedAndTheUsageStays)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    const auto handle = cache.useResource(u"test:a"_s);
    ASSERT_FALSE(cache.purgeOutdatedResources().hasError());
    EXPECT_EQ(status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResources_referenceUnreadable_failsAndDeletesNothing)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"nonsense"_s, u"s/2/f"_s, QVersionNumber(1));
    EXPECT_TRUE(cache.purgeOutdatedResources().hasError());
    EXPECT_EQ(status(u"test:a"_s), u"Ready"_s);
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResources_removalFails_keepsWhatWasDoneAndLeavesTheRest)
{
    addVersion(u"test:1"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"test:2"_s, u"s/2/f"_s, QVersionNumber(1));
    addVersion(u"test:3"_s, u"s/3/f"_s, QVersionNumber(1));
    ASSERT_FALSE(cache.saveLocalPath(u"test:2"_s, u"/proc/self/status"_s, 10).hasError());

    const Error error = cache.purgeOutdatedResources();
    EXPECT_EQ(error.errorMessage(), u"Unable to remove resource."_s);
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:2"_s), u"Ready"_s);
    EXPECT_EQ(status(u"test:3"_s), u"Ready"_s);
    EXPECT_TRUE(isOnDisk(u"s/3/f"_s));
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResourcesTask_run_reportsProgressAndFreesTheSemaphore)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"test:b"_s, u"s/2/f"_s, QVersionNumber(1));
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    QSignalSpy progress(task.value().get(), &BaseTask::progress);
    task.value()->exec();
    EXPECT_TRUE(task.value()->isSuccessful());
    const QList<QList<QVariant>> expected { { 0, 2 }, { 1, 2 }, { 2, 2 } };
    EXPECT_EQ(QList<QList<QVariant>>(progress), expected);
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::Missing);
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResourcesTask_destroyedWithoutRunning_freesTheSemaphore)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    {
        const auto task = cache.purgeOutdatedResourcesTask();
        ASSERT_TRUE(task.hasValue() && task.value());
    }
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::Ready);
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResourcesTask_canceledInBetween_keepsWhatWasDone)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"test:b"_s, u"s/2/f"_s, QVersionNumber(1));
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    Task *purge = task.value().get();
    QObject::connect(
        purge, &BaseTask::progress, purge,
        [purge](int value, int) {
            if (value == 1)
                purge->cancel();
        },
        Qt::DirectConnection);
    purge->exec();
    EXPECT_EQ(purge->error().errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(purge->error().errorMessage().isEmpty());
    // The task is still there, and the semaphore is free.
    EXPECT_TRUE(cache.readStatus(u"test:a"_s).hasValue());
    EXPECT_EQ(database().column(u"SELECT status FROM CachedResources ORDER BY status"_s),
              (QStringList { u"Missing"_s, u"Ready"_s }));
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResourcesTask_cacheMovedBeforeItsRun_leavesTheOtherCacheAlone)
{
    if constexpr (LockOrder::isChecked())
        GTEST_SKIP() << "A debug build ends at the move: two programs that do so can deadlock.";
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());

    const TemporaryCache other;
    ASSERT_FALSE(cache.open(pathOf(other.baseDir()), {}).hasError());
    const QString itsData = other.baseDir() + u"/Cache/s/2/f"_s;
    ASSERT_TRUE(QDir().mkpath(itsData));
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    ASSERT_FALSE(cache.saveLocalPath(u"test:a"_s, itsData, 10).hasError());
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Ready).hasError());
    task.value()->exec();
    EXPECT_EQ(task.value()->error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::Ready);
    EXPECT_TRUE(QFileInfo::exists(itsData));
    EXPECT_TRUE(isOnDisk(u"s/1/f"_s));
    cache.close(); // before its directory goes
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResourcesTask_canceledBeforeItsRun_deletesNothing)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    task.value()->cancel();
    EXPECT_EQ(task.value()->error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::Ready);
    EXPECT_TRUE(isOnDisk(u"s/1/f"_s));
}

TEST_F(ResourceCacheOutdatedPurgeTest,
       purgeOutdatedResourcesTask_removalFails_keepsWhatWasDoneAndFreesTheSemaphore)
{
    addVersion(u"test:1"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"test:2"_s, u"s/2/f"_s, QVersionNumber(1));
    addVersion(u"test:3"_s, u"s/3/f"_s, QVersionNumber(1));
    ASSERT_FALSE(cache.saveLocalPath(u"test:2"_s, u"/proc/self/status"_s, 10).hasError());
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    QSignalSpy progress(task.value().get(), &BaseTask::progress);
    task.value()->exec();
    EXPECT_EQ(task.value()->error().errorMessage(), u"Unable to remove resource."_s);
    EXPECT_EQ(progress.last(), (QList<QVariant> { 1, 3 }));
    EXPECT_EQ(cache.readStatus(u"test:1"_s).value(), ResourceStatus::Missing);
    EXPECT_EQ(cache.readStatus(u"test:2"_s).value(), ResourceStatus::Ready);
    EXPECT_EQ(cache.readStatus(u"test:3"_s).value(), ResourceStatus::Ready);
}

TEST_F(ResourceCacheOutdatedPurgeTest, purgeOutdatedResourcesTask_asynchronous_worksOnAnotherThread)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"test:b"_s, u"s/2/f"_s, QVersionNumber(1));
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    Task *purge = task.value().get();
    std::atomic<QThread *> worker = nullptr;
    QObject::connect(
        purge, &BaseTask::progress, purge, [&] { worker = QThread::currentThread(); },
        Qt::DirectConnection);
    purge->setExecutionMode(Task::ExecutionMode::Asynchronous);
    purge->exec();
    ASSERT_TRUE(waitUntil([&] { return worker.load() != nullptr; }));
    // Waits for the worker to be done with the semaphore; nothing has to run on this thread.
    EXPECT_EQ(cache.readStatus(u"test:b"_s).value(), ResourceStatus::Missing);
    EXPECT_FALSE(purge->waitForAllFinished(-1).hasError());
    EXPECT_TRUE(purge->isSuccessful());
    EXPECT_NE(worker.load(), QThread::currentThread());
}

// Every resource is a transaction of its own, so that nothing done is undone.
TEST_F(ResourceCacheOutdatedPurgeTest, purgeOutdatedResources_severalResources_commitsEach)
{
    for (const QString &name : { u"a"_s, u"b"_s, u"c"_s })
        addVersion(u"test:"_s + name, u"s/%1/f"_s.arg(name), QVersionNumber(1));
    database().value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    ASSERT_FALSE(cache.purgeOutdatedResources().hasError());
    EXPECT_EQ(commitsInJournal(directory.databasePath()), 3);
}

TEST_F(ResourceCacheOutdatedPurgeTest, ping_threadHoldsAnUnrunPurgeTask_skipsItsTurn)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    const auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    // Longer than the ping's period: a ping that waited here would wait for ever.
    QTimer probe;
    probe.setSingleShot(true);
    probe.start(std::chrono::milliseconds(5500));
    QEventLoop loop;
    QObject::connect(&probe, &QTimer::timeout, &loop, &QEventLoop::quit);
    loop.exec();
}

TEST_F(ResourceCacheOutdatedPurgeTest, setPingEnabled_elsewhereWhileAPurgeTaskIsUnrun_isNoDeadlock)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    database().run(u"UPDATE Clients SET lastPingTime = 0"_s);
    ASSERT_TRUE(QTest::qWaitFor(
        [this] { return database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong() > 0; },
        15000));
    const auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    std::thread([this] { cache.setPingEnabled(false); }).join();
    QCoreApplication::processEvents(); // what the other thread has asked for is done here
    task.value()->exec();
    EXPECT_TRUE(task.value()->isSuccessful());
}
