#include "ResourceCacheDaoFixture.h"

using namespace zel;
using namespace zel::test;

namespace {

using ResourceCacheDaoUsagesTest = OpenResourceCacheDaoFixture;

} // namespace

// ---- Usages

TEST_F(ResourceCacheDaoUsagesTest, insertResourceUsage_known_recordsThisClient)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    const Context context = transaction();
    const auto first = dao.insertResourceUsage(context.get(), u"test:b"_s);
    const auto second = dao.insertResourceUsage(context.get(), u"test:b"_s);
    ASSERT_TRUE(succeeded(first));
    ASSERT_TRUE(succeeded(second));
    EXPECT_NE(first.value(), second.value());
    ASSERT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().column(u"SELECT id FROM ResourceUsages ORDER BY id"_s),
              QStringList({ QString::number(first.value()), QString::number(second.value()) }));
    EXPECT_EQ(database().value(u"SELECT resourceId FROM ResourceUsages"_s).toInt(),
              resourceId(u"test:b"_s));
    EXPECT_EQ(database().value(u"SELECT clientId FROM ResourceUsages"_s).toLongLong(),
              ownClientId());
    EXPECT_TRUE(dao.containsResourceUsage(u"test:b"_s).value());
    EXPECT_FALSE(dao.containsResourceUsage(u"test:a"_s).value());
}

TEST_F(ResourceCacheDaoUsagesTest, insertResourceUsage_unknownReference_failsAndLeavesNoRow)
{
    const Context context = transaction();
    EXPECT_TRUE(failedInDriver(dao.insertResourceUsage(context.get(), u"test:a"_s).error(),
                               u"NOT NULL constraint failed: ResourceUsages.resourceId"_s));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
}

TEST_F(ResourceCacheDaoUsagesTest, containsResourceUsage_otherClient_counts)
{
    insert(u"test:a"_s);
    addUsage(u"test:a"_s, 4711);
    EXPECT_TRUE(dao.containsResourceUsage(u"test:a"_s).value());
    EXPECT_FALSE(dao.containsResourceUsage(u"test:unknown"_s).value());
}

TEST_F(ResourceCacheDaoUsagesTest, deleteResourceUsage_knownAndUnknown_tellsHowMany)
{
    insert(u"test:a"_s);
    const Context context = transaction();
    const qint64 usage = dao.insertResourceUsage(context.get(), u"test:a"_s).value();
    EXPECT_EQ(dao.deleteResourceUsage(context.get(), usage + 1).value(), 0);
    EXPECT_EQ(dao.deleteResourceUsage(context.get(), usage).value(), 1);
    EXPECT_EQ(dao.deleteResourceUsage(context.get(), usage).value(), 0);
}

TEST_F(ResourceCacheDaoUsagesTest, deleteUsages_list_goesWithUnknownOnesInIt)
{
    insert(u"test:a"_s);
    const Context context = transaction();
    QList<qint64> usages;
    for (int i = 0; i < 3; ++i)
        usages.append(dao.insertResourceUsage(context.get(), u"test:a"_s).value());
    EXPECT_TRUE(succeeded(dao.deleteUsages(context.get(), {})));
    EXPECT_TRUE(succeeded(dao.deleteUsages(context.get(), { usages[0], 4711, usages[2] })));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().column(u"SELECT id FROM ResourceUsages"_s),
              QStringList({ QString::number(usages[1]) }));
}

TEST_F(ResourceCacheDaoUsagesTest, deleteUsages_failureOnTheWay_keepsWhatWasDeletedBefore)
{
    insert(u"test:a"_s);
    for (const qint64 client : { 1, 2, 3 })
        addUsage(u"test:a"_s, client);
    database().run(u"CREATE TRIGGER refuse BEFORE DELETE ON ResourceUsages WHEN OLD.clientId = 2 "
                   "BEGIN SELECT RAISE(ABORT, 'refused'); END"_s);
    const Context context = transaction();
    EXPECT_TRUE(failedInDriver(dao.deleteUsages(context.get(), { 1, 2, 3 }), u"refused"_s));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().column(u"SELECT clientId FROM ResourceUsages ORDER BY id"_s),
              QStringList({ u"2"_s, u"3"_s }));
}

TEST_F(ResourceCacheDaoUsagesTest, selectResourceUsagesForClient_clientWithUsages_isEmpty)
{
    insert(u"test:a"_s);
    const Context context = transaction();
    ASSERT_TRUE(succeeded(dao.insertResourceUsage(context.get(), u"test:a"_s)));
    const auto found = dao.selectResourceUsagesForClient(context.get(), ownClientId());
    ASSERT_TRUE(succeeded(found));
    EXPECT_TRUE(found.value().isEmpty());
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
}

