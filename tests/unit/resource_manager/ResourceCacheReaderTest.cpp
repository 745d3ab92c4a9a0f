#include "ResourceCacheReader.h"

#include "AsAnybody.h"
#include "CacheDatabase.h"
#include "ResourceCacheDaoFixture.h"

#include <QSystemSemaphore>

using namespace zel;
using namespace zel::test;
using namespace std::chrono_literals;

namespace {

class ResourceCacheReaderTest : public ResourceCacheDaoFixture
{
protected:
    Result<ResourceCacheReader::Snapshot> read() { return ResourceCacheReader(path()).read(); }

    ResourceCacheReader::Snapshot snapshot()
    {
        auto result = read();
        EXPECT_TRUE(succeeded(result));
        return result.hasValue() ? std::move(result).value() : ResourceCacheReader::Snapshot();
    }

    ResourceCacheReader::Activity activity()
    {
        auto result = ResourceCacheReader(path()).readActivity();
        EXPECT_TRUE(succeeded(result));
        return result.hasValue() ? std::move(result).value() : ResourceCacheReader::Activity();
    }

    void openDao() { ASSERT_TRUE(succeeded(dao.open(path()))); }

    /// A closed cache with one resource of 60 bytes, in a folder that may not be written.
    void makeReadOnlyCache()
    {
        openDao();
        insert(u"test:a"_s, ResourceStatus::Ready);
        ASSERT_TRUE(succeeded(dao.updateResourceSize(1, 60)));
        dao.close();
        QFile::setPermissions(QFileInfo(cache.baseDir()).path(), QFile::Permissions(0x7755));
        QFile::setPermissions(path(), QFile::Permissions(0x6644));
        QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x5555));
    }

    ~ResourceCacheReaderTest() override
    {
        QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x7755));
    }

    QStringList filesBesideTheData() const { return QDir(cache.baseDir()).entryList(QDir::Files); }
};

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

// ---- No cache

TEST_F(ResourceCacheReaderTest, read_noFile_failsAndMakesNone)
{
    EXPECT_TRUE(failedWith(read().error(), ErrorCode::BadArgument,
                           u"There is no cache database \"%1\"."_s.arg(path())));
    EXPECT_FALSE(QFileInfo::exists(path()));
    EXPECT_EQ(ResourceCacheReader(cache.baseDir()).read().error().errorCode(),
              ErrorCode::BadArgument);
    EXPECT_EQ(ResourceCacheReader(QString()).read().error().errorCode(), ErrorCode::BadArgument);
}

TEST_F(ResourceCacheReaderTest, read_garbage_isToldFromACache)
{
    writeFile(path(), QByteArray(5000, 'x'));
    EXPECT_TRUE(failedWith(read().error(), ErrorCode::BadData,
                           u"\"%1\" is not a cache database."_s.arg(path())));
}

TEST_F(ResourceCacheReaderTest, read_databaseOfSomethingElse_isToldFromACache)
{
    database().run(u"CREATE TABLE Unrelated (id INTEGER)"_s);
    EXPECT_EQ(read().error().errorCode(), ErrorCode::BadData);
}

