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
