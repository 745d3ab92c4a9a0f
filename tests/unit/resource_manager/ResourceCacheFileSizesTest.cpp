#include "support/FileSizesFixture.h"

#include <QRegularExpression>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor")
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")

/// Names the file beside the path that has this ending more.
template<char Letter>
class Beside final : public AssociatedResourcesProviderInterface
{
public:
    QList<QString> getAssociatedResources(const QString &path) const override
    {
        return { path + u'.' + QLatin1Char(Letter) };
    }
};

QT_WARNING_POP

class ResourceCacheFileSizesTest : public FileSizesFixture
{
protected:
    static const FileType &anyType()
    {
        static const FileType type("SIZES_TEST_ANY"_L1, { { u"txt"_s, u"dat"_s } });
        return type;
    }
    qint64 storedSize(const QString &reference) const
    {
        return rowValue(u"fileSize"_s, reference).toLongLong();
    }
    /// Notes every row in which a size is written from now on.
    void watchWrites() const
    {
        database().run(u"CREATE TABLE WrittenSizes (reference TEXT)"_s);
        database().run(u"CREATE TRIGGER watch AFTER UPDATE OF fileSize ON CachedResources BEGIN "
                       "INSERT INTO WrittenSizes VALUES (new.reference); END"_s);
    }
};

} // namespace

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_fileGrew_changesTheSumByTheDifference)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    addReady(u"b"_s, u"s/b/b.txt"_s, 5);
    writeFile(dataPath(u"s/a/a.txt"_s), QByteArray(10, 'x'));
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(storedSize(u"a"_s), 10);
    EXPECT_EQ(storedSize(u"b"_s), 5);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 15);
    EXPECT_GE(lastScan(), daysAgo(1));
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_anyResources_tellsHowLongOthersHaveWaited)
{
    openQuietly();
    addReady(u"test:a"_s, u"s/1/a.txt"_s, 10);
    addReady(u"test:b"_s, u"s/2/b.txt"_s, 10);
    const LogCapture log;
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    const QRegularExpression length(u"^Counted the sizes of 2 resources in [0-9]+ ms$"_s);
    EXPECT_EQ(log.texts(QtDebugMsg).filter(length).size(), 1);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_nothingChanged_writesNoRow)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    addReady(u"b"_s, u"s/b/b.txt"_s, 5);
    writeFile(dataPath(u"s/b/b.txt"_s), QByteArray(6, 'x'));
    watchWrites();
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(database().column(u"SELECT reference FROM WrittenSizes"_s), QStringList(u"b"_s));
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(database().column(u"SELECT reference FROM WrittenSizes"_s), QStringList(u"b"_s));
}

TEST_F(ResourceCacheFileSizesTest, rebuildMetadata_wrongSum_isThatOfTheRowsAgain)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    addReady(u"b"_s, u"s/b/b.txt"_s, 5);
    const qint64 scanned = lastScan();
    database().run(u"UPDATE CacheMetadata SET currentSize = 4711"_s);
    ASSERT_FALSE(cache.rebuildMetadata().hasError());
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 8);
    EXPECT_EQ(lastScan(), scanned);
    // The triggers go on from there.
    database().run(u"UPDATE CachedResources SET fileSize = NULL WHERE reference = 'b'"_s);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 3);
    database().run(u"DELETE FROM CachedResources"_s);
    ASSERT_FALSE(cache.rebuildMetadata().hasError());
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 0);
}