TEST_F(ResourceCacheDaoUsagesTest, selectResourceUsagesForClient_tableAbsent_failsAtPrepare)
{
    database().run(u"DROP TABLE ResourceUsages"_s);
    // A connection learns of another's change of the schema only when it runs something.
    EXPECT_FALSE(succeeded(dao.containsResourceUsage(u"test:a"_s)));
    const Context context = transaction();
    const auto found = dao.selectResourceUsagesForClient(context.get(), 1);
    ASSERT_FALSE(found.hasValue());
    EXPECT_TRUE(failedInDriver(found.error(), u"no such table: ResourceUsages"_s));
}

// ---- What is in use

TEST_F(ResourceCacheDaoUsagesTest, selectPinnedSize_usedUnusedAndUnknownSizes_countsEachUsedOnce)
{
    for (const QString &name : { u"test:a"_s, u"test:b"_s, u"test:free"_s, u"test:new"_s })
        insert(name);
    setSize(u"test:a"_s, 100);
    setSize(u"test:b"_s, 20);
    setSize(u"test:free"_s, 3);
    setSize(u"test:new"_s, 0);
    for (const qint64 client : { 7, 7, 8 }) {
        addUsage(u"test:a"_s, client);
        addUsage(u"test:b"_s, client);
        addUsage(u"test:new"_s, client);
    }
    addTask(u"test:b"_s, 7, 40);
    addTask(u"test:b"_s, 8, 0);
    addTask(u"test:a"_s, 8); // merely wanted
    const auto pinned = dao.selectPinnedSize();
    ASSERT_TRUE(succeeded(pinned));
    EXPECT_EQ(pinned.value().count, 2);
    EXPECT_EQ(pinned.value().size, 120);
    EXPECT_EQ(pinned.value().fetchedCount, 1);
    EXPECT_EQ(pinned.value().fetchedSize, 20);
}

TEST_F(ResourceCacheDaoUsagesTest, selectPinnedSize_nothingUsed_isNothing)
{
    insert(u"test:a"_s);
    setSize(u"test:a"_s, 100);
    const auto pinned = dao.selectPinnedSize();
    ASSERT_TRUE(succeeded(pinned));
    EXPECT_EQ(pinned.value().count, 0);
    EXPECT_EQ(pinned.value().size, 0);
    EXPECT_EQ(pinned.value().fetchedCount, 0);
    EXPECT_EQ(pinned.value().fetchedSize, 0);
}

TEST_F(ResourceCacheDaoUsagesTest, selectPinningClients_severalUsers_givesTheLargestFirst)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    insert(u"test:unknown"_s);
    setSize(u"test:a"_s, 100);
    setSize(u"test:b"_s, 20);
    const qint64 living = addClient(4000001);
    addUsage(u"test:b"_s, living);
    addUsage(u"test:a"_s, 70);
    addUsage(u"test:a"_s, 70);
    addUsage(u"test:b"_s, 70);
    addUsage(u"test:a"_s, 71);
    addUsage(u"test:unknown"_s, 72);
    const auto clients = dao.selectPinningClients(3);
    ASSERT_TRUE(succeeded(clients));
    ASSERT_EQ(clients.value().size(), 3);
    EXPECT_EQ(clients.value().at(0).clientId, 70);
    EXPECT_EQ(clients.value().at(0).count, 2);
    EXPECT_EQ(clients.value().at(0).size, 120);
    EXPECT_FALSE(clients.value().at(0).processId.has_value());
    EXPECT_EQ(clients.value().at(1).clientId, 71);
    EXPECT_EQ(clients.value().at(2).clientId, living);
    EXPECT_EQ(clients.value().at(2).processId, 4000001);
    EXPECT_EQ(dao.selectPinningClients(1).value().size(), 1);
}

// ---- Acquiring tasks

TEST_F(ResourceCacheDaoUsagesTest, addRetrievingTask_missingResource_schedulesIt)
{
    insert(u"test:a"_s);
    EXPECT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    EXPECT_EQ(database().status(u"test:a"_s), u"ScheduledForAcquire"_s);
    EXPECT_EQ(database().value(u"SELECT clientId FROM AcquiringTasks"_s).toLongLong(),
              ownClientId());
    EXPECT_TRUE(succeeded(dao.deleteRetrievingTask(u"test:a"_s)));
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
}

