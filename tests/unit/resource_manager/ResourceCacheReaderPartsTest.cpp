#include "ResourceCacheReaderFixture.h"

#include <QSystemSemaphore>

using namespace zel;
using namespace zel::test;
using namespace std::chrono_literals;

namespace {

/// What is read of a cache without the whole of it.
class ResourceCacheReaderPartsTest : public ResourceCacheReaderFixture
{
protected:
    ResourceCacheReader::Activity activity()
    {
        auto result = ResourceCacheReader(path()).readActivity();
        EXPECT_TRUE(succeeded(result));
        return result.hasValue() ? std::move(result).value() : ResourceCacheReader::Activity();
    }
};

} // namespace

// ---- What comes and goes

TEST_F(ResourceCacheReaderPartsTest, readActivity_openCache_givesWhatComesAndGoes)
{
    openDao();
    insert(u"test:a"_s, ResourceStatus::Ready);
    insert(u"test:b"_s, ResourceStatus::Ready);
    insert(u"test:c"_s, ResourceStatus::Acquiring);
    insert(u"test:d"_s, ResourceStatus::Missing);
    insert(u"test:e"_s, ResourceStatus::Missing);
    database().run(u"UPDATE CachedResources SET status = 'Lost' WHERE reference = 'test:e'"_s);
    ASSERT_TRUE(succeeded(dao.updateResourceSize(1, 6'000'000'000)));
    const qint64 other = addClient(1'000'001, 20s);
    addTask(u"test:c"_s, ownClientId(), 42);
    addTask(u"test:c"_s, other);
    for (const qint64 client : { other, qint64(4711), qint64(4712) })
        addUsage(u"test:a"_s, client);
    database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = 1700000000"_s);

    const auto found = activity();
    ASSERT_EQ(found.acquiringTasks.size(), 2);
    EXPECT_EQ(found.acquiringTasks[0].reference, u"test:c"_s);
    EXPECT_EQ(found.acquiringTasks[0].processId, QCoreApplication::applicationPid());
    EXPECT_EQ(found.acquiringTasks[0].progress, 42);
    EXPECT_EQ(found.acquiringTasks[1].clientId, other);
    EXPECT_EQ(found.acquiringTasks[1].progress, std::nullopt);
    ASSERT_EQ(found.clients.size(), 2);
    EXPECT_EQ(found.clients[1].processId, 1'000'001);
    EXPECT_EQ(found.resourceCounts,
              (QHash<ResourceStatus, int> { { ResourceStatus::Ready, 2 },
                                            { ResourceStatus::Missing, 1 },
                                            { ResourceStatus::ScheduledForAcquire, 0 },
                                            { ResourceStatus::Acquiring, 1 } }));
    EXPECT_EQ(found.strayUsages, 2);
    EXPECT_EQ(found.currentSize, 6'000'000'000);
    EXPECT_EQ(found.lastScanTimestamp, 1'700'000'000);
}

TEST_F(ResourceCacheReaderPartsTest, readActivity_lockHeldAndWriterInTheMiddle_waitsForNeither)
{
    openDao();
    insert(u"test:a"_s, ResourceStatus::Ready);
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1);
    ASSERT_TRUE(semaphore.acquire());
    const Context context = transaction();
    insert(u"test:b"_s, ResourceStatus::Ready);
    EXPECT_EQ(activity().resourceCounts.value(ResourceStatus::Ready), 1);
    EXPECT_TRUE(semaphore.release());
}

TEST_F(ResourceCacheReaderPartsTest, readActivity_olderOrUnfinishedFile_works)
{
    load(u"before-versions.sql"_s);
    EXPECT_EQ(activity().currentSize, 60);
    const QString unfinished = cache.outside(u"unfinished.db"_s);
    writeFile(unfinished, QByteArray());
    const auto found = ResourceCacheReader(unfinished).readActivity();
    ASSERT_TRUE(succeeded(found));
    EXPECT_TRUE(found.value().resourceCounts.isEmpty());
}

TEST_F(ResourceCacheReaderPartsTest, readActivity_noCache_failsLikeRead)
{
    EXPECT_TRUE(failedWith(ResourceCacheReader(path()).readActivity().error(),
                           ErrorCode::BadArgument,
                           u"There is no cache database \"%1\"."_s.arg(path())));
    writeFile(path(), QByteArray(5000, 'x'));
    EXPECT_EQ(ResourceCacheReader(path()).readActivity().error().errorCode(), ErrorCode::BadData);
}

// ---- Some resources

TEST_F(ResourceCacheReaderPartsTest, readRowsOf_someReferences_givesTheirRowsInThatOrder)
{
    openDao();
    for (const QString &reference : { u"test:a"_s, u"test:b"_s, u"test:c"_s }) {
        insert(reference, ResourceStatus::Acquiring);
        addTask(reference, ownClientId(), 42);
        addUsage(reference, ownClientId());
    }
    addUsage(u"test:a"_s, 4711);
    database().run(u"UPDATE CachedResources SET cachedPath = '/cache/a', version = '1.2', "
                   "fileSize = 60, status = 'Ready' WHERE reference = 'test:a'"_s);
    database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = 1700000000"_s);
    database().run(u"INSERT INTO ResourceUsages (resourceId, clientId) VALUES (999, 1)"_s);

    const auto result = ResourceCacheReader(path()).readRowsOf(
        { u"test:c"_s, u"test:none"_s, u"test:a"_s, u"test:c"_s });
    ASSERT_TRUE(succeeded(result));
    const auto &found = result.value();
    ASSERT_EQ(found.resources.size(), 2);
    EXPECT_EQ(found.resources[0].reference, u"test:c"_s);
    EXPECT_EQ(found.resources[0].status, ResourceStatus::Acquiring);
    EXPECT_EQ(found.resources[1].reference, u"test:a"_s);
    EXPECT_EQ(found.resources[1].path, u"/cache/a"_s);
    EXPECT_EQ(found.resources[1].status, ResourceStatus::Ready);
    EXPECT_EQ(found.resources[1].policy, ResourceCleanupPolicy::OnDemand);
    EXPECT_EQ(found.resources[1].version, QVersionNumber(1, 2));
    ASSERT_EQ(found.usages.size(), 3);
    EXPECT_EQ(found.usages[0].reference, u"test:a"_s);
    EXPECT_EQ(found.usages[1].reference, u"test:c"_s);
    EXPECT_EQ(found.usages[2].processId, std::nullopt);
    ASSERT_EQ(found.acquiringTasks.size(), 2);
    EXPECT_EQ(found.acquiringTasks[1].reference, u"test:c"_s);
    EXPECT_EQ(found.clients.size(), 1);
    EXPECT_EQ(found.currentSize, 60);
    EXPECT_EQ(found.lastScanTimestamp, 1'700'000'000);
}

TEST_F(ResourceCacheReaderPartsTest, readRowsOf_oddTexts_areTakenAsTheyStandThere)
{
    openDao();
    const QString odd = u"test:'\"%1 ;\u00e4\U0001F41F"_s;
    insert(odd);
    insert(u"test:A"_s);
    const auto found = ResourceCacheReader(path()).readRowsOf({ odd, u"test:a"_s, QString() });
    ASSERT_TRUE(succeeded(found));
    ASSERT_EQ(found.value().resources.size(), 1);
    EXPECT_EQ(found.value().resources[0].reference, odd);
}

TEST_F(ResourceCacheReaderPartsTest, readRowsOf_noCache_failsLikeRead)
{
    EXPECT_TRUE(failedWith(ResourceCacheReader(path()).readRowsOf({ u"test:a"_s }).error(),
                           ErrorCode::BadArgument,
                           u"There is no cache database \"%1\"."_s.arg(path())));
}

// ---- Condition

TEST_F(ResourceCacheReaderPartsTest, readCondition_goodOrder_isOneRowAndNoDamage)
{
    openDao();
    const auto condition = ResourceCacheReader(path()).readCondition();
    ASSERT_TRUE(succeeded(condition));
    EXPECT_EQ(condition.value().metadataRows, 1);
    EXPECT_EQ(condition.value().journalMode, u"wal"_s);
    EXPECT_TRUE(condition.value().damages.isEmpty());
}

TEST_F(ResourceCacheReaderPartsTest, readCondition_damages_areTold)
{
    openDao();
    insert(u"test:a"_s, ResourceStatus::Ready);
    dao.close();
    {
        CacheDatabase database(path());
        database.run(u"INSERT INTO CacheMetadata (currentSize) VALUES (0)"_s);
        // The index has lost its entries.
        database.run(u"PRAGMA writable_schema = ON"_s);
        database.run(u"UPDATE sqlite_master SET rootpage = (SELECT rootpage FROM sqlite_master "
                     "WHERE name = 'Clients') WHERE name = 'idx_CachedResources_reference'"_s);
    }
    const auto condition = ResourceCacheReader(path()).readCondition();
    ASSERT_TRUE(succeeded(condition));
    EXPECT_EQ(condition.value().metadataRows, 2);
    EXPECT_FALSE(condition.value().damages.isEmpty());
}
