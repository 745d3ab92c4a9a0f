#include "support/CacheTest.h"

#include "Task.h"
#include "references/ResourceReference.h"

#include <QEventLoop>
#include <QTimer>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceCachePurgeTest : public CacheTest
{
protected:
    void open(qint64 optimal, qint64 maximum) { openCache({ optimal, maximum }); }
    QString status(const QString &reference) const { return database().status(reference); }
    bool isOnDisk(const QString &relativePath) const
    {
        return QFileInfo::exists(dataPath(relativePath));
    }
    /// Raised after the files are there: a purge on the way would disturb.
    void limitTo(qint64 optimal, qint64 maximum)
    {
        cache.close();
        openCache({ optimal, maximum });
    }
};

class TestReference : public ResourceReference
{
public:
    explicit TestReference(const QString &text)
        : ResourceReference(Host1)
        , text(text)
    {
    }
    QString referenceText(bool) const override { return text; }

private:
    QString text;
};

/// References "test:..." whose scheme declares version 2.5.
class OutdatedPurgeTest : public ResourceCachePurgeTest
{
protected:
    void SetUp() override
    {
        open(1000000, 2000000);
        const Error error = ResourceReference::registerScheme(
            { ResourceReference::Host1,
              { u"test"_s },
              u"test"_s,
              QVersionNumber(2, 5),
              [](const QString &text) -> Result<QSharedPointer<ResourceReference>> {
                  return QSharedPointer<ResourceReference>(new TestReference(text));
              } });
        ASSERT_FALSE(error.hasError());
    }
    void TearDown() override { ResourceReference::unregisterScheme(ResourceReference::Host1); }
    void addVersion(const QString &reference, const QString &relativePath,
                    const QVersionNumber &version)
    {
        addReady(reference, relativePath, 10);
        ASSERT_FALSE(cache.updateVersion(reference, version).hasError());
    }
};

} // namespace

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_aboveOptimal_goesToNineTenths)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 30, 1);
    addReady(u"test:2"_s, u"s/2/f"_s, 30, 2);
    addReady(u"test:3"_s, u"s/3/f"_s, 30, 3);
    addReady(u"test:4"_s, u"s/4/f"_s, 60, 4);
    limitTo(100, 200);

    // 150 in all, 60 above the target of 90: two of 30 reach it exactly, so a third one goes.
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:2"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:3"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:4"_s), u"Ready"_s);
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_TRUE(isOnDisk(u"s/4/f"_s));
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 60);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_exactlyOptimal_removesNothing)
{
    open(100, 200);
    addReady(u"test:1"_s, u"s/1/f"_s, 100);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_extraSize_countsAsIfThere)
{
    open(100, 200);
    addReady(u"test:1"_s, u"s/1/f"_s, 60);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(41).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_extraSizeBeyondNumbers_removesAll)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 60);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(std::numeric_limits<qint64>::max()).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_everythingInUse_removesNothingAndSucceeds)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    const auto handle = cache.useResource(u"test:1"_s);
    limitTo(100, 200);
    const auto again = cache.useResource(u"test:1"_s);
    EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_policyNever_isTakenAllTheSame)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500, 1, ResourceCleanupPolicy::Never);
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_EQ(cache.readCleanupPolicy(u"test:1"_s).value(), ResourceCleanupPolicy::Never);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_fileVanished_mendsTheRow)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    ASSERT_TRUE(QDir(dataPath(u"s/1"_s)).removeRecursively());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_TRUE(rowValue(u"cachedPath"_s, u"test:1"_s).isNull());
    EXPECT_TRUE(rowValue(u"fileSize"_s, u"test:1"_s).isNull());
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_folderResource_goesWithItsContent)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/data.d/analysis.baf"_s, 500);
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, dataPath(u"s/1/data.d"_s), 500).hasError());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_readOnlyFolderInside_isRemoved)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/data.d/sub/f"_s, 500);
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, dataPath(u"s/1/data.d"_s), 500).hasError());
    QFile::setPermissions(dataPath(u"s/1/data.d/sub"_s),
                          QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_resourceIsALinkToAFolder_leavesTheFolderAlone)
{
    open(1000, 2000);
    writeFile(directory.outside(u"precious/f"_s), "precious");
    addReady(u"test:1"_s, u"s/1/other"_s, 500);
    ASSERT_TRUE(QFile::link(directory.outside(u"precious"_s), dataPath(u"s/1/data.d"_s)));
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, dataPath(u"s/1/data.d"_s), 500).hasError());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_EQ(readFile(directory.outside(u"precious/f"_s)), "precious");
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_cannotRemove_isAnErrorOnlyAboveTheMaximum)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 150);
    // The row claims a path that no removal can take: the root of a pseudo file system.
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, u"/proc/self/status"_s, 150).hasError());
    limitTo(100, 200);

    const LogCapture log;
    EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
    EXPECT_TRUE(log.contains(QtWarningMsg, u"Unable to remove dir"_s));

    const Error error = cache.purgeCacheIfNeeded(100);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), u"Unable to remove resource."_s);
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_secondRemovalFails_takesTheFirstRowBackToo)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 50, 1);
    addReady(u"test:2"_s, u"s/2/f"_s, 100, 2);
    ASSERT_FALSE(cache.saveLocalPath(u"test:2"_s, u"/proc/self/status"_s, 100).hasError());
    limitTo(100, 200);

    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 150);

    // The next removal of that row mends it.
    const auto handle = cache.useResource(u"test:2"_s);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
}