TEST_F(ResourceCacheDaoUsagesTest, addRetrievingTask_unknownReference_failsAndLeavesNoRow)
{
    EXPECT_TRUE(failedInDriver(dao.addRetrievingTask(u"test:a"_s),
                               u"NOT NULL constraint failed: AcquiringTasks.resourceId"_s));
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
}

TEST_F(ResourceCacheDaoUsagesTest, deleteRetrievingTask_readyResource_staysReady)
{
    insert(u"test:a"_s, ResourceStatus::Ready);
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    EXPECT_TRUE(succeeded(dao.deleteRetrievingTask(u"test:a"_s)));
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
}

TEST_F(ResourceCacheDaoUsagesTest, deleteRetrievingTask_otherClientsTask_staysAndTheStatusWithIt)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:b"_s)));
    addTask(u"test:a"_s, 4711);
    setTransient(u"test:a"_s, ResourceStatus::Acquiring, 4711);
    EXPECT_TRUE(succeeded(dao.deleteRetrievingTask(u"test:a"_s)));
    EXPECT_EQ(database().status(u"test:a"_s), u"Acquiring"_s);
    EXPECT_EQ(database().status(u"test:b"_s), u"ScheduledForAcquire"_s);
    EXPECT_EQ(database().column(u"SELECT clientId FROM AcquiringTasks ORDER BY clientId"_s),
              QStringList({ QString::number(ownClientId()), u"4711"_s }));
}

TEST_F(ResourceCacheDaoUsagesTest, progress_fromTaskToReportAndBack_decidesWhetherItRuns)
{
    insert(u"test:a"_s);
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    EXPECT_FALSE(dao.retrieveInProgress(u"test:a"_s).value());
    EXPECT_EQ(dao.readProgress(u"test:a"_s).value(), std::nullopt);

    ASSERT_TRUE(succeeded(dao.updateProgress(u"test:a"_s, 0)));
    EXPECT_TRUE(dao.retrieveInProgress(u"test:a"_s).value());
    EXPECT_EQ(dao.readProgress(u"test:a"_s).value(), std::optional<int>(0));
    EXPECT_EQ(database().value(u"SELECT progress FROM AcquiringTasks"_s), 0);

    ASSERT_TRUE(succeeded(dao.updateProgress(u"test:a"_s, 42)));
    EXPECT_EQ(dao.readProgress(u"test:a"_s).value(), std::optional<int>(42));

    ASSERT_TRUE(succeeded(dao.updateProgress(u"test:a"_s, std::nullopt)));
    EXPECT_FALSE(dao.retrieveInProgress(u"test:a"_s).value());
    EXPECT_EQ(dao.readProgress(u"test:a"_s).value(), std::nullopt);
}

TEST_F(ResourceCacheDaoUsagesTest, readProgress_otherClientFetches_givesItsProgress)
{
    insert(u"test:a"_s);
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    addTask(u"test:a"_s, 4711, 7);
    EXPECT_TRUE(dao.retrieveInProgress(u"test:a"_s).value());
    EXPECT_EQ(dao.readProgress(u"test:a"_s).value(), std::optional<int>(7));
    EXPECT_FALSE(dao.retrieveInProgress(u"test:unknown"_s).value());
}

TEST_F(ResourceCacheDaoUsagesTest, updateProgress_otherTasks_areLeftAlone)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    EXPECT_TRUE(succeeded(dao.updateProgress(u"test:a"_s, 5)));
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);

    addTask(u"test:a"_s, 4711, 1);
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:b"_s)));
    EXPECT_TRUE(succeeded(dao.updateProgress(u"test:a"_s, 50)));
    EXPECT_EQ(database().column(u"SELECT COALESCE(progress, 'none') FROM AcquiringTasks "
                                "ORDER BY id"_s),
              QStringList({ u"1"_s, u"50"_s, u"none"_s }));
}

TEST_F(ResourceCacheDaoUsagesTest, deleteRetrievingTasksForClient_client_giveUpByTheTrigger)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    addTask(u"test:a"_s, 4711);
    addTask(u"test:b"_s, 4711);
    addTask(u"test:b"_s, 4712);
    {
        const Context context = transaction();
        EXPECT_TRUE(succeeded(dao.deleteRetrievingTasksForClient(context.get(), 4711)));
        EXPECT_TRUE(succeeded(context->commit()));
    }
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().status(u"test:b"_s), u"ScheduledForAcquire"_s);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 1);
}