TEST_F(ResourceCacheFileSizesTest, rebuildMetadata_anyNumberOfRows_leavesOne)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    const qint64 scanned = lastScan();
    database().run(u"INSERT INTO CacheMetadata VALUES (1, 2), (3, 4)"_s);
    ASSERT_FALSE(cache.rebuildMetadata().hasError());
    EXPECT_EQ(database().count(u"CacheMetadata"_s), 1);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 3);
    EXPECT_EQ(lastScan(), scanned);

    database().run(u"DELETE FROM CacheMetadata"_s);
    EXPECT_FALSE(cache.readCurrentCacheSize().hasValue());
    ASSERT_FALSE(cache.rebuildMetadata().hasError());
    EXPECT_EQ(database().count(u"CacheMetadata"_s), 1);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 3);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_anyResource_isNoAccessToIt)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3, 1234);
    writeFile(dataPath(u"s/a/a.txt"_s), QByteArray(10, 'x'));
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(rowValue(u"lastAccessDateTime"_s, u"a"_s).toLongLong(), 1234);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_folder_countsAllFilesBelowIt)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/run.d/one"_s, 3);
    writeFile(dataPath(u"s/a/run.d/deep/two"_s), QByteArray(4, 'x'));
    ASSERT_FALSE(cache.saveLocalPath(u"a"_s, dataPath(u"s/a/run.d"_s), 1).hasError());
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(storedSize(u"a"_s), 7);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_otherStatus_staysAsItIs)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    writeFile(dataPath(u"s/a/a.txt"_s), QByteArray(10, 'x'));
    for (const auto status : { ResourceStatus::Acquiring, ResourceStatus::ScheduledForAcquire,
                               ResourceStatus::Missing }) {
        ASSERT_FALSE(cache.saveStatus(u"a"_s, status).hasError());
        ASSERT_FALSE(cache.updateFileSizes().hasError());
        EXPECT_EQ(storedSize(u"a"_s), 3);
    }
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_dataIsGone_storesZeroAndStaysReady)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    ASSERT_TRUE(QFile::remove(dataPath(u"s/a/a.txt"_s)));
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(storedSize(u"a"_s), 0);
    EXPECT_EQ(database().status(u"a"_s), u"Ready"_s);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSizes_oneFails_leavesAllSizesAndTheTimeAsTheyWere)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    addReady(u"b"_s, u"s/b/b.txt"_s, 5);
    writeFile(dataPath(u"s/a/a.txt"_s), QByteArray(10, 'x'));
    writeFile(dataPath(u"s/b/b.txt"_s), QByteArray(10, 'x'));
    database().run(u"CREATE TRIGGER refuse BEFORE UPDATE OF fileSize ON CachedResources "
                   "WHEN new.reference = 'b' BEGIN SELECT RAISE(ABORT, 'refused'); END"_s);
    database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = 77"_s);
    EXPECT_TRUE(cache.updateFileSizes().hasError());
    EXPECT_EQ(storedSize(u"a"_s), 3);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 8);
    EXPECT_EQ(lastScan(), 77);

    // The next opening tries again.
    database().run(u"DROP TRIGGER refuse"_s);
    reopen(77, 7);
    EXPECT_EQ(storedSize(u"a"_s), 10);
    EXPECT_EQ(storedSize(u"b"_s), 10);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSize_oneResource_leavesTheOthersAndTheTime)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    addReady(u"b"_s, u"s/b/b.txt"_s, 5);
    writeFile(dataPath(u"s/a/a.txt"_s), QByteArray(10, 'x'));
    writeFile(dataPath(u"s/b/b.txt"_s), QByteArray(10, 'x'));
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 10);
    EXPECT_EQ(storedSize(u"b"_s), 5);
    EXPECT_EQ(lastScan(), 0);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSize_oneResource_tellsHowLongOthersHaveWaited)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 10);
    const LogCapture log;
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    const QRegularExpression length(u"^Counted the size of a resource in [0-9]+ ms$"_s);
    EXPECT_EQ(log.texts(QtDebugMsg).filter(length).size(), 1);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSize_missingResource_failsAsTheDatabaseSays)
{
    openQuietly();
    ASSERT_FALSE(cache.add(u"a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    const Error error = cache.updateFileSize(u"a"_s);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), u"Could not find resource \"a\" with status \"Ready\""_s);
    EXPECT_TRUE(cache.updateFileSize(u"unknown"_s).hasError());
}

TEST_F(ResourceCacheFileSizesTest, updateFileSize_providerOfItsType_countsWhatItNames)
{
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Beside<'a'>>());
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    addReady(u"b"_s, u"s/b/b.dat"_s, 3);
    writeFile(dataPath(u"s/a/a.txt.a"_s), QByteArray(100, 'x'));
    writeFile(dataPath(u"s/b/b.dat.a"_s), QByteArray(100, 'x'));
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(storedSize(u"a"_s), 103);
    EXPECT_EQ(storedSize(u"b"_s), 3);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSize_twoTypesMatch_countsTheListsOfBoth)
{
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Beside<'a'>>());
    cache.registerAssociatedResourcesProvider(anyType(), std::make_unique<Beside<'b'>>());
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    writeFile(dataPath(u"s/a/a.txt.a"_s), QByteArray(100, 'x'));
    writeFile(dataPath(u"s/a/a.txt.b"_s), QByteArray(1000, 'x'));
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 1103);
}

TEST_F(ResourceCacheFileSizesTest, updateFileSize_twoTypesNameOneFile_countsItTwice)
{
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Beside<'a'>>());
    cache.registerAssociatedResourcesProvider(anyType(), std::make_unique<Beside<'a'>>());
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    writeFile(dataPath(u"s/a/a.txt.a"_s), QByteArray(100, 'x'));
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 203);
}

TEST_F(ResourceCacheFileSizesTest, registerProvider_twiceForOneType_leavesTheSecond)
{
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Beside<'a'>>());
    // The same type made anew, as another library would.
    const FileType sameType("SIZES_TEST_TEXT"_L1, {});
    cache.registerAssociatedResourcesProvider(sameType, std::make_unique<Beside<'b'>>());
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    writeFile(dataPath(u"s/a/a.txt.a"_s), QByteArray(100, 'x'));
    writeFile(dataPath(u"s/a/a.txt.b"_s), QByteArray(1000, 'x'));
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 1003);
}

TEST_F(ResourceCacheFileSizesTest, unregisterProvider_oneOfTwo_leavesTheOther)
{
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Beside<'a'>>());
    cache.registerAssociatedResourcesProvider(anyType(), std::make_unique<Beside<'b'>>());
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    writeFile(dataPath(u"s/a/a.txt.a"_s), QByteArray(100, 'x'));
    writeFile(dataPath(u"s/a/a.txt.b"_s), QByteArray(1000, 'x'));

    cache.unregisterAssociatedResourcesProvider(textType());
    cache.unregisterAssociatedResourcesProvider(textType()); // without effect
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 1003);

    cache.clearAssociatedResourcesProviders();
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 3);
}

TEST_F(ResourceCacheFileSizesTest, providers_closedAndOpenedAgain_stay)
{
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Beside<'a'>>());
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    writeFile(dataPath(u"s/a/a.txt.a"_s), QByteArray(100, 'x'));
    cache.close();
    openCache();
    ASSERT_FALSE(cache.updateFileSize(u"a"_s).hasError());
    EXPECT_EQ(storedSize(u"a"_s), 103);
}
