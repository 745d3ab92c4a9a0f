#include "AsAnybody.h"
#include "ResourceCacheReaderFixture.h"

using namespace zel;
using namespace zel::test;

namespace {

/// Files that are no cache, or that cannot be opened or written.
class ResourceCacheReaderAccessTest : public ResourceCacheReaderFixture
{
protected:
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

    ~ResourceCacheReaderAccessTest() override
    {
        QFile::setPermissions(cache.baseDir(), QFile::Permissions(0x7755));
    }
};

} // namespace

// ---- No cache

TEST_F(ResourceCacheReaderAccessTest, read_noFile_failsAndMakesNone)
{
    EXPECT_TRUE(failedWith(read().error(), ErrorCode::BadArgument,
                           u"There is no cache database \"%1\"."_s.arg(path())));
    EXPECT_FALSE(QFileInfo::exists(path()));
    EXPECT_EQ(ResourceCacheReader(cache.baseDir()).read().error().errorCode(),
              ErrorCode::BadArgument);
    EXPECT_EQ(ResourceCacheReader(QString()).read().error().errorCode(), ErrorCode::BadArgument);
}

TEST_F(ResourceCacheReaderAccessTest, read_garbage_isToldFromACache)
{
    writeFile(path(), QByteArray(5000, 'x'));
    EXPECT_TRUE(failedWith(read().error(), ErrorCode::BadData,
                           u"\"%1\" is not a cache database."_s.arg(path())));
}

TEST_F(ResourceCacheReaderAccessTest, read_databaseOfSomethingElse_isToldFromACache)
{
    database().run(u"CREATE TABLE Unrelated (id INTEGER)"_s);
    EXPECT_EQ(read().error().errorCode(), ErrorCode::BadData);
}

TEST_F(ResourceCacheReaderAccessTest, read_damagedInTheMiddle_failsInsteadOfGivingLess)
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

TEST_F(ResourceCacheReaderAccessTest, read_damagedNameOfATable_isToldWithoutControlCharacters)
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

// ---- Where nothing may be written

TEST_F(ResourceCacheReaderAccessTest, read_folderNotWritable_readsTheFileAlone)
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

TEST_F(ResourceCacheReaderAccessTest, read_folderNotWritableWithOddName_readsTheFileAlone)
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

TEST_F(ResourceCacheReaderAccessTest, read_fileNotReadable_tellsWhy)
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

TEST_F(ResourceCacheReaderAccessTest, read_folderNotWritableButCacheOpen_seesWhatIsInTheLog)
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
