#include "AssociatedResourcesProviderInterface.h"
#include "support/CacheTest.h"

#include <QDateTime>
#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <barrier>
#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using FileType = ExtendableEnum<FileTypes::FileTypeData>;
using Days = std::chrono::duration<int, std::ratio<86400>>;

const FileType &textType()
{
    static const FileType type("SIZES_TEST_TEXT"_L1, { { u"txt"_s } });
    return type;
}

const FileType &anyType()
{
    static const FileType type("SIZES_TEST_ANY"_L1, { { u"txt"_s, u"dat"_s } });
    return type;
}

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

/// Counts how often a scan asks for side files.
class Counting final : public AssociatedResourcesProviderInterface
{
public:
    QList<QString> getAssociatedResources(const QString &) const override
    {
        ++questions();
        return {};
    }
    static std::atomic<int> &questions()
    {
        static std::atomic<int> count = 0;
        return count;
    }
};

/// Notes when the thread that has made one ends.
class EndOfThread
{
public:
    EndOfThread() = default;
    ~EndOfThread()
    {
        // Whoever does not wait for the thread gets ahead of it here.
        QThread::msleep(100);
        seen() = true;
    }
    EndOfThread(const EndOfThread &) = delete;
    EndOfThread &operator=(const EndOfThread &) = delete;
    static std::atomic<bool> &seen()
    {
        static std::atomic<bool> flag = false;
        return flag;
    }
};

/// Keeps a scan from ending until it is told. What it needs lies outside: a provider has no state.
class Slow final : public AssociatedResourcesProviderInterface
{
public:
    QList<QString> getAssociatedResources(const QString &) const override
    {
        thread_local const EndOfThread end;
        worker() = QThread::currentThreadId();
        entered().release();
        EXPECT_TRUE(mayGo().tryAcquire(1, 40000));
        left() = true;
        return {};
    }
    static QSemaphore &entered()
    {
        static QSemaphore semaphore;
        return semaphore;
    }
    static QSemaphore &mayGo()
    {
        static QSemaphore semaphore;
        return semaphore;
    }
    static std::atomic<bool> &left()
    {
        static std::atomic<bool> flag = false;
        return flag;
    }
    static std::atomic<Qt::HANDLE> &worker()
    {
        static std::atomic<Qt::HANDLE> id = nullptr;
        return id;
    }
};

QT_WARNING_POP

class ResourceCacheFileSizesTest : public CacheTest
{
protected:
    ResourceCacheFileSizesTest()
    {
        Counting::questions() = 0;
        Slow::left() = false;
        EndOfThread::seen() = false;
    }
    /// Opens the cache so that no scan starts.
    void openQuietly()
    {
        cache.setFullScanInterval(Days(1000000));
        openCache();
    }
    /// Closes and opens the cache, the last scan lying at this moment, and waits for the scan.
    void reopen(qint64 lastScan, int intervalInDays)
    {
        cache.close();
        database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s, { lastScan });
        cache.setFullScanInterval(Days(intervalInDays));
        openCache();
        waitForScan();
    }
    void waitForScan() { ASSERT_TRUE(cache.readCurrentCacheSize().hasValue()); }
    qint64 lastScan() const
    {
        return database().value(u"SELECT lastScanTimestamp FROM CacheMetadata"_s).toLongLong();
    }
    /// Whether a scan ran, the last one lying at this moment.
    bool scans(qint64 lastScanBefore, int intervalInDays)
    {
        reopen(lastScanBefore, intervalInDays);
        return lastScan() != lastScanBefore;
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
    /// A cache whose scan is in the middle and goes on as soon as it may. Opened on the thread that
    /// the function stands for.
    std::unique_ptr<TestCache> inSlowScan(
        const std::function<void(const std::function<void()> &)> &onThread)
    {
        prepareSlowScan();
        auto scanning = std::make_unique<TestCache>();
        scanning->registerAssociatedResourcesProvider(textType(), std::make_unique<Slow>());
        scanning->setFullScanInterval(Days(0));
        onThread([&] { EXPECT_FALSE(scanning->open(cachePath(), {}).hasError()); });
        EXPECT_TRUE(Slow::entered().tryAcquire(1, 40000));
        return scanning;
    }
    /// A Ready resource of 3 bytes, for which a provider waits that keeps the scan from ending.
    void prepareSlowScan()
    {
        openQuietly();
        addReady(u"a"_s, u"s/a/a.txt"_s, 3);
        cache.close();
        cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Slow>());
        cache.setFullScanInterval(Days(0));
    }
};

qint64 daysAgo(int days)
{
    return QDateTime::currentDateTime().addDays(-days).toSecsSinceEpoch();
}

} // namespace

TEST_F(ResourceCacheFileSizesTest, open_newDatabase_scansAndNotesTheTimeInSeconds)
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    openCache();
    waitForScan();
    EXPECT_GE(lastScan(), before);
    EXPECT_LE(lastScan(), QDateTime::currentSecsSinceEpoch());
}

TEST_F(ResourceCacheFileSizesTest, open_lastScanSixOfSevenDaysAgo_doesNotScan)
{
    openQuietly();
    EXPECT_FALSE(scans(daysAgo(6), 7));
}

TEST_F(ResourceCacheFileSizesTest, open_lastScanSevenOfSevenDaysAgo_scans)
{
    openQuietly();
    EXPECT_TRUE(scans(daysAgo(7), 7));
}

