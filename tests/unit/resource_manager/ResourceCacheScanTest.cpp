#include "support/FileSizesFixture.h"

#include "ThreadStarts.h"

#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <barrier>
#include <functional>
#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor")
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")

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

/// The scan that an opening starts.
class ResourceCacheScanTest : public FileSizesFixture
{
protected:
    ResourceCacheScanTest()
    {
        Counting::questions() = 0;
        Slow::left() = false;
        EndOfThread::seen() = false;
    }
    /// Whether a scan ran, the last one lying at this moment.
    bool scans(qint64 lastScanBefore, int intervalInDays)
    {
        reopen(lastScanBefore, intervalInDays);
        return lastScan() != lastScanBefore;
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

} // namespace

TEST_F(ResourceCacheScanTest, open_newDatabase_scansAndNotesTheTimeInSeconds)
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    openCache();
    waitForScan();
    EXPECT_GE(lastScan(), before);
    EXPECT_LE(lastScan(), QDateTime::currentSecsSinceEpoch());
}

TEST_F(ResourceCacheScanTest, open_lastScanSixOfSevenDaysAgo_doesNotScan)
{
    openQuietly();
    EXPECT_FALSE(scans(daysAgo(6), 7));
}

TEST_F(ResourceCacheScanTest, open_lastScanSevenOfSevenDaysAgo_scans)
{
    openQuietly();
    EXPECT_TRUE(scans(daysAgo(7), 7));
}

TEST_F(ResourceCacheScanTest, open_intervalUntouched_isSevenDays)
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

TEST_F(ResourceCacheScanTest, open_interval_countsCalendarDaysAndNotHours)
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

TEST_F(ResourceCacheScanTest, open_lastScanInTheFuture_doesNotScan)
{
    openQuietly();
    EXPECT_FALSE(scans(daysAgo(-3), 1));
}

TEST_F(ResourceCacheScanTest, open_scanRuns_returnsAndTheScanIsOnAnotherThread)
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

TEST_F(ResourceCacheScanTest, destructor_scanRuns_waitsForItsEnd)
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
TEST_F(ResourceCacheScanTest, destructor_threadThatOpenedHasEnded_waitsForTheWorker)
{
    auto doomed = inSlowScan([](const auto &open) { std::thread(open).join(); });
    std::thread helper([] { Slow::mayGo().release(); });
    doomed.reset();
    EXPECT_TRUE(EndOfThread::seen());
    helper.join();
}

TEST_F(ResourceCacheScanTest, destructor_threadThatOpenedGoesOn_waitsForTheScan)
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

TEST_F(ResourceCacheScanTest, open_severalAtOnce_onlyTheFirstScans)
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

TEST_F(ResourceCacheScanTest, open_timeOfTheLastScanCannotBeRead_opensWithoutAScan)
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

TEST_F(ResourceCacheScanTest, open_anotherDirectoryDuringTheScan_waitsForItsEnd)
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
}

TEST_F(ResourceCacheScanTest, open_noThreadForTheScan_opensFreeForOthersAndScansNextTime)
{
    openQuietly();
    cache.close();
    const qint64 before = lastScan();
    cache.setFullScanInterval(Days(0));
    {
        const ThreadLimit limit(0);
        ASSERT_FALSE(cache.open(cachePath(), {}).hasError());
    }
    std::thread other([this] { EXPECT_TRUE(cache.readCurrentCacheSize().hasValue()); });
    other.join();
    EXPECT_EQ(lastScan(), before);
    EXPECT_TRUE(scans(daysAgo(1), 0));
}
