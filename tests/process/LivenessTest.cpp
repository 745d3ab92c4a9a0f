#include "CacheDatabase.h"
#include "CacheProcess.h"
#include "FetchProcess.h"
#include "TemporaryCache.h"
#include "WaitUntil.h"

#include <QDateTime>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Who is alive, who counts as dead, and what is left of the dead.
class LivenessTest : public testing::Test
{
protected:
    LivenessTest()
        : resident(cache.baseDir())
        , database(cache.databasePath())
    {
    }

    /// As a process of the same number has left it, in another container or before the machine was
    /// started anew.
    void enterClient(qint64 processId, std::chrono::milliseconds age)
    {
        database.run(u"INSERT INTO Clients (processId, lastPingTime) VALUES (?, ?)"_s,
                     { processId, QDateTime::currentMSecsSinceEpoch() - qint64 { age.count() } });
    }

    int clientsOf(qint64 processId)
    {
        return database.value(u"SELECT COUNT(*) FROM Clients WHERE processId = ?"_s, { processId })
            .toInt();
    }

    /// Lets every ping of the resident find the client silent for exactly so long.
    void keepSilent(qint64 clientId, std::chrono::milliseconds age)
    {
        database.run(u"CREATE TRIGGER silence AFTER UPDATE OF lastPingTime ON Clients "
                     "WHEN NEW.id = %1 BEGIN UPDATE Clients SET lastPingTime = NEW.lastPingTime - "
                     "%2 WHERE id = %3; END"_s.arg(QString::number(resident.clientId()),
                                                   QString::number(age.count()),
                                                   QString::number(clientId)));
    }

    /// What must be true of the tables whatever has happened.
    void expectConsistentRows()
    {
        EXPECT_EQ(database
                      .value(u"SELECT COUNT(*) FROM CachedResources WHERE status IN "
                             "('Acquiring', 'ScheduledForAcquire') AND id NOT IN "
                             "(SELECT resourceId FROM AcquiringTasks)"_s)
                      .toInt(),
                  0);
        EXPECT_EQ(database.value(u"SELECT currentSize FROM CacheMetadata"_s),
                  database.value(u"SELECT COALESCE(SUM(fileSize), 0) FROM CachedResources"_s));
        EXPECT_EQ(database.value(u"PRAGMA integrity_check"_s).toString(), u"ok"_s);
    }

    TemporaryCache cache;
    CacheProcess resident;
    CacheDatabase database;
};

} // namespace

TEST_F(LivenessTest, open_everyProcess_isRegisteredOnce)
{
    const CacheProcess other(cache.baseDir());
    EXPECT_EQ(database.count(u"Clients"_s), 2);
    EXPECT_NE(other.clientId(), resident.clientId());
}

TEST_F(LivenessTest, exit_ofAProcess_takesItsRowAlong)
{
    CacheProcess other(cache.baseDir());
    EXPECT_EQ(other.ask(u"useResource test:a"_s), u"ok"_s);
    EXPECT_EQ(other.ask(u"exit"_s), u"ok"_s);
    EXPECT_EQ(other.end(), 0);
    EXPECT_EQ(database.count(u"Clients"_s), 1);
    EXPECT_EQ(database.count(u"ResourceUsages"_s), 0);
}

TEST_F(LivenessTest, ping_ofALivingProcess_tellsThatItIsAlive)
{
    database.setLastPing(resident.clientId(), 20s);
    const auto before = QDateTime::currentMSecsSinceEpoch();
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_GE(database.value(u"SELECT lastPingTime FROM Clients"_s).toLongLong(), before);
}

TEST_F(LivenessTest, ping_removesTheDead_leavesTheMerelySilent)
{
    CacheProcess dead(cache.baseDir());
    CacheProcess silent(cache.baseDir());
    database.setLastPing(dead.clientId(), 31s);
    // Even after the longest wait for the next ping it is below 30 s.
    database.setLastPing(silent.clientId(), 15s);
    dead.kill();
    // An answer means that no worker of it holds the semaphore any more: stopped with it, it would
    // stop everybody.
    EXPECT_EQ(silent.ask(u"readStatus test:a"_s), u"Missing"_s);
    silent.stop();
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(dead.pid()), 0);
    EXPECT_EQ(clientsOf(silent.pid()), 1);
    silent.cont();
}

namespace {

struct Silence
{
    const char *name;
    std::chrono::seconds length;
    int rowsLeft; ///< of the clients and of the tasks
    QString progress;
};

void PrintTo(const Silence &silence, std::ostream *out)
{
    *out << silence.name;
}

class LivenessSilentFetcherTest : public LivenessTest, public testing::WithParamInterface<Silence>
{
};

} // namespace

TEST_P(LivenessSilentFetcherTest, ping_killedFetcher_losesItsRowsAfterHalfAMinuteButNotTheUsage)
{
    CacheProcess fetcher(cache.baseDir());
    ASSERT_EQ(fetcher.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(fetcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    keepSilent(fetcher.clientId(), GetParam().length);
    fetcher.kill();
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(fetcher.pid()), GetParam().rowsLeft);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), GetParam().rowsLeft);
    EXPECT_EQ(resident.ask(u"readProgress test:a"_s), GetParam().progress);
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"true"_s);
    expectConsistentRows();
}