TEST_F(ResourceCachePurgeTest,
       purgeCacheIfNeeded_baseDirectoryThroughALink_losesNoMoreThanTheResource)
{
    const QString link = directory.outside(u"link"_s);
    ASSERT_TRUE(QFile::link(directory.baseDir(), link));
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500, 1);
    addReady(u"test:2"_s, u"s2/2/f"_s, 50, 2);
    cache.close();
    ASSERT_FALSE(cache.open(pathOf(link), { 400, 2000 }).hasError());
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_TRUE(isOnDisk(u"s"_s));
    EXPECT_TRUE(isOnDisk(u"s2/2/f"_s));
    cache.close();
    removeSystemSemaphore(TemporaryCache::semaphoreKey(link));
}

TEST_F(ResourceCachePurgeTest, add_purgeFails_addsAllTheSame)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, u"/proc/self/status"_s, 500).hasError());
    limitTo(10, 20);
    EXPECT_FALSE(cache.add(u"test:2"_s, ResourceCleanupPolicy::OnDemand).hasError());
}

TEST_F(OutdatedPurgeTest, purgeOutdatedResources_higherMajor_removesOnlyThose)
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

TEST_F(OutdatedPurgeTest, purgeOutdatedResources_nothingOutdated_succeedsWithoutATask)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(2));
    EXPECT_FALSE(cache.purgeOutdatedResources().hasError());
    const auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue());
    EXPECT_EQ(task.value(), nullptr);
    EXPECT_TRUE(cache.readStatus(u"test:a"_s).hasValue()); // the semaphore is free again
}

TEST_F(OutdatedPurgeTest, purgeOutdatedResources_inUse_isRemovedAndTheUsageStays)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    const auto handle = cache.useResource(u"test:a"_s);
    ASSERT_FALSE(cache.purgeOutdatedResources().hasError());
    EXPECT_EQ(status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
}

TEST_F(OutdatedPurgeTest, purgeOutdatedResources_referenceUnreadable_failsAndDeletesNothing)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"nonsense"_s, u"s/2/f"_s, QVersionNumber(1));
    EXPECT_TRUE(cache.purgeOutdatedResources().hasError());
    EXPECT_EQ(status(u"test:a"_s), u"Ready"_s);
}

TEST_F(OutdatedPurgeTest, purgeOutdatedResources_removalFails_keepsWhatWasDoneAndLeavesTheRest)
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

TEST_F(OutdatedPurgeTest, purgeOutdatedResourcesTask_run_reportsProgressAndFreesTheSemaphore)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    addVersion(u"test:b"_s, u"s/2/f"_s, QVersionNumber(1));
    auto task = cache.purgeOutdatedResourcesTask();
    ASSERT_TRUE(task.hasValue() && task.value());
    QSignalSpy progress(task.value().get(), &BaseTask::progress);
    task.value()->exec();
    EXPECT_TRUE(task.value()->isSuccessful());
    ASSERT_GE(progress.size(), 2);
    EXPECT_EQ(progress.last(), (QList<QVariant> { 2, 2 }));
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::Missing);
}

TEST_F(OutdatedPurgeTest, purgeOutdatedResourcesTask_destroyedWithoutRunning_freesTheSemaphore)
{
    addVersion(u"test:a"_s, u"s/1/f"_s, QVersionNumber(1));
    {
        const auto task = cache.purgeOutdatedResourcesTask();
        ASSERT_TRUE(task.hasValue() && task.value());
    }
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::Ready);
}

TEST_F(OutdatedPurgeTest, purgeOutdatedResourcesTask_canceledInBetween_keepsWhatWasDone)
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
    EXPECT_EQ(database().column(u"SELECT status FROM CachedResources ORDER BY status"_s),
              (QStringList { u"Missing"_s, u"Ready"_s }));
}

TEST_F(OutdatedPurgeTest, ping_threadHoldsAnUnrunPurgeTask_skipsItsTurn)
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
