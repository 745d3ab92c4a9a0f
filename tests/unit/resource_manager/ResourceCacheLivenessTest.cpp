#include "support/CacheFixture.h"

#include "ResourceRetrieveHandle.h"

#include <QTest>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// This process is client 1. Dead clients are rows that tests write.
class ResourceCacheLivenessTest : public CacheFixture
{
protected:
    void SetUp() override { openCache(); }

    void addClient(qint64 id, std::chrono::milliseconds silence)
    {
        database().run(u"INSERT INTO Clients(id, processId, lastPingTime) VALUES (?, ?, 0)"_s,
                       { id, 5000000 + id });
        database().setLastPing(id, silence);
    }
    /// A resource that the client had begun to fetch.
    void addFetch(const QString &reference, qint64 clientId)
    {
        ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
        database().run(u"INSERT INTO AcquiringTasks(resourceId, progress, clientId) VALUES "
                       "((SELECT id FROM CachedResources WHERE reference = ?), 40, ?)"_s,
                       { reference, clientId });
        database().run(u"UPDATE CachedResources SET status = 'Acquiring', "
                       "lastStatusUpdateClientId = ? WHERE reference = ?"_s,
                       { clientId, reference });
    }
    bool hasClient(qint64 id) const
    {
        return database().value(u"SELECT 1 FROM Clients WHERE id = ?"_s, { id }).isValid();
    }
    /// Waits for the next ping of this cache.
    void ping()
    {
        database().setLastPing(1, 20s);
        const auto last = [this] {
            return database()
                .value(u"SELECT lastPingTime FROM Clients WHERE id = 1"_s)
                .toLongLong();
        };
        const qint64 before = last();
        ASSERT_TRUE(QTest::qWaitFor([&] { return last() > before; }, 15000));
    }
};

} // namespace

namespace {

struct Silence
{
    const char *name;
    std::chrono::seconds length; ///< when somebody looks
    bool isByOpening; ///< else by a ping
    bool isAlive;
};

void PrintTo(const Silence &silence, std::ostream *out)
{
    *out << silence.name;
}

class ResourceCacheLivenessSilenceTest : public ResourceCacheLivenessTest,
                                         public testing::WithParamInterface<Silence>
{
protected:
    /// Lets each look find the client silent for exactly so long.
    void keepSilent(qint64 id, std::chrono::milliseconds length)
    {
        for (const QString &look : { u"INSERT"_s, u"UPDATE"_s }) {
            database().run(
                u"CREATE TRIGGER silence%1 AFTER %1 ON Clients WHEN NEW.id NOT IN (8, 9) "
                "BEGIN UPDATE Clients SET lastPingTime = NEW.lastPingTime - %2 "
                "WHERE id = %3; END"_s.arg(look, QString::number(length.count()),
                                           QString::number(id)));
        }
    }
    void look()
    {
        if (!GetParam().isByOpening)
            return;
        cache.close();
        openCache();
    }
};

} // namespace

TEST_P(ResourceCacheLivenessSilenceTest, look_clientWithAFetch_goesAfterHalfAMinuteWithItsTask)
{
    addClient(8, 60s);
    addClient(9, GetParam().length);
    addFetch(u"test:a"_s, 9);
    keepSilent(9, GetParam().length);
    look();
    // Both are judged at once.
    ASSERT_TRUE(QTest::qWaitFor([&] { return !hasClient(8); }, 15000));
    const bool isAlive = GetParam().isAlive;
    EXPECT_EQ(hasClient(9), isAlive);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), isAlive ? 1 : 0);
    EXPECT_EQ(database().status(u"test:a"_s), isAlive ? u"Acquiring"_s : u"Missing"_s);
    const ResourceRetrieveHandle watcher(u"test:a"_s, dataPath(u"x"_s), &cache, {});
    EXPECT_EQ(watcher.readProgress().value().progress.has_value(), isAlive);
}

