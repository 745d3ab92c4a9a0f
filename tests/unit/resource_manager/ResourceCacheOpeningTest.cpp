#include "support/CacheFixture.h"
#include "support/PingTimer.h"

#include "Task.h"
#include <QCoreApplication>

#include <QSemaphore>
#include <QTest>
#include <QTimer>

#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using ResourceCacheOpeningTest = CacheFixture;

constexpr auto ownClients = "SELECT COUNT(*) FROM Clients WHERE processId = ?";

/// A path whose database lies elsewhere.
class MovedDatabase : public ResourceCachePath
{
public:
    PathImpl<PathType::File> databasePath() const override
    {
        return baseDirPath().toString() + u"/moved.db"_s;
    }
};

} // namespace

TEST(ResourceCacheSizesTest, construct_default_isTenAndTwentyGibibytes)
{
    EXPECT_EQ(ResourceCacheSizes().optimalSize, 10737418240);
    EXPECT_EQ(ResourceCacheSizes().maximumSize, 21474836480);
}

TEST(ResourceCachePathTest, paths_baseEndsInSlash_haveNoDoubleSlash)
{
    ResourceCachePath path;
    path.setBaseDirPath(u"/base/"_s);
    EXPECT_EQ(path.cacheDataDir().toString(), u"/base/Cache"_s);
    EXPECT_EQ(path.databasePath().toString(), u"/base/ResourceCache.db"_s);
    EXPECT_EQ(path.baseDirPath().toString(), u"/base/"_s);
}

TEST(ResourceCachePathTest, construct_default_isBesideTheApplicationsData)
{
    const QString base = ResourceCachePath::defaultBaseDirectoryPath();
    EXPECT_TRUE(base.endsWith(u"/ResourceCache"_s)) << qPrintable(base);
    EXPECT_FALSE(base.contains(u".."_s));
    EXPECT_EQ(ResourceCachePath().baseDirPath().toString(), base);
}

TEST_F(ResourceCacheOpeningTest, open_newDirectory_registersThisProcess)
{
    openCache({ 100, 200 });
    EXPECT_TRUE(cache.isOpen());
    EXPECT_EQ(database().count(u"Clients"_s), 1);
    EXPECT_EQ(cache.path().baseDirPath().toString(), directory.baseDir());
    EXPECT_EQ(cache.sizes().optimalSize, 100);
    EXPECT_EQ(cache.sizes().maximumSize, 200);
}

TEST_F(ResourceCacheOpeningTest, close_openCache_unregistersThisProcess)
{
    openCache();
    cache.close();
    EXPECT_FALSE(cache.isOpen());
    EXPECT_EQ(database().count(u"Clients"_s), 0);
    openCache();
    EXPECT_TRUE(cache.isOpen());
}

TEST_F(ResourceCacheOpeningTest, close_neverOpened_isHarmless)
{
    cache.close();
    EXPECT_FALSE(cache.isOpen());
}

TEST_F(ResourceCacheOpeningTest, open_databaseIsGarbage_failsAndStaysClosed)
{
    writeFile(directory.databasePath(), QByteArray(8192, 'g'));
    const Error error = cache.open(cachePath(), { 1, 2 });
    EXPECT_TRUE(error.hasError());
    EXPECT_GE(error.trail().size(), 2);
    EXPECT_FALSE(cache.isOpen());
    EXPECT_NE(cache.sizes().optimalSize, 1);
    EXPECT_FALSE(cache.retryOpenAfter().has_value());
}

TEST_F(ResourceCacheOpeningTest, open_cleanupFails_staysOpenWithOldSettings)
{
    const QString other = directory.addBaseDir(u"other"_s);
    ASSERT_TRUE(QDir().mkpath(other));
    ASSERT_FALSE(cache.open(pathOf(other), {}).hasError());
    cache.close();
    CacheDatabase rows(pathOf(other).databasePath());
    rows.run(u"INSERT INTO Clients(id, processId, lastPingTime) VALUES (77, 77, 1)"_s);
    rows.run(u"CREATE TRIGGER stuck BEFORE DELETE ON Clients WHEN OLD.id = 77 "
             "BEGIN SELECT RAISE(ABORT, 'stuck'); END"_s);
    openCache();
    const PingTimer ping(cache, true);
    ASSERT_TRUE(ping.isActive());

    const Error error = cache.open(pathOf(other), { 1, 2 });
    EXPECT_TRUE(error.hasError());
    EXPECT_TRUE(cache.isOpen());
    EXPECT_NE(cache.sizes().optimalSize, 1);
    EXPECT_EQ(cache.path().baseDirPath().toString(), directory.baseDir());
    EXPECT_FALSE(ping.isActive());
}

TEST_F(ResourceCacheOpeningTest, open_subclassedPath_overridesServeForTheOpeningOnly)
{
    MovedDatabase moved;
    moved.setBaseDirPath(directory.baseDir());
    ASSERT_FALSE(cache.open(moved, {}).hasError());
    EXPECT_TRUE(QFileInfo::exists(directory.baseDir() + u"/moved.db"_s));
    EXPECT_EQ(cache.path().databasePath().toString(), directory.databasePath());
}

