#include "ResourceCacheDaoFixture.h"

using namespace zel;
using namespace zel::test;

namespace {

class ResourceCacheDaoResourcesTest : public OpenResourceCacheDaoFixture
{
protected:
    QVariant stored(const QString &column, const QString &reference)
    {
        return database().value(u"SELECT %1 FROM CachedResources WHERE reference = ?"_s.arg(column),
                                { reference });
    }

    /// Ready resources of these sizes, the first one changed longest ago.
    void insertBySize(const QList<qint64> &sizes)
    {
        for (qsizetype i = 0; i < sizes.size(); ++i) {
            const QString reference = u"test:%1"_s.arg(i);
            insert(reference, ResourceStatus::Ready, i);
            setSize(reference, sizes[i]);
            database().run(u"UPDATE CachedResources SET cachedPath = ? WHERE reference = ?"_s,
                           { u"/cache/%1"_s.arg(i), reference });
        }
    }

    QStringList oldest(qint64 size)
    {
        const Context context = transaction();
        const auto found = dao.selectOldestReferencesWithCombinedSize(context.get(), size);
        EXPECT_TRUE(succeeded(found));
        QStringList references;
        for (const auto &entry : found.value())
            references.append(entry.reference);
        return references;
    }

    void setPath(const QString &reference, const QVariant &localPath, const QVariant &size)
    {
        const Context context = transaction();
        EXPECT_TRUE(
            succeeded(dao.updateResourceLocalPath(context.get(), reference, localPath, size)));
        EXPECT_TRUE(succeeded(context->commit()));
    }

    void setVersion(const QString &reference, const QVersionNumber &version)
    {
        const Context context = transaction();
        EXPECT_TRUE(succeeded(dao.updateResourceVersion(context.get(), reference, version)));
        EXPECT_TRUE(succeeded(context->commit()));
    }
};

} // namespace

// ---- One resource

