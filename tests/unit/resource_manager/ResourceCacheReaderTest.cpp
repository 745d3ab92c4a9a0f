#include "ResourceCacheReader.h"

#include "ResourceCacheReaderFixture.h"

#include <QSystemSemaphore>

using namespace zel;
using namespace zel::test;
using namespace std::chrono_literals;

namespace {

using ResourceCacheReaderTest = ResourceCacheReaderFixture;

} // namespace

TEST_F(ResourceCacheReaderTest, read_openCache_givesEveryColumn)
{
    openDao();
    insert(u"test:a"_s, ResourceStatus::Ready, 5'000'000'000);
    insert(u"test:b"_s);
    const qint64 other = addClient(1'000'001, 20s);
    addUsage(u"test:a"_s, ownClientId());
    addUsage(u"test:a"_s, other);
    addUsage(u"test:b"_s, 4711);
    addTask(u"test:b"_s, other, 42);
    addTask(u"test:b"_s, 4711);
    database().run(u"UPDATE CachedResources SET cachedPath = '/cache/a', version = '1.2', "
                   "fileSize = 6000000000 WHERE reference = 'test:a'"_s);
    database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = 1700000000"_s);

    const auto found = snapshot();
    ASSERT_EQ(found.resources.size(), 2);
    const auto &a = found.resources[0];
    EXPECT_EQ(a.reference, u"test:a"_s);
    EXPECT_EQ(a.path, u"/cache/a"_s);
    EXPECT_TRUE(a.hasPath);
    EXPECT_EQ(a.size, 6'000'000'000);
    EXPECT_EQ(a.status, ResourceStatus::Ready);
    EXPECT_EQ(a.policy, ResourceCleanupPolicy::OnDemand);
    EXPECT_EQ(a.lastAccess, 5'000'000'000);
    EXPECT_EQ(a.lastWriterClientId, ownClientId());
    EXPECT_EQ(a.version, QVersionNumber(1, 2));
    const auto &b = found.resources[1];
    EXPECT_EQ(b.path, QString());
    EXPECT_FALSE(b.hasPath);
    EXPECT_EQ(b.size, 0);
    EXPECT_EQ(b.status, ResourceStatus::ScheduledForAcquire);
    EXPECT_TRUE(b.version.isNull());

    ASSERT_EQ(found.usages.size(), 3);
    EXPECT_EQ(found.usages[0].reference, u"test:a"_s);
    EXPECT_EQ(found.usages[0].processId, QCoreApplication::applicationPid());
    EXPECT_EQ(found.usages[1].clientId, other);
    EXPECT_EQ(found.usages[1].processId, 1'000'001);
    EXPECT_EQ(found.usages[2].reference, u"test:b"_s);
    EXPECT_EQ(found.usages[2].clientId, 4711);
    EXPECT_EQ(found.usages[2].processId, std::nullopt);

    ASSERT_EQ(found.acquiringTasks.size(), 2);
    EXPECT_EQ(found.acquiringTasks[0].reference, u"test:b"_s);
    EXPECT_EQ(found.acquiringTasks[0].clientId, other);
    EXPECT_EQ(found.acquiringTasks[0].processId, 1'000'001);
    EXPECT_EQ(found.acquiringTasks[0].progress, 42);
    EXPECT_EQ(found.acquiringTasks[1].processId, std::nullopt);
    EXPECT_EQ(found.acquiringTasks[1].progress, std::nullopt);

    ASSERT_EQ(found.clients.size(), 2);
    EXPECT_EQ(found.clients[0].processId, QCoreApplication::applicationPid());
    EXPECT_EQ(found.clients[1].id, other);
    EXPECT_LE(found.clients[1].lastPing, QDateTime::currentMSecsSinceEpoch() - 20'000);
    EXPECT_EQ(found.currentSize, 6'000'000'000);
    EXPECT_EQ(found.lastScanTimestamp, 1'700'000'000);
}

TEST_F(ResourceCacheReaderTest, read_oddTexts_areGivenAsTheyAre)
{
    openDao();
    const QString odd = u"test:'\"%1 ;\u00e4\U0001F41F"_s;
    insert(odd);
    database().run(u"UPDATE CachedResources SET status = 'Lost', cleanupPolicy = 'Sometimes'"_s);
    const auto found = snapshot();
    ASSERT_EQ(found.resources.size(), 1);
    EXPECT_EQ(found.resources[0].reference, odd);
    EXPECT_EQ(found.resources[0].status, ResourceStatus::Invalid);
    EXPECT_EQ(found.resources[0].policy, ResourceCleanupPolicy::Invalid);
}

TEST_F(ResourceCacheReaderTest, read_rowsOfNoResource_haveNoReference)
{
    openDao();
    database().run(u"INSERT INTO ResourceUsages (resourceId, clientId) VALUES (99, 1)"_s);
    database().run(u"INSERT INTO AcquiringTasks (resourceId, clientId) VALUES (99, 1)"_s);
    const auto found = snapshot();
    EXPECT_EQ(found.usages.first().reference, QString());
    EXPECT_EQ(found.acquiringTasks.first().reference, QString());
}

TEST_F(ResourceCacheReaderTest, read_closedCache_leavesItsBytesAndRowsAsTheyWere)
{
    openDao();
    insert(u"test:a"_s);
    dao.close();
    const QByteArray before = readFile(path());
    EXPECT_EQ(snapshot().resources.size(), 1);
    EXPECT_EQ(snapshot().clients.size(), 0);
    EXPECT_EQ(readFile(path()), before);
    EXPECT_TRUE(succeeded(dao.open(path())));
}

// ---- While others work

TEST_F(ResourceCacheReaderTest, read_writerInTheMiddle_givesTheLastCommittedStateAtOnce)
{
    openDao();
    insert(u"test:a"_s);
    const Context context = transaction();
    insert(u"test:b"_s);
    EXPECT_EQ(snapshot().resources.size(), 1);
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(snapshot().resources.size(), 2);
}

TEST_F(ResourceCacheReaderTest, read_lockHeldElsewhere_doesNotWaitForIt)
{
    openDao();
    insert(u"test:a"_s);
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1);
    ASSERT_TRUE(semaphore.acquire());
    EXPECT_EQ(snapshot().resources.size(), 1);
    EXPECT_TRUE(semaphore.release());
}

TEST_F(ResourceCacheReaderTest, read_whileTheCacheIsOpenHere_leavesTheCacheWorking)
{
    openDao();
    for (int i = 0; i < 20; ++i) {
        insert(u"test:%1"_s.arg(i));
        EXPECT_EQ(snapshot().resources.size(), i + 1);
    }
    // A lock that a read had dropped would let another take the file for its own.
    const Context context = transaction();
    database().run(u"PRAGMA busy_timeout=0"_s);
    QSqlDatabase second = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"second"_s);
    second.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=0"_s);
    second.setDatabaseName(path());
    ASSERT_TRUE(second.open());
    EXPECT_EQ(snapshot().resources.size(), 20);
    EXPECT_FALSE(QSqlQuery(second).exec(u"BEGIN IMMEDIATE"_s));
    second = QSqlDatabase();
    QSqlDatabase::removeDatabase(u"second"_s);
}

TEST_F(ResourceCacheReaderTest, read_fileWithoutWriteAheadLog_works)
{
    load(u"before-versions.sql"_s);
    EXPECT_EQ(snapshot().resources.size(), 2);
    EXPECT_EQ(filesBesideTheData(), QStringList({ u"ResourceCache.db"_s }));
}

// ---- Shapes

TEST_F(ResourceCacheReaderTest, read_fileBeforeVersions_leavesOutWhatIsNotThere)
{
    load(u"before-versions.sql"_s);
    const auto found = snapshot();
    ASSERT_EQ(found.resources.size(), 2);
    EXPECT_EQ(found.resources[0].reference, u"test:old/a"_s);
    EXPECT_EQ(found.resources[0].status, ResourceStatus::Ready);
    EXPECT_TRUE(found.resources[0].version.isNull());
    EXPECT_EQ(found.currentSize, 60);
    EXPECT_EQ(found.lastScanTimestamp, 0);
    EXPECT_EQ(database().column(u"SELECT name FROM pragma_table_info('CacheMetadata')"_s),
              QStringList({ u"currentSize"_s }));
}

TEST_F(ResourceCacheReaderTest, read_fileBeforeScans_hasItsVersions)
{
    load(u"before-scans.sql"_s);
    const auto found = snapshot();
    EXPECT_EQ(found.resources.first().version, QVersionNumber(2, 1));
    EXPECT_EQ(found.currentSize, 70);
    EXPECT_EQ(found.lastScanTimestamp, 0);
}

TEST_F(ResourceCacheReaderTest, read_fileWithoutTables_isAnEmptyCache)
{
    writeFile(path(), QByteArray());
    EXPECT_EQ(snapshot().resources.size(), 0);
    database().run(u"PRAGMA journal_mode=WAL"_s);
    EXPECT_EQ(snapshot().resources.size(), 0);
}

// ---- Details

TEST_F(ResourceCacheReaderTest, read_oneDetail_theOthersReadAsAbsent)
{
    openDao();
    insert(u"test:a"_s, ResourceStatus::Ready, 5'000'000'000);
    database().run(u"UPDATE CachedResources SET cachedPath = '/cache/a', version = '1.2', "
                   "fileSize = 60, lastStatusUpdateClientId = 7"_s);
    using Reader = ResourceCacheReader;
    for (const auto detail :
         { Reader::NoDetail, Reader::Path, Reader::Policy, Reader::LastWriter, Reader::Version }) {
        const auto result = Reader(path()).read(detail);
        ASSERT_TRUE(succeeded(result));
        ASSERT_EQ(result.value().resources.size(), 1);
        const auto &found = result.value().resources.first();
        EXPECT_EQ(found.reference, u"test:a"_s);
        EXPECT_EQ(found.size, 60);
        EXPECT_EQ(found.status, ResourceStatus::Ready);
        EXPECT_EQ(found.lastAccess, 5'000'000'000);
        EXPECT_TRUE(found.hasPath);
        EXPECT_EQ(found.path, detail == Reader::Path ? u"/cache/a"_s : QString());
        EXPECT_EQ(found.policy,
                  detail == Reader::Policy ? ResourceCleanupPolicy::OnDemand
                                           : ResourceCleanupPolicy::Invalid);
        EXPECT_EQ(found.lastWriterClientId, detail == Reader::LastWriter ? 7 : -1);
        EXPECT_EQ(found.version,
                  detail == Reader::Version ? QVersionNumber(1, 2) : QVersionNumber());
    }
}

TEST_F(ResourceCacheReaderTest, read_versionsInTurn_eachIsItsOwn)
{
    openDao();
    const QStringList texts { u"1.2"_s, u"1.2"_s, QString(), u"2"_s, u"1.2"_s };
    for (qsizetype i = 0; i < texts.size(); ++i) {
        insert(u"test:%1"_s.arg(i), ResourceStatus::Ready);
        database().run(u"UPDATE CachedResources SET version = NULLIF('%1', '') "
                       "WHERE reference = 'test:%2'"_s.arg(texts.at(i), QString::number(i)));
    }
    const auto found = snapshot();
    ASSERT_EQ(found.resources.size(), texts.size());
    for (qsizetype i = 0; i < texts.size(); ++i)
        EXPECT_EQ(found.resources.at(i).version, QVersionNumber::fromString(texts.at(i)));
}