TEST_F(ResourceCacheOpeningTest, open_rowOfThisProcessIdIsFresh_failsAndTellsWhenToRetry)
{
    openCache();
    cache.close();
    database().run(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
                   { QCoreApplication::applicationPid(), QDateTime::currentMSecsSinceEpoch() });

    EXPECT_TRUE(cache.open(cachePath(), {}).hasError());
    EXPECT_FALSE(cache.isOpen());
    ASSERT_TRUE(cache.retryOpenAfter().has_value());
    EXPECT_GT(*cache.retryOpenAfter(), 5s);
    EXPECT_LE(*cache.retryOpenAfter(), 10s);
    EXPECT_EQ(database()
                  .value(QString::fromLatin1(ownClients), { QCoreApplication::applicationPid() })
                  .toInt(),
              1);
}

TEST_F(ResourceCacheOpeningTest, open_rowOfThisProcessIdIsOld_removesItSoThatTheNextOpenWorks)
{
    openCache();
    cache.close();
    database().run(
        u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
        { QCoreApplication::applicationPid(), QDateTime::currentMSecsSinceEpoch() - 11000 });

    EXPECT_TRUE(cache.open(cachePath(), {}).hasError());
    EXPECT_FALSE(cache.open(cachePath(), {}).hasError());
}

TEST_F(ResourceCacheOpeningTest, open_secondCacheOfThisProcess_failsAndLeavesTheFirstRegistered)
{
    openCache();
    {
        TestCache second;
        EXPECT_TRUE(second.open(cachePath(), {}).hasError());
    }
    EXPECT_EQ(database().count(u"Clients"_s), 1);
}

TEST_F(ResourceCacheOpeningTest, open_otherBaseDirectory_worksOnThatOne)
{
    openCache();
    const TemporaryCache other;
    ASSERT_FALSE(cache.open(pathOf(other.baseDir()), {}).hasError());
    EXPECT_EQ(CacheDatabase(other.databasePath()).count(u"Clients"_s), 1);
    cache.close();
}

TEST_F(ResourceCacheOpeningTest, setSizes_lowerMaximum_purges)
{
    openCache({ 50, 1000 });
    addReady(u"test:a"_s, u"s/a/f"_s, 100);
    EXPECT_FALSE(cache.setSizes({ 50, 999 }).hasError());
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
}

TEST_F(ResourceCacheOpeningTest, setSizes_equalOrHigherMaximum_doesNotPurge)
{
    openCache({ 500, 1000 });
    addReady(u"test:a"_s, u"s/a/f"_s, 100);
    EXPECT_FALSE(cache.setSizes({ 50, 1000 }).hasError());
    EXPECT_FALSE(cache.setSizes({ 50, 2000 }).hasError());
    EXPECT_EQ(cache.sizes().optimalSize, 50);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
}

TEST_F(ResourceCacheOpeningTest, setSizes_purgeFails_isToldAndTheNewSizesStay)
{
    openCache({ 1000, 2000 });
    addReady(u"test:a"_s, u"s/a/f"_s, 100);
    ASSERT_FALSE(cache.saveLocalPath(u"test:a"_s, u"/proc/self/status"_s, 100).hasError());
    EXPECT_EQ(cache.setSizes({ 10, 20 }).errorMessage(), u"Unable to remove resource."_s);
    EXPECT_EQ(cache.sizes().optimalSize, 10);
    EXPECT_EQ(cache.sizes().maximumSize, 20);
}

TEST_F(ResourceCacheOpeningTest, setPingEnabled_falseBeforeOpen_openStartsThePingAnyway)
{
    cache.setPingEnabled(false);
    openCache();
    database().setLastPing(1, 20s);
    const qint64 before = database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong() > before;
        },
        15000));
}

TEST_F(ResourceCacheOpeningTest, setPingEnabled_afterOpen_stopsThePing)
{
    // The cache of a second process pings for its own timer's sake; this one must not.
    openCache();
    cache.setPingEnabled(false);
    EXPECT_EQ(QCoreApplication::instance()->thread(), QThread::currentThread());
    database().setLastPing(1, 20s);
    const qint64 before = database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong();
    QTimer probe; // longer than the ping's period, on the same thread
    probe.setSingleShot(true);
    probe.start(5500ms);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !probe.isActive(); }, 20000));
    EXPECT_EQ(database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong(), before);
}

TEST_F(ResourceCacheOpeningTest, setPingEnabled_trueOnAClosedCache_startsNothing)
{
    const PingTimer ping(cache, false);
    cache.setPingEnabled(true);
    EXPECT_FALSE(ping.isActive());
    openCache();
    EXPECT_TRUE(ping.isActive());
    cache.close();
    cache.setPingEnabled(true);
    EXPECT_FALSE(ping.isActive());
}