TEST_F(ResourceCacheDaoResourcesTest, insertResource_new_storesWhatIsGiven)
{
    EXPECT_TRUE(succeeded(dao.insertResource(u"test:a"_s, ResourceStatus::ScheduledForAcquire,
                                             ResourceCleanupPolicy::OnClose, 5'000'000'000)));
    EXPECT_EQ(stored(u"status"_s, u"test:a"_s), u"ScheduledForAcquire"_s);
    EXPECT_EQ(stored(u"cleanupPolicy"_s, u"test:a"_s), u"OnClose"_s);
    EXPECT_EQ(stored(u"lastAccessDateTime"_s, u"test:a"_s).toLongLong(), 5'000'000'000);
    EXPECT_EQ(stored(u"lastStatusUpdateClientId"_s, u"test:a"_s).toLongLong(), ownClientId());
    EXPECT_TRUE(stored(u"cachedPath"_s, u"test:a"_s).isNull());
    EXPECT_TRUE(stored(u"fileSize"_s, u"test:a"_s).isNull());
    EXPECT_TRUE(stored(u"version"_s, u"test:a"_s).isNull());
}

TEST_F(ResourceCacheDaoResourcesTest, insertResource_nullReference_isStoredAsAnEmptyText)
{
    insert(QString());
    EXPECT_TRUE(dao.containsResourceInDb(u""_s).value());
    EXPECT_TRUE(dao.containsResourceInDb(QString()).value());
    EXPECT_EQ(dao.selectStatus(QString()).value(), ResourceStatus::Missing);
}

TEST_F(ResourceCacheDaoResourcesTest, insertResource_oddReference_isFoundAgain)
{
    const QString odd = u"test:%1 '\"; DROP TABLE Clients --\u00e4\U0001F41F"_s;
    insert(odd);
    EXPECT_TRUE(dao.containsResourceInDb(odd).value());
    EXPECT_EQ(database().column(u"SELECT reference FROM CachedResources"_s), QStringList({ odd }));
}

TEST_F(ResourceCacheDaoResourcesTest, containsResourceInDb_unknown_isFalse)
{
    insert(u"test:a"_s);
    EXPECT_TRUE(dao.containsResourceInDb(u"test:a"_s).value());
    EXPECT_FALSE(dao.containsResourceInDb(u"test:A"_s).value());
    EXPECT_FALSE(dao.containsResourceInDb(u"test:b"_s).value());
}

TEST_F(ResourceCacheDaoResourcesTest, selectStatus_everyValidStatus_isRead)
{
    for (const ResourceStatus status :
         { ResourceStatus::Missing, ResourceStatus::Ready, ResourceStatus::ScheduledForAcquire,
           ResourceStatus::Acquiring }) {
        insert(toText(status), status);
        EXPECT_EQ(dao.selectStatus(toText(status)).value(), status);
    }
}

TEST_F(ResourceCacheDaoResourcesTest, selectStatus_unknownReference_failsAndLogs)
{
    const LogCapture log;
    EXPECT_TRUE(failedWith(dao.selectStatus(u"test:a"_s).error(), ErrorCode::OperationFailed,
                           u"Resource status data is missing."_s));
    EXPECT_EQ(log.texts(QtCriticalMsg), QStringList({ u"Unable to find status for \"test:a\""_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectStatus_invalidOrUnknownText_fails)
{
    insert(u"test:a"_s, ResourceStatus::Invalid);
    insert(u"test:b"_s);
    database().run(u"UPDATE CachedResources SET status = 'Lost' WHERE reference = 'test:b'"_s);
    for (const QString &reference : { u"test:a"_s, u"test:b"_s }) {
        EXPECT_TRUE(failedWith(dao.selectStatus(reference).error(), ErrorCode::OperationFailed,
                               u"Unknown resource status."_s));
    }
}

TEST_F(ResourceCacheDaoResourcesTest, selectCleanupPolicy_everyCase_isTold)
{
    insert(u"test:a"_s);
    EXPECT_EQ(dao.selectCleanupPolicy(u"test:a"_s).value(), ResourceCleanupPolicy::OnDemand);

    database().run(u"UPDATE CachedResources SET cleanupPolicy = 'Sometimes'"_s);
    EXPECT_TRUE(failedWith(dao.selectCleanupPolicy(u"test:a"_s).error(), ErrorCode::OperationFailed,
                           u"Unknown resource cleanup policy."_s));

    const LogCapture log;
    EXPECT_TRUE(failedWith(dao.selectCleanupPolicy(u"test:b"_s).error(), ErrorCode::OperationFailed,
                           u"Resource cleanup policy data is missing."_s));
    EXPECT_EQ(log.texts(QtCriticalMsg),
              QStringList({ u"Unable to find cleanup policy for \"test:b\""_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectLocalPath_unknownReference_failsAndLogs)
{
    const LogCapture log;
    EXPECT_TRUE(failedWith(dao.selectLocalPath(u"test:a"_s).error(), ErrorCode::OperationFailed,
                           u"Resource is not cached."_s));
    EXPECT_EQ(log.texts(QtCriticalMsg), QStringList({ u"Unable to find \"test:a\" in cache"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectLocalPath_noPath_failsWithCodeTwoAndLogs)
{
    insert(u"test:a"_s);
    const LogCapture log;
    EXPECT_TRUE(failedWith(dao.selectLocalPath(u"test:a"_s).error(), ErrorCode::BadArgument,
                           u"Unable to get local path for missing resource"_s));
    EXPECT_EQ(log.texts(QtCriticalMsg), QStringList({ u"\"test:a\" is missing"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectLocalPath_emptyText_isReturned)
{
    insert(u"test:a"_s);
    setPath(u"test:a"_s, u""_s, 0);
    ASSERT_TRUE(succeeded(dao.selectLocalPath(u"test:a"_s)));
    EXPECT_EQ(dao.selectLocalPath(u"test:a"_s).value(), u""_s);
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceLocalPath_pathAndSize_areStoredAndCounted)
{
    insert(u"test:a"_s);
    setPath(u"test:a"_s, u"/cache/a"_s, qint64 { 6'000'000'000 });
    EXPECT_EQ(dao.selectLocalPath(u"test:a"_s).value(), u"/cache/a"_s);
    EXPECT_EQ(dao.selectCurrentSize().value(), 6'000'000'000);
    EXPECT_EQ(database().value(u"SELECT typeof(fileSize) FROM CachedResources"_s), u"integer"_s);
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceLocalPath_twoNullVariants_removeBoth)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    setPath(u"test:a"_s, u"/cache/a"_s, 100);
    setPath(u"test:b"_s, u"/cache/b"_s, 30);
    setPath(u"test:a"_s, QVariant(), QVariant());
    EXPECT_TRUE(stored(u"cachedPath"_s, u"test:a"_s).isNull());
    EXPECT_TRUE(stored(u"fileSize"_s, u"test:a"_s).isNull());
    EXPECT_EQ(dao.selectCurrentSize().value(), 30);
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceLocalPath_nullText_isAnEmptyPath)
{
    insert(u"test:a"_s);
    setPath(u"test:a"_s, QVariant(QString()), 1);
    EXPECT_FALSE(stored(u"cachedPath"_s, u"test:a"_s).isNull());
    EXPECT_EQ(dao.selectLocalPath(u"test:a"_s).value(), QString());
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceStatus_known_writesAccessAndWriterToo)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    database().run(u"UPDATE CachedResources SET lastStatusUpdateClientId = 7"_s);
    const Context context = transaction();
    EXPECT_TRUE(succeeded(dao.updateResourceStatus(context.get(), u"test:a"_s,
                                                   ResourceStatus::Acquiring, 5'000'000'000)));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().status(u"test:a"_s), u"Acquiring"_s);
    EXPECT_EQ(stored(u"lastAccessDateTime"_s, u"test:a"_s).toLongLong(), 5'000'000'000);
    EXPECT_EQ(stored(u"lastStatusUpdateClientId"_s, u"test:a"_s).toLongLong(), ownClientId());
    EXPECT_EQ(database().status(u"test:b"_s), u"Missing"_s);
    EXPECT_EQ(stored(u"lastStatusUpdateClientId"_s, u"test:b"_s).toLongLong(), 7);
}

TEST_F(ResourceCacheDaoResourcesTest, updates_unknownReference_succeedAndChangeNothing)
{
    insert(u"test:a"_s);
    const Context context = transaction();
    EXPECT_TRUE(
        succeeded(dao.updateResourceStatus(context.get(), u"test:b"_s, ResourceStatus::Ready, 1)));
    EXPECT_TRUE(succeeded(dao.updateResourceVersion(context.get(), u"test:b"_s, { 1, 2 })));
    EXPECT_TRUE(succeeded(dao.updateResourceLocalPath(context.get(), u"test:b"_s, u"/b"_s, 1)));
    EXPECT_TRUE(succeeded(dao.updateResourceSize(context.get(), 4711, 1)));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_TRUE(succeeded(dao.updateResourceSize(4711, 1)));
    EXPECT_EQ(database().count(u"CachedResources"_s), 1);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(dao.selectCurrentSize().value(), 0);
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceVersion_null_writesNullAndReadsBackNull)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    setVersion(u"test:a"_s, { 1, 2, 3 });
    EXPECT_EQ(stored(u"version"_s, u"test:a"_s), u"1.2.3"_s);
    EXPECT_EQ(dao.selectResources(ResourceStatus::Ready).value().first().version,
              QVersionNumber(1, 2, 3));

    setVersion(u"test:a"_s, QVersionNumber());
    EXPECT_TRUE(stored(u"version"_s, u"test:a"_s).isNull());
    EXPECT_TRUE(dao.selectResources(ResourceStatus::Ready).value().first().version.isNull());
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceSize_bothForms_keepTheCurrentSize)
{
    insert(u"test:a"_s);
    EXPECT_TRUE(succeeded(dao.updateResourceSize(resourceId(u"test:a"_s), 5'000'000'000)));
    EXPECT_EQ(dao.selectCurrentSize().value(), 5'000'000'000);
    {
        const Context context = transaction();
        EXPECT_TRUE(succeeded(dao.updateResourceSize(context.get(), resourceId(u"test:a"_s), 40)));
    }
    EXPECT_EQ(dao.selectCurrentSize().value(), 5'000'000'000);
    const Context context = transaction();
    EXPECT_TRUE(succeeded(dao.updateResourceSize(context.get(), resourceId(u"test:a"_s), 40)));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().value(u"SELECT currentSize FROM CacheMetadata"_s), 40);
}

TEST_F(ResourceCacheDaoResourcesTest, updateResourceCleanupPolicy_known_isSeenByOthers)
{
    insert(u"test:a"_s);
    EXPECT_TRUE(
        succeeded(dao.updateResourceCleanupPolicy(u"test:a"_s, ResourceCleanupPolicy::Never)));
    EXPECT_EQ(stored(u"cleanupPolicy"_s, u"test:a"_s), u"Never"_s);
}

// ---- Lists

TEST_F(ResourceCacheDaoResourcesTest, selectOldest_sumReachedExactly_takesOneMore)
{
    insertBySize({ 60, 40, 30 });
    EXPECT_EQ(oldest(100), QStringList({ u"test:0"_s, u"test:1"_s, u"test:2"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectOldest_sumExceeded_includesTheOneThatExceeds)
{
    insertBySize({ 60, 50, 30 });
    EXPECT_EQ(oldest(100), QStringList({ u"test:0"_s, u"test:1"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectOldest_zeroOrLess_takesOne)
{
    insertBySize({ 60, 50, 30 });
    EXPECT_EQ(oldest(0), QStringList({ u"test:0"_s }));
    EXPECT_EQ(oldest(-5), QStringList({ u"test:0"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectOldest_tooLittle_givesAll)
{
    EXPECT_EQ(oldest(100), QStringList());
    insertBySize({ 60, 30 });
    EXPECT_EQ(oldest(1'000), QStringList({ u"test:0"_s, u"test:1"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectOldest_order_isByAccessAndCarriesThePath)
{
    insertBySize({ 10, 10 });
    database().run(
        u"UPDATE CachedResources SET lastAccessDateTime = 9 WHERE reference = 'test:0'"_s);
    const Context context = transaction();
    const auto found = dao.selectOldestReferencesWithCombinedSize(context.get(), 0);
    ASSERT_EQ(found.value().size(), 1);
    EXPECT_EQ(found.value().first().reference, u"test:1"_s);
    EXPECT_EQ(found.value().first().cachedPath, u"/cache/1"_s);
}

TEST_F(ResourceCacheDaoResourcesTest, selectOldest_usedOrWithoutSize_isNeverTaken)
{
    insertBySize({ 10, 0, 10, 10 });
    setSize(u"test:2"_s, QVariant());
    addUsage(u"test:0"_s, 4711);
    EXPECT_EQ(oldest(1'000), QStringList({ u"test:3"_s }));
}

TEST_F(ResourceCacheDaoResourcesTest, selectResources_byStatus_givesReferencesAndVersions)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    insert(u"test:b"_s);
    insert(u"test:c"_s, ResourceStatus::Ready);
    setVersion(u"test:c"_s, { 3 });
    database().run(u"UPDATE CachedResources SET version = '' WHERE reference = 'test:a'"_s);
    const auto found = dao.selectResources(ResourceStatus::Ready);
    ASSERT_TRUE(succeeded(found));
    ASSERT_EQ(found.value().size(), 2);
    EXPECT_EQ(found.value()[0].reference, u"test:a"_s);
    EXPECT_TRUE(found.value()[0].version.isNull());
    EXPECT_EQ(found.value()[1].version, QVersionNumber(3));
}

TEST_F(ResourceCacheDaoResourcesTest, selectResourcesWithStatus_records_haveTheStatusAskedFor)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    insert(u"test:b"_s);
    setPath(u"test:a"_s, u"/cache/a"_s, qint64 { 6'000'000'000 });
    const auto found = dao.selectResourcesWithStatus(ResourceStatus::Ready);
    ASSERT_TRUE(succeeded(found));
    ASSERT_EQ(found.value().size(), 1);
    const auto &resource = found.value().first();
    EXPECT_EQ(resource.id, resourceId(u"test:a"_s));
    EXPECT_EQ(resource.reference, u"test:a"_s);
    EXPECT_EQ(resource.cachedPath, u"/cache/a"_s);
    EXPECT_EQ(resource.fileSize, 6'000'000'000);
    EXPECT_EQ(resource.status, ResourceStatus::Ready);
}

TEST_F(ResourceCacheDaoResourcesTest, selectAllResources_unknownStatusText_isInvalid)
{
    insert(u"test:a"_s, ResourceStatus::Acquiring);
    insert(u"test:b"_s);
    database().run(u"UPDATE CachedResources SET status = 'Lost' WHERE reference = 'test:b'"_s);
    const auto found = dao.selectAllResources();
    ASSERT_TRUE(succeeded(found));
    ASSERT_EQ(found.value().size(), 2);
    EXPECT_EQ(found.value()[0].status, ResourceStatus::Acquiring);
    EXPECT_EQ(found.value()[0].cachedPath, QString());
    EXPECT_EQ(found.value()[0].fileSize, 0);
    EXPECT_EQ(found.value()[1].status, ResourceStatus::Invalid);
    EXPECT_EQ(found.value()[1].reference, u"test:b"_s);
}

TEST_F(ResourceCacheDaoResourcesTest, selectResourceWithStatus_found_hasAnInvalidStatus)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    setPath(u"test:a"_s, u"/cache/a"_s, 50);
    const auto found = dao.selectResourceWithStatus(u"test:a"_s, ResourceStatus::Ready);
    ASSERT_TRUE(succeeded(found));
    EXPECT_EQ(found.value().id, resourceId(u"test:a"_s));
    EXPECT_EQ(found.value().reference, u"test:a"_s);
    EXPECT_EQ(found.value().cachedPath, u"/cache/a"_s);
    EXPECT_EQ(found.value().fileSize, 50);
    EXPECT_EQ(found.value().status, ResourceStatus::Invalid);
}

TEST_F(ResourceCacheDaoResourcesTest, selectResourceWithStatus_otherStatus_tellsBoth)
{
    insert(u"test:%2"_s, ResourceStatus::Ready);
    EXPECT_TRUE(
        failedWith(dao.selectResourceWithStatus(u"test:%2"_s, ResourceStatus::Acquiring).error(),
                   ErrorCode::OperationFailed,
                   u"Could not find resource \"test:%2\" with status \"Acquiring\""_s));
}

// ---- The cache as a whole

TEST_F(ResourceCacheDaoResourcesTest, lastScanTimestamp_newFile_isZero)
{
    ASSERT_TRUE(succeeded(dao.lastScanTimestamp()));
    EXPECT_EQ(dao.lastScanTimestamp().value(), 0);
}

TEST_F(ResourceCacheDaoResourcesTest, updateLastScanTimestamp_committed_isReadBack)
{
    const Context context = transaction();
    EXPECT_TRUE(succeeded(dao.updateLastScanTimestamp(context.get(), 1'700'000'000)));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(dao.lastScanTimestamp().value(), 1'700'000'000);
    EXPECT_EQ(dao.selectCurrentSize().value(), 0);
}

TEST_F(ResourceCacheDaoResourcesTest, metadata_rowAbsent_failsAndLogs)
{
    database().run(u"DELETE FROM CacheMetadata"_s);
    const LogCapture log;
    EXPECT_TRUE(failedWith(dao.selectCurrentSize().error(), ErrorCode::OperationFailed,
                           u"Cache metadata is missing."_s));
    EXPECT_TRUE(failedWith(dao.lastScanTimestamp().error(), ErrorCode::OperationFailed,
                           u"Cache metadata is missing."_s));
    EXPECT_EQ(log.texts(QtCriticalMsg),
              QStringList({ u"Unable to read \"currentSize\""_s,
                            u"Unable to read \"lastScanTimestamp\""_s }));
}

// ---- A file that cannot be read to its end

TEST_F(ResourceCacheDaoResourcesTest, lists_damagedInTheMiddle_failInsteadOfGivingLess)
{
    CacheDatabase(path()).run(
        u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
        "INSERT INTO CachedResources (reference, fileSize, status, cleanupPolicy, "
        "lastAccessDateTime, lastStatusUpdateClientId) "
        "SELECT 'test:' || i, 1, 'Ready', 'Never', i, 1 FROM n"_s);
    dao.close();
    QByteArray bytes = readFile(path());
    ASSERT_GT(bytes.size(), 100'000);
    for (qsizetype i = bytes.size() * 3 / 4; i < bytes.size(); ++i)
        bytes[i] = 'x';
    const QString damaged = cache.outside(u"damaged.db"_s);
    writeFile(damaged, bytes);

    DaoUnderTest reader;
    ASSERT_TRUE(succeeded(reader.open(damaged)));
    EXPECT_FALSE(succeeded(reader.selectAllResources()));
    EXPECT_FALSE(succeeded(reader.selectResources(ResourceStatus::Ready)));
    EXPECT_FALSE(succeeded(reader.selectResourcesWithStatus(ResourceStatus::Ready)));
}