TEST_F(ResourceCacheReaderTest, read_damagedInTheMiddle_failsInsteadOfGivingLess)
{
    openDao();
    CacheDatabase(path()).run(
        u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
        "INSERT INTO CachedResources (reference, status, cleanupPolicy, lastAccessDateTime, "
        "lastStatusUpdateClientId) SELECT 'test:' || i, 'Ready', 'Never', i, 1 FROM n"_s);
    dao.close();
    QByteArray bytes = readFile(path());
    ASSERT_GT(bytes.size(), 100'000);
    const QString damaged = cache.outside(u"damaged.db"_s);
    for (qsizetype i = 30'000; i < bytes.size(); ++i)
        bytes[i] = 'x';
    writeFile(damaged, bytes);
    EXPECT_EQ(ResourceCacheReader(damaged).read().error().errorCode(), ErrorCode::OperationFailed);
}

// ---- Where nothing may be written

TEST_F(ResourceCacheReaderTest, read_damagedNameOfATable_isToldWithoutControlCharacters)
{
    const QString damaged = cache.outside(u"damaged.db"_s);
    {
        CacheDatabase file(damaged);
        file.run(u"CREATE TABLE CachedResources (id INTEGER)"_s);
        file.run(u"PRAGMA writable_schema = 1"_s);
        file.run(u"UPDATE sqlite_master SET name = ?, sql = 'CREATE'"_s,
                 { u"Cached\u001b[31mResources"_s });
    }
    const Error error = ResourceCacheReader(damaged).read().error();
    EXPECT_TRUE(error.errorMessage().contains(u"Cached\\u{1b}[31mResources"_s))
        << qPrintable(error.errorMessage());
}

TEST_F(ResourceCacheReaderTest, read_folderNotWritable_readsTheFileAlone)
{
    makeReadOnlyCache();
    const QStringList before = filesBesideTheData();
    const AsAnybody anybody;
    if (!anybody.canReach(cache.baseDir()))
        GTEST_SKIP() << "anybody may not come this far";
    const auto found = snapshot();
    ASSERT_EQ(found.resources.size(), 1);
    EXPECT_EQ(found.currentSize, 60);
    EXPECT_EQ(filesBesideTheData(), before);
}

TEST_F(ResourceCacheReaderTest, read_folderNotWritableWithOddName_readsTheFileAlone)
{
    makeReadOnlyCache();
    const QString odd = cache.outside(u"a b?c#d%20\u00e4"_s);
    ASSERT_TRUE(QDir().mkdir(odd));
    const QString copy = odd + u"/ResourceCache.db"_s;
    writeFile(copy, readFile(path()));
    QFile::setPermissions(copy, QFile::Permissions(0x6644));
    QFile::setPermissions(odd, QFile::Permissions(0x5555));
    {
        const AsAnybody anybody;
        if (!anybody.canReach(cache.baseDir()))
            GTEST_SKIP() << "anybody may not come this far";
        const auto found = ResourceCacheReader(copy).read();
        ASSERT_TRUE(succeeded(found));
        EXPECT_EQ(found.value().resources.size(), 1);
    }
    QFile::setPermissions(odd, QFile::Permissions(0x7755));
}

TEST_F(ResourceCacheReaderTest, read_fileNotReadable_tellsWhy)
{
    makeReadOnlyCache();
    QFile::setPermissions(path(), QFile::Permissions());
    const AsAnybody anybody;
    if (!anybody.canReach(cache.baseDir()))
        GTEST_SKIP() << "anybody may not come this far";
    const auto found = read();
    ASSERT_FALSE(found.hasValue());
    EXPECT_TRUE(failedInDriver(found.error(), u"unable to open database file"_s));
    EXPECT_TRUE(found.error().errorMessage().contains(path()));
}

TEST_F(ResourceCacheReaderTest, read_folderNotWritableButCacheOpen_seesWhatIsInTheLog)
{
    makeReadOnlyCache();
    QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x7755));
    openDao();
    insert(u"test:b"_s);
    QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x5555));
    {
        const AsAnybody anybody;
        if (!anybody.canReach(cache.baseDir()))
            GTEST_SKIP() << "anybody may not come this far";
        EXPECT_EQ(snapshot().resources.size(), 2);
    }
    QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x7755));
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

// ---- What comes and goes

TEST_F(ResourceCacheReaderTest, readActivity_openCache_givesWhatComesAndGoes)
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

TEST_F(ResourceCacheReaderTest, readActivity_lockHeldAndWriterInTheMiddle_waitsForNeither)
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

TEST_F(ResourceCacheReaderTest, readActivity_olderOrUnfinishedFile_works)
{
    load(u"before-versions.sql"_s);
    EXPECT_EQ(activity().currentSize, 60);
    const QString unfinished = cache.outside(u"unfinished.db"_s);
    writeFile(unfinished, QByteArray());
    const auto found = ResourceCacheReader(unfinished).readActivity();
    ASSERT_TRUE(succeeded(found));
    EXPECT_TRUE(found.value().resourceCounts.isEmpty());
}

TEST_F(ResourceCacheReaderTest, readActivity_noCache_failsLikeRead)
{
    EXPECT_TRUE(failedWith(ResourceCacheReader(path()).readActivity().error(),
                           ErrorCode::BadArgument,
                           u"There is no cache database \"%1\"."_s.arg(path())));
    writeFile(path(), QByteArray(5000, 'x'));
    EXPECT_EQ(ResourceCacheReader(path()).readActivity().error().errorCode(), ErrorCode::BadData);
}

// ---- Some resources

TEST_F(ResourceCacheReaderTest, readRowsOf_someReferences_givesTheirRowsInThatOrder)
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

TEST_F(ResourceCacheReaderTest, readRowsOf_oddTexts_areTakenAsTheyStandThere)
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

TEST_F(ResourceCacheReaderTest, readRowsOf_noCache_failsLikeRead)
{
    EXPECT_TRUE(failedWith(ResourceCacheReader(path()).readRowsOf({ u"test:a"_s }).error(),
                           ErrorCode::BadArgument,
                           u"There is no cache database \"%1\"."_s.arg(path())));
}

// ---- Many

TEST_F(ResourceCacheReaderTest, readCondition_goodOrder_isOneRowAndNoDamage)
{
    openDao();
    const auto condition = ResourceCacheReader(path()).readCondition();
    ASSERT_TRUE(succeeded(condition));
    EXPECT_EQ(condition.value().metadataRows, 1);
    EXPECT_EQ(condition.value().journalMode, u"wal"_s);
    EXPECT_TRUE(condition.value().damages.isEmpty());
}

TEST_F(ResourceCacheReaderTest, readCondition_damages_areTold)
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