TEST_F(ResourceCacheFileSizesTest, open_intervalUntouched_isSevenDays)
{
    cache.setPingEnabled(false);
    openCache();
    waitForScan();
    cache.close();
    for (const auto &[age, isDue] : { std::pair(6, false), std::pair(7, true) }) {
        const qint64 then = daysAgo(age);
        database().run(u"UPDATE CacheMetadata SET lastScanTimestamp = ?"_s, { then });
        TestCache fresh;
        ASSERT_FALSE(fresh.open(cachePath(), {}).hasError());
        ASSERT_TRUE(fresh.readCurrentCacheSize().hasValue());
        EXPECT_EQ(lastScan() != then, isDue) << age;
    }
}

TEST_F(ResourceCacheFileSizesTest, open_interval_countsCalendarDaysAndNotHours)
{
    openQuietly();
    QDate today;
    bool sameDay = false;
    bool yesterday = false;
    do { // once more if midnight came in between
        today = QDate::currentDate();
        const qint64 midnight = QDateTime(today, QTime(0, 0)).toSecsSinceEpoch();
        sameDay = scans(midnight, 1);
        yesterday = scans(midnight - 1, 1);
    } while (QDate::currentDate() != today);
    EXPECT_FALSE(sameDay);
    EXPECT_TRUE(yesterday);
}

TEST_F(ResourceCacheFileSizesTest, open_lastScanInTheFuture_doesNotScan)
{
    openQuietly();
    EXPECT_FALSE(scans(daysAgo(-3), 1));
}

TEST_F(ResourceCacheFileSizesTest, open_scanRuns_returnsAndTheScanIsOnAnotherThread)
{
    prepareSlowScan();
    openCache();
    EXPECT_FALSE(Slow::left());
    ASSERT_TRUE(Slow::entered().tryAcquire(1, 40000));
    EXPECT_NE(Slow::worker().load(), QThread::currentThreadId());

    // Everybody else waits for it.
    std::atomic<bool> wasOver = false;
    std::thread other([this, &wasOver] {
        EXPECT_TRUE(cache.inUse(u"a"_s).hasValue());
        wasOver = Slow::left().load();
    });
    Slow::mayGo().release();
    other.join();
    EXPECT_TRUE(wasOver);
}

TEST_F(ResourceCacheFileSizesTest, destructor_scanRuns_waitsForItsEnd)
{
    auto doomed = inSlowScan([](const auto &open) { open(); });
    std::thread helper([] { Slow::mayGo().release(); });
    doomed.reset();
    EXPECT_TRUE(Slow::left());
    EXPECT_TRUE(EndOfThread::seen());
    EXPECT_GT(lastScan(), 0); // it was not cut short
    helper.join();
}

// No event loop is left that would delete the task, and the process may end next.
TEST_F(ResourceCacheFileSizesTest, destructor_threadThatOpenedHasEnded_waitsForTheWorker)
{
    auto doomed = inSlowScan([](const auto &open) { std::thread(open).join(); });
    std::thread helper([] { Slow::mayGo().release(); });
    doomed.reset();
    EXPECT_TRUE(EndOfThread::seen());
    helper.join();
}

TEST_F(ResourceCacheFileSizesTest, destructor_threadThatOpenedGoesOn_waitsForTheScan)
{
    QThread opener;
    opener.start();
    QObject onOpener;
    onOpener.moveToThread(&opener);
    auto doomed = inSlowScan([&](const auto &open) {
        QMetaObject::invokeMethod(&onOpener, open, Qt::BlockingQueuedConnection);
    });
    std::thread helper([] { Slow::mayGo().release(); });
    doomed.reset();
    EXPECT_TRUE(Slow::left());
    helper.join();
    opener.quit();
    opener.wait();
}

TEST_F(ResourceCacheFileSizesTest, open_severalAtOnce_onlyTheFirstScans)
{
    constexpr int clients = 4;
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    cache.close();

    std::barrier allAtOnce(clients);
    std::vector<std::thread> openers;
    for (int i = 0; i < clients; ++i) {
        openers.emplace_back([this, i, &allAtOnce] {
            TestCache client(std::make_unique<OtherProcessDao>(4000001 + i));
            client.registerAssociatedResourcesProvider(textType(), std::make_unique<Counting>());
            allAtOnce.arrive_and_wait();
            EXPECT_FALSE(client.open(cachePath(), {}).hasError());
        });
    }
    for (std::thread &opener : openers)
        opener.join();
    EXPECT_EQ(Counting::questions(), 1);
}

TEST_F(ResourceCacheFileSizesTest, open_timeOfTheLastScanCannotBeRead_opensWithoutAScan)
{
    openQuietly();
    addReady(u"a"_s, u"s/a/a.txt"_s, 3);
    cache.close();
    database().run(u"DELETE FROM CacheMetadata"_s);
    cache.registerAssociatedResourcesProvider(textType(), std::make_unique<Counting>());
    cache.setFullScanInterval(Days(0));
    EXPECT_FALSE(cache.open(cachePath(), {}).hasError());
    EXPECT_TRUE(cache.inUse(u"a"_s).hasValue()); // after a scan, if there were one
    EXPECT_EQ(Counting::questions(), 0);
}

TEST_F(ResourceCacheFileSizesTest, open_anotherDirectoryDuringTheScan_waitsForItsEnd)
{
    prepareSlowScan();
    openCache();
    ASSERT_TRUE(Slow::entered().tryAcquire(1, 40000));
    const TemporaryCache elsewhere;
    std::thread helper([] { Slow::mayGo().release(); });
    ASSERT_FALSE(cache.open(pathOf(elsewhere.baseDir()), {}).hasError());
    EXPECT_TRUE(Slow::left());
    helper.join();
    cache.close();
    removeSystemSemaphore(TemporaryCache::semaphoreKey(elsewhere.baseDir()));
}

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