INSTANTIATE_TEST_SUITE_P(BeforeAndAfter30Seconds, LivenessSilentFetcherTest,
                         testing::Values(Silence { "after27Seconds", 27s, 1, u"0 Acquiring"_s },
                                         Silence { "after31Seconds", 31s, 0, u"- Missing"_s }),
                         [](const auto &silence) { return std::string(silence.param.name); });

TEST_F(LivenessTest, ping_deadUsersRow_usageStaysUntilAnyProcessCloses)
{
    CacheProcess closer(cache.baseDir());
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource test:a"_s), u"ok"_s);
    keepSilent(user.clientId(), 31s);
    user.kill();
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(user.pid()), 0);
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"true"_s);
    EXPECT_EQ(closer.ask(u"close"_s), u"ok"_s);
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"false"_s);
}

TEST_F(LivenessTest, open_usageOfAClientThatIsGone_isTakenAlong)
{
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource test:a"_s), u"ok"_s);
    keepSilent(user.clientId(), 31s);
    user.kill();
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"true"_s);
    const CacheProcess newcomer(cache.baseDir());
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"false"_s);
}

TEST_F(LivenessTest, ping_cleanupFails_keepsEveryRowAndTheNextTickRepeats)
{
    CacheProcess one(cache.baseDir());
    CacheProcess other(cache.baseDir());
    ASSERT_EQ(one.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(one.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    database.setLastPing(one.clientId(), 31s);
    database.setLastPing(other.clientId(), 31s);
    database.run(u"CREATE TRIGGER stuck BEFORE DELETE ON Clients WHEN OLD.id = %1 "
                 "BEGIN SELECT RAISE(ABORT, 'stuck'); END"_s.arg(other.clientId()));
    one.kill();
    other.kill();

    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(database.count(u"Clients"_s), 3);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 1);
    EXPECT_EQ(database.status(u"test:a"_s), u"Acquiring"_s);

    database.run(u"DROP TRIGGER stuck"_s);
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(database.count(u"Clients"_s), 1);
    EXPECT_EQ(database.status(u"test:a"_s), u"Missing"_s);
    expectConsistentRows();
}

TEST_F(LivenessTest, hold_holderIsKilled_othersGoOnAndItsRowsGoInTime)
{
    CacheProcess holder(cache.baseDir());
    ASSERT_EQ(holder.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(holder.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    keepSilent(holder.clientId(), 31s);
    holder.hold();
    resident.startHold();
    EXPECT_TRUE(resident.isBlocked());
    holder.kill();
    resident.awaitHeld();
    resident.unhold();

    EXPECT_EQ(database.status(u"test:a"_s), u"Acquiring"_s);
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(holder.pid()), 0);
    EXPECT_EQ(database.status(u"test:a"_s), u"Missing"_s);
    expectConsistentRows();
}

// 1. The holder has the semaphore for so long that nobody could ping. 2. The resident's ping waits
// for it, the client behind that. 3. The ping finds a client that has been silent for too long.
TEST_F(LivenessTest, hold_clientWaitsTooLong_isTakenForDeadAndGoesOn)
{
    CacheProcess holder(cache.baseDir());
    CacheProcess client(cache.baseDir());
    ASSERT_EQ(client.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(client.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    client.stop(); // so that its own ping does not come first
    holder.hold();
    resident.send(u"announcedPing"_s);
    ASSERT_EQ(resident.answer(), u"pinging"_s);
    ASSERT_TRUE(resident.isBlocked());
    database.setLastPing(client.clientId(), 31s);
    client.send(u"hold"_s);
    client.cont();
    ASSERT_EQ(client.answer(), u"taking"_s);
    ASSERT_TRUE(client.isBlocked());
    holder.unhold();
    EXPECT_EQ(resident.answer(), u"ok"_s);
    client.awaitHeld();
    client.unhold();

    EXPECT_EQ(clientsOf(client.pid()), 0);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database.status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(client.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(client.pid()), 0);
    EXPECT_EQ(client.ask(u"saveProgress test:a 60"_s), u"ok"_s);
    EXPECT_EQ(client.ask(u"writeData test:a data"_s), u"true"_s);
    EXPECT_EQ(client.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
    EXPECT_EQ(resident.ask(u"readStatus test:a"_s), u"Ready"_s);
    EXPECT_EQ(client.ask(u"exit"_s), u"ok"_s);
    EXPECT_EQ(client.end(), 0);
    expectConsistentRows();
}

TEST_F(LivenessTest, open_ofAnyProcess_removesTheDead)
{
    CacheProcess dead(cache.baseDir());
    EXPECT_EQ(dead.ask(u"useResource test:a"_s), u"ok"_s);
    database.setLastPing(dead.clientId(), 31s);
    dead.kill();
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"true"_s);

    {
        const CacheProcess first(cache.baseDir());
        EXPECT_EQ(clientsOf(dead.pid()), 0);
    }
    // Usages of the dead go with the next opening.
    const CacheProcess second(cache.baseDir());
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"false"_s);
}

TEST_F(LivenessTest, stop_processCleanedUpMeanwhile_goesOnWithoutARow)
{
    CacheProcess sleeper(cache.baseDir());
    EXPECT_EQ(sleeper.ask(u"useResource test:a"_s), u"ok"_s);
    sleeper.stop();
    database.setLastPing(sleeper.clientId(), 40s);
    EXPECT_EQ(CacheProcess(cache.baseDir()).ask(u"exit"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(sleeper.pid()), 0);

    sleeper.cont();
    EXPECT_EQ(sleeper.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(sleeper.pid()), 0);
    EXPECT_EQ(sleeper.ask(u"release test:a"_s), u"true"_s);
    EXPECT_EQ(sleeper.ask(u"readStatus test:a"_s), u"Missing"_s);
    EXPECT_EQ(sleeper.ask(u"close"_s), u"ok"_s);
    EXPECT_EQ(sleeper.ask(u"open"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(sleeper.pid()), 1);
}

// Another process has taken over meanwhile: whatever the sleeper does to end its fetch, the other's
// stays whole.
TEST_F(LivenessTest, stop_fetcherCleanedUpMeanwhile_endsItsFetchBesideTheNewOne)
{
    CacheProcess sleeper(cache.baseDir());
    ASSERT_EQ(sleeper.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(sleeper.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    keepSilent(sleeper.clientId(), 40s);
    sleeper.stop();
    EXPECT_EQ(resident.ask(u"ping"_s), u"ok"_s);
    database.run(u"DROP TRIGGER silence"_s);
    ASSERT_EQ(clientsOf(sleeper.pid()), 0);
    ASSERT_EQ(resident.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(resident.ask(u"tryStartRetrieve test:a"_s), u"true"_s);

    sleeper.cont();
    EXPECT_EQ(sleeper.ask(u"saveProgress test:a 70"_s), u"ok"_s);
    EXPECT_EQ(resident.ask(u"readProgress test:a"_s), u"0 Acquiring"_s);
    EXPECT_EQ(sleeper.ask(u"ping"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(sleeper.pid()), 0);
    EXPECT_EQ(sleeper.ask(u"writeData test:a data"_s), u"true"_s);
    EXPECT_EQ(sleeper.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
    EXPECT_EQ(sleeper.ask(u"removeTaskFromDatabase test:a"_s), u"ok"_s);
    EXPECT_EQ(sleeper.ask(u"release test:a"_s), u"true"_s);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 1);

    EXPECT_EQ(resident.ask(u"writeData test:a data"_s), u"true"_s);
    EXPECT_EQ(resident.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
    EXPECT_EQ(resident.ask(u"removeTaskFromDatabase test:a"_s), u"ok"_s);
    EXPECT_EQ(sleeper.ask(u"readStatus test:a"_s), u"Ready"_s);
    EXPECT_EQ(sleeper.ask(u"close"_s), u"ok"_s);
    EXPECT_EQ(sleeper.ask(u"exit"_s), u"ok"_s);
    EXPECT_EQ(sleeper.end(), 0);
    EXPECT_EQ(resident.ask(u"inUse test:a"_s), u"true"_s);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    expectConsistentRows();
}

TEST_F(LivenessTest, open_deadProcessHadTheSameNumber_takesItsPlace)
{
    CacheProcess newcomer(cache.baseDir(), CacheProcess::Start::Closed);
    enterClient(newcomer.pid(), 11s);
    newcomer.ask(u"open"_s); // the manager tries twice as well
    EXPECT_EQ(newcomer.ask(u"open"_s), u"ok"_s);
    EXPECT_EQ(clientsOf(newcomer.pid()), 1);
    EXPECT_EQ(newcomer.ask(u"useResource test:a"_s), u"ok"_s);
}

TEST_F(LivenessTest, open_livingProcessHasTheSameNumber_isNotDisturbed)
{
    CacheProcess newcomer(cache.baseDir(), CacheProcess::Start::Closed);
    enterClient(newcomer.pid(), 0s);
    const qint64 row = newcomer.clientId();
    EXPECT_TRUE(newcomer.ask(u"open"_s).startsWith(u"error "_s));
    EXPECT_EQ(newcomer.ask(u"isOpen"_s), u"false"_s);
    EXPECT_EQ(newcomer.clientId(), row);
}

TEST_F(LivenessTest, manager_processOfTheSameNumberDiedJustNow_waitsAndOpens)
{
    const FetchSource source(cache.outside(u"source"_s), 1000);
    FetchProcess newcomer(cache.baseDir(), source, { u"test:a"_s }, { .pauses = { u"begin"_s } });
    newcomer.awaitPause(u"begin"_s);
    enterClient(newcomer.pid(), 9500ms);
    newcomer.goOn();
    EXPECT_EQ(newcomer.answer(), cache.dataDir() + u"/test/a/data"_s);
    EXPECT_EQ(newcomer.end(), 0);
    EXPECT_EQ(resident.ask(u"readStatus test:a"_s), u"Ready"_s);
}
