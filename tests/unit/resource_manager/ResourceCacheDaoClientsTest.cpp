#include "ResourceCacheDaoFixture.h"

using namespace zel;
using namespace zel::test;
using namespace std::chrono_literals;

namespace {

/// Rows of clients, and what is left of those that died.
class ResourceCacheDaoClientsTest : public OpenResourceCacheDaoFixture
{
protected:
    void revertStatusesOf(qint64 clientId)
    {
        const Context context = transaction();
        EXPECT_TRUE(succeeded(dao.updateIntermediateStatusesForClient(context.get(), clientId)));
        EXPECT_TRUE(succeeded(context->commit()));
    }

    /// What a cache does with the tasks and statuses of a client that died, in its order.
    void cleanUpAfter(qint64 clientId)
    {
        const Context context = transaction();
        EXPECT_TRUE(succeeded(dao.deleteRetrievingTasksForClient(context.get(), clientId)));
        EXPECT_TRUE(succeeded(dao.updateIntermediateStatusesForClient(context.get(), clientId)));
        EXPECT_TRUE(succeeded(dao.deleteClientById(clientId)));
        EXPECT_TRUE(succeeded(context->commit()));
    }

    QList<qint64> inactive(std::chrono::seconds timeout)
    {
        const Context context = transaction();
        const auto found = dao.selectInactiveClients(context.get(), timeout);
        EXPECT_TRUE(succeeded(found));
        return found.value();
    }
};

} // namespace

// ---- Rows

TEST_F(ResourceCacheDaoClientsTest, updateClientLastPingTime_ownRow_aloneIsChanged)
{
    addClient(1'000'001, 1h);
    EXPECT_TRUE(succeeded(dao.updateClientLastPingTime(5'000'000'000)));
    EXPECT_EQ(database().column(u"SELECT processId FROM Clients WHERE lastPingTime = 5000000000"_s),
              QStringList({ QString::number(QCoreApplication::applicationPid()) }));
}

TEST_F(ResourceCacheDaoClientsTest, updateClientLastPingTime_rowGone_insertsNone)
{
    database().run(u"DELETE FROM Clients"_s);
    EXPECT_TRUE(succeeded(dao.updateClientLastPingTime(5)));
    EXPECT_EQ(database().count(u"Clients"_s), 0);
}

TEST_F(ResourceCacheDaoClientsTest, selectInactiveClients_bySilence_takesTheLongerSilentOnly)
{
    const qint64 silent = addClient(1'000'001, 61s);
    addClient(1'000'002, 55s);
    EXPECT_EQ(inactive(60s), QList<qint64>({ silent }));
    EXPECT_EQ(inactive(62s), QList<qint64>());
}

TEST_F(ResourceCacheDaoClientsTest, selectInactiveClients_ownSilentRow_isNotSpared)
{
    database().setLastPing(ownClientId(), 61s);
    EXPECT_EQ(inactive(60s), QList<qint64>({ ownClientId() }));
}

TEST_F(ResourceCacheDaoClientsTest, deleteClientById_client_leavesItsRowsBehind)
{
    insert(u"test:a"_s);
    const qint64 dead = addClient(1'000'001);
    addUsage(u"test:a"_s, dead);
    addTask(u"test:a"_s, dead);
    EXPECT_TRUE(succeeded(dao.deleteClientById(dead)));
    EXPECT_EQ(database().count(u"Clients"_s), 1);
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 1);
    EXPECT_TRUE(succeeded(dao.deleteClientById(dead)));
}

// ---- Statuses of a client that died

TEST_F(ResourceCacheDaoClientsTest, updateIntermediateStatuses_noTransientRows_changesNothing)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    insert(u"test:b"_s);
    insert(u"test:c"_s);
    setTransient(u"test:c"_s, ResourceStatus::Acquiring, 4712);
    revertStatusesOf(4711);
    revertStatusesOf(ownClientId());
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    EXPECT_EQ(database().status(u"test:b"_s), u"Missing"_s);
    EXPECT_EQ(database().status(u"test:c"_s), u"Acquiring"_s);
}

TEST_F(ResourceCacheDaoClientsTest, updateIntermediateStatuses_taskForAOnly_decidesByTheOthers)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    addTask(u"test:a"_s, 4712);
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, 4711);
    setTransient(u"test:b"_s, ResourceStatus::ScheduledForAcquire, 4711);
    revertStatusesOf(4711);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().status(u"test:b"_s), u"ScheduledForAcquire"_s);
}

TEST_F(ResourceCacheDaoClientsTest, updateIntermediateStatuses_reverted_keepsAccessAndWriter)
{
    insert(u"test:a"_s, ResourceStatus::Missing, 99);
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, 4711);
    revertStatusesOf(4711);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().value(u"SELECT lastAccessDateTime FROM CachedResources"_s), 99);
    EXPECT_EQ(database().value(u"SELECT lastStatusUpdateClientId FROM CachedResources"_s), 4711);
}

TEST_F(ResourceCacheDaoClientsTest, cleanUp_deadClientHeldTheOnlyTask_isMissing)
{
    insert(u"test:a"_s);
    insert(u"test:other"_s);
    const qint64 dead = addClient(1'000'001);
    addTask(u"test:a"_s, dead, 10);
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, dead);
    addTask(u"test:other"_s, ownClientId());
    cleanUpAfter(dead);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(dao.readProgress(u"test:a"_s).value(), std::nullopt);
}

TEST_F(ResourceCacheDaoClientsTest, cleanUp_anotherClientWaitsAlone_isMissingWithALiveTask)
{
    insert(u"test:a"_s);
    const qint64 dead = addClient(1'000'001);
    addTask(u"test:a"_s, dead, 10);
    addTask(u"test:a"_s, ownClientId());
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, dead);
    cleanUpAfter(dead);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 1);
}

TEST_F(ResourceCacheDaoClientsTest, cleanUp_anotherClientWaitsAmongOthers_isScheduled)
{
    insert(u"test:a"_s);
    insert(u"test:other"_s);
    const qint64 dead = addClient(1'000'001);
    addTask(u"test:a"_s, dead, 10);
    addTask(u"test:a"_s, ownClientId());
    addTask(u"test:other"_s, ownClientId());
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, dead);
    cleanUpAfter(dead);
    EXPECT_EQ(database().status(u"test:a"_s), u"ScheduledForAcquire"_s);
}

TEST_F(ResourceCacheDaoClientsTest, cleanUp_transientWithoutAnyTask_isScheduledIfOthersAre)
{
    insert(u"test:a"_s);
    insert(u"test:other"_s);
    const qint64 dead = addClient(1'000'001);
    addTask(u"test:other"_s, ownClientId());
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, dead);
    cleanUpAfter(dead);
    EXPECT_EQ(database().status(u"test:a"_s), u"ScheduledForAcquire"_s);
    EXPECT_EQ(database().column(u"SELECT processId FROM Clients"_s).size(), 1);
}

TEST_F(ResourceCacheDaoClientsTest, cleanUp_readyResource_isNotTouched)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    const qint64 dead = addClient(1'000'001);
    addTask(u"test:a"_s, dead, 10);
    setTransient(u"test:a"_s, ResourceStatus::Ready, dead);
    cleanUpAfter(dead);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
}