TEST_F(ResourceCacheOpeningTest, setPingEnabled_falseThenTrueOnAnOpenCache_pingsAgain)
{
    openCache();
    const PingTimer ping(cache, true);
    cache.setPingEnabled(false);
    EXPECT_FALSE(ping.isActive());
    cache.setPingEnabled(true);
    ASSERT_TRUE(ping.isActive());

    const auto lastPing = [this] {
        return database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong();
    };
    database().setLastPing(1, 20s);
    const qint64 before = lastPing();
    ping.tick();
    EXPECT_GT(lastPing(), before);
}

// A tick may be on its way when the cache is closed.
TEST_F(ResourceCacheOpeningTest, ping_closedCache_doesNothing)
{
    openCache();
    const PingTimer ping(cache, true);
    cache.close();
    database().run(u"INSERT INTO Clients(id, processId, lastPingTime) VALUES (77, 77, 1)"_s);
    const LogCapture log;
    ping.tick();
    EXPECT_EQ(database().column(u"SELECT id || ' ' || lastPingTime FROM Clients"_s),
              QStringList(u"77 1"_s));
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList());
    EXPECT_EQ(log.texts(QtCriticalMsg), QStringList());
}

TEST_F(ResourceCacheOpeningTest, open_closedOnAnotherThreadJustBefore_pingsAllTheSame)
{
    openCache();
    std::thread([&] { cache.close(); }).join(); // its stop of the timer waits in our queue
    openCache();
    QCoreApplication::processEvents();
    database().run(u"UPDATE Clients SET lastPingTime = lastPingTime - 20000"_s);
    const auto lastPing = [this] {
        return database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong();
    };
    const qint64 before = lastPing();
    EXPECT_TRUE(QTest::qWaitFor([&] { return lastPing() > before; }, 15000));
}

TEST_F(ResourceCacheOpeningTest, open_onPlainThread_pingsThere)
{
    std::thread worker([&] {
        TestCache threadCache;
        ASSERT_FALSE(threadCache.open(cachePath(), {}).hasError());
        database().setLastPing(1, 20s);
        const qint64 before = database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong();
        QEventLoop loop;
        QElapsedTimer limit;
        limit.start();
        const auto pinged = [&] {
            return database().value(u"SELECT lastPingTime FROM Clients"_s).toLongLong() > before;
        };
        while (!pinged() && limit.elapsed() < 15000)
            loop.processEvents(QEventLoop::WaitForMoreEvents);
        EXPECT_TRUE(pinged());
    });
    worker.join();
}

TEST_F(ResourceCacheOpeningTest, destroy_onAnotherThreadThanThePings_leavesNoTimerBehind)
{
    QThread pinging;
    QObject context;
    context.moveToThread(&pinging);
    pinging.start();
    std::unique_ptr<TestCache> mortal;
    const auto open = [&] {
        mortal = std::make_unique<TestCache>();
        EXPECT_FALSE(mortal->open(cachePath(), {}).hasError());
    };
    QMetaObject::invokeMethod(&context, open, Qt::BlockingQueuedConnection);

    QSemaphore isGone;
    QMetaObject::invokeMethod(
        &context, [&] { isGone.acquire(); }, Qt::QueuedConnection); // too busy to stop the timer
    const LogCapture log; // Qt warns of a timer that dies on another thread
    mortal.reset();
    isGone.release();
    QMetaObject::invokeMethod(
        &context, [] {}, Qt::BlockingQueuedConnection);
    pinging.quit();
    pinging.wait();
    EXPECT_EQ(log.texts(QtWarningMsg, "default"), QStringList());
}

TEST_F(ResourceCacheOpeningTest, switches_setAndRead)
{
    EXPECT_TRUE(cache.isFixLongZacqFilePathsSet());
    cache.setFixLongZacqFilePaths(false);
    EXPECT_FALSE(cache.isFixLongZacqFilePathsSet());
    EXPECT_EQ(cache.cleanupPolicyRestriction(), ResourceCleanupPolicy::Invalid);
    cache.setCleanupPolicyRestriction(ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(cache.cleanupPolicyRestriction(), ResourceCleanupPolicy::OnClose);
}

TEST_F(ResourceCacheOpeningTest, everyOperation_closedCache_failsWithoutACrash)
{
    EXPECT_TRUE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    EXPECT_TRUE(cache.saveStatus(u"test:a"_s, ResourceStatus::Missing).hasError());
    EXPECT_FALSE(cache.readStatus(u"test:a"_s).hasValue());
    EXPECT_FALSE(cache.readLocalPath(u"test:a"_s).hasValue());
    EXPECT_FALSE(cache.useResource(u"test:a"_s).hasValue());
    EXPECT_FALSE(cache.readCurrentCacheSize().hasValue());
    EXPECT_TRUE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(cache.purgeOutdatedResourcesTask().hasValue());
    EXPECT_FALSE(cache.isOpen());
}
