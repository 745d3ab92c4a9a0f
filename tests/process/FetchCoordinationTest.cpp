#include "CacheDatabase.h"
#include "CacheProcess.h"
#include "TemporaryCache.h"

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString reference = u"test:a"_s;

/// Who fetches, as several processes settle it in the database.
class FetchCoordinationTest : public testing::Test
{
protected:
    FetchCoordinationTest()
        : fetcher(cache.baseDir())
        , watcher(cache.baseDir())
        , database(cache.databasePath())
    {
        EXPECT_EQ(fetcher.ask(u"useResource test:a"_s), u"ok"_s);
        EXPECT_EQ(watcher.ask(u"useResource test:a"_s), u"ok"_s);
    }

    /// The state that every test begins with: one fetches, one watches.
    void startBoth()
    {
        ASSERT_EQ(fetcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
        ASSERT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"false"_s);
    }

    void finish(CacheProcess &process)
    {
        EXPECT_EQ(process.ask(u"writeData test:a data"_s), u"true"_s);
        EXPECT_EQ(process.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
        EXPECT_EQ(process.ask(u"removeTaskFromDatabase test:a"_s), u"ok"_s);
    }

    /// Lets a process that was killed look as if it had been silent for so long, and somebody clean
    /// up after it.
    void cleanUpAfter(qint64 clientId)
    {
        database.setLastPing(clientId, 31s);
        const CacheProcess anybody(cache.baseDir());
    }

    TemporaryCache cache;
    CacheProcess fetcher;
    CacheProcess watcher;
    CacheDatabase database;
};

} // namespace

TEST_F(FetchCoordinationTest, tryStartRetrieve_twoProcesses_theFirstFetches)
{
    startBoth();
    EXPECT_EQ(database.status(reference), u"Acquiring"_s);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 2);
    EXPECT_EQ(database.value(u"SELECT clientId FROM AcquiringTasks WHERE progress IS NOT NULL"_s),
              fetcher.clientId());
}

TEST_F(FetchCoordinationTest, saveProgress_byTheFetcher_isSeenByTheWatcher)
{
    startBoth();
    EXPECT_EQ(fetcher.ask(u"saveProgress test:a 55"_s), u"ok"_s);
    EXPECT_EQ(watcher.ask(u"readProgress test:a"_s), u"55 Acquiring"_s);
}

TEST_F(FetchCoordinationTest, finalizeRetrieve_byTheFetcher_watcherSeesReady)
{
    startBoth();
    finish(fetcher);
    EXPECT_EQ(watcher.ask(u"readProgress test:a"_s), u"- Ready"_s);
    EXPECT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"false"_s);
    EXPECT_EQ(watcher.ask(u"readLocalPath test:a"_s), cache.dataDir() + u"/test/a/data"_s);
}

TEST_F(FetchCoordinationTest, finalizeRetrieve_withAFailure_watcherFetches)
{
    startBoth();
    EXPECT_EQ(fetcher.ask(u"finalizeRetrieve test:a 1"_s), u"ok"_s);
    EXPECT_EQ(watcher.ask(u"readProgress test:a"_s), u"- Missing"_s);
    EXPECT_EQ(fetcher.ask(u"removeTaskFromDatabase test:a"_s), u"ok"_s);
    EXPECT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    finish(watcher);
    EXPECT_EQ(fetcher.ask(u"readProgress test:a"_s), u"- Ready"_s);
}

TEST_F(FetchCoordinationTest, tryStartRetrieve_fetcherDied_watcherTakesOver)
{
    startBoth();
    const qint64 dead = fetcher.clientId();
    fetcher.kill();
    // Until somebody cleans up, nobody can know.
    EXPECT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"false"_s);

    cleanUpAfter(dead);
    EXPECT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    finish(watcher);
    EXPECT_EQ(database.status(reference), u"Ready"_s);
}

TEST_F(FetchCoordinationTest, ping_ofTheWatcher_cleansUpAfterADeadFetcher)
{
    startBoth();
    database.setLastPing(fetcher.clientId(), 31s);
    fetcher.kill();
    EXPECT_EQ(watcher.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(database.count(u"Clients"_s), 1);
    EXPECT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
}

TEST_F(FetchCoordinationTest, tryStartRetrieve_watcherDied_fetcherIsNotDisturbed)
{
    startBoth();
    const qint64 dead = watcher.clientId();
    watcher.kill();
    cleanUpAfter(dead);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 1);
    EXPECT_EQ(database.status(reference), u"Acquiring"_s);
    finish(fetcher);
    EXPECT_EQ(database.status(reference), u"Ready"_s);
}

TEST_F(FetchCoordinationTest, cleanUp_fetcherDiedWithNobodyElse_isMissing)
{
    ASSERT_EQ(fetcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    const qint64 dead = fetcher.clientId();
    fetcher.kill();
    cleanUpAfter(dead);
    EXPECT_EQ(database.status(reference), u"Missing"_s);
    EXPECT_EQ(watcher.ask(u"readProgress test:a"_s), u"- Missing"_s);
}

// Taken for dead though it lives: it has no row any more, and everything it does is harmless.
TEST_F(FetchCoordinationTest, stop_fetcherCleanedUpMeanwhile_goesOnWithoutHarm)
{
    startBoth();
    const qint64 stopped = fetcher.clientId();
    fetcher.stop();
    database.setLastPing(stopped, 40s);
    const CacheProcess anybody(cache.baseDir());
    EXPECT_EQ(watcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);

    fetcher.cont();
    EXPECT_EQ(fetcher.ask(u"saveProgress test:a 90"_s), u"ok"_s);
    EXPECT_EQ(watcher.ask(u"readProgress test:a"_s), u"0 Acquiring"_s);
    EXPECT_EQ(fetcher.clientId(), -1);

    finish(watcher);
    EXPECT_EQ(fetcher.ask(u"readProgress test:a"_s), u"- Ready"_s);
    EXPECT_EQ(fetcher.ask(u"dropHandle test:a"_s), u"true"_s);
    EXPECT_EQ(fetcher.ask(u"exit"_s), u"ok"_s);
    EXPECT_EQ(fetcher.end(), 0);
}