INSTANTIATE_TEST_SUITE_P(BeforeAndAfter30Seconds, ResourceCacheLivenessSilenceTest,
                         testing::Values(Silence { "pingAfter27Seconds", 27s, false, true },
                                         Silence { "pingAfter31Seconds", 31s, false, false },
                                         Silence { "openAfter27Seconds", 27s, true, true },
                                         Silence { "openAfter31Seconds", 31s, true, false }),
                         [](const auto &silence) { return std::string(silence.param.name); });

TEST_F(ResourceCacheLivenessTest, open_deadClientWithUsage_usageGoesAtThatOpenOrTheNext)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    addClient(9, 31s);
    database().run(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (1, 9)"_s);
    const auto other = otherClient();

    // The clean-up of a dead client finds no usage; the row counts until somebody opens or closes.
    EXPECT_FALSE(hasClient(9));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
    EXPECT_TRUE(cache.inUse(u"test:a"_s).value());
    EXPECT_TRUE(QFileInfo::exists(dataPath(u"s/a/f"_s)));

    other->close();
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
    EXPECT_TRUE(QFileInfo::exists(dataPath(u"s/a/f"_s)));
}

TEST_F(ResourceCacheLivenessTest, open_deadFetcherAndWatcherElsewhere_revertsAsTheOtherTasksSay)
{
    addClient(9, 31s);
    addFetch(u"test:a"_s, 9);
    addFetch(u"test:b"_s, 1);
    database().run(u"INSERT INTO AcquiringTasks(resourceId, clientId) VALUES (1, 1)"_s);
    const auto other = otherClient();
    // A task for another resource exists, so the watched one is scheduled again.
    EXPECT_EQ(database().status(u"test:a"_s), u"ScheduledForAcquire"_s);
    EXPECT_EQ(database().status(u"test:b"_s), u"Acquiring"_s);
}

TEST_F(ResourceCacheLivenessTest, open_oneOfTwoCleanupsFails_keepsBothForTheNextTry)
{
    addClient(8, 31s);
    addClient(9, 31s);
    // The last one's row cannot go.
    database().run(u"CREATE TRIGGER stuck BEFORE DELETE ON Clients WHEN OLD.id = 9 "
                   "BEGIN SELECT RAISE(ABORT, 'stuck'); END"_s);
    TestCache other(std::make_unique<OtherProcessDao>(4000001));
    EXPECT_TRUE(other.open(cachePath(), {}).hasError());
    EXPECT_TRUE(hasClient(8));
    EXPECT_TRUE(hasClient(9));

    database().run(u"DROP TRIGGER stuck"_s);
    ping();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !hasClient(8) && !hasClient(9); }, 15000));
}

TEST_F(ResourceCacheLivenessTest, ping_cleanupFails_keepsAllAndTheNextTickRepeats)
{
    addClient(8, 31s);
    addClient(9, 31s);
    addFetch(u"test:a"_s, 8);
    database().run(u"CREATE TRIGGER stuck BEFORE DELETE ON Clients WHEN OLD.id = 9 "
                   "BEGIN SELECT RAISE(ABORT, 'stuck'); END"_s);
    const LogCapture log;
    ping();
    EXPECT_TRUE(QTest::qWaitFor([&] { return log.contains(QtWarningMsg, u"stuck"_s); }, 15000));
    EXPECT_TRUE(hasClient(8));
    EXPECT_TRUE(hasClient(9));
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 1);
    EXPECT_EQ(database().status(u"test:a"_s), u"Acquiring"_s);

    database().run(u"DROP TRIGGER stuck"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !hasClient(8) && !hasClient(9); }, 15000));
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
}

TEST_F(ResourceCacheLivenessTest, ping_ownRowRemovedByAnother_goesOnUnregistered)
{
    database().run(u"DELETE FROM Clients"_s);
    addClient(9, 31s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !hasClient(9); }, 15000)); // it still pings
    EXPECT_EQ(database().count(u"Clients"_s), 0);
    EXPECT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    EXPECT_TRUE(cache.isOpen());
}
