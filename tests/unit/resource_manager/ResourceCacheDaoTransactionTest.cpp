#include "ResourceCacheDaoFixture.h"

#include <thread>

using namespace zel;
using namespace zel::test;

namespace {

using ResourceCacheDaoTransactionTest = OpenResourceCacheDaoFixture;

} // namespace

TEST_F(ResourceCacheDaoTransactionTest, context_destroyedWithoutCommit_undoesAll)
{
    insert(u"test:a"_s);
    {
        const Context context = transaction();
        ASSERT_TRUE(succeeded(
            dao.updateResourceStatus(context.get(), u"test:a"_s, ResourceStatus::Ready, 99)));
        ASSERT_TRUE(succeeded(dao.insertResourceUsage(context.get(), u"test:a"_s)));
        insert(u"test:b"_s);
    }
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
    EXPECT_EQ(database().count(u"CachedResources"_s), 1);
}

TEST_F(ResourceCacheDaoTransactionTest, context_committedThenDestroyed_keepsItsWork)
{
    insert(u"test:a"_s);
    {
        const Context context = transaction();
        ASSERT_TRUE(succeeded(
            dao.updateResourceStatus(context.get(), u"test:a"_s, ResourceStatus::Ready, 99)));
        EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
        EXPECT_TRUE(succeeded(context->commit()));
        EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    }
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    EXPECT_TRUE(succeeded(dao.createTransaction()));
}

TEST_F(ResourceCacheDaoTransactionTest, context_committedTwice_fails)
{
    const Context context = transaction();
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_FALSE(succeeded(context->commit()));
}

TEST_F(ResourceCacheDaoTransactionTest, context_committed_leavesTheFileToOthers)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    setSize(u"test:a"_s, 10);
    setSize(u"test:b"_s, 10);
    const Context context = transaction();
    // Stops after the first of two rows, so that the statement has more to give.
    ASSERT_EQ(dao.selectOldestReferencesWithCombinedSize(context.get(), 0).value().size(), 1);
    ASSERT_TRUE(succeeded(context->commit()));

    database().run(u"PRAGMA busy_timeout=0"_s);
    database().run(u"UPDATE CachedResources SET status = 'Ready'"_s);
    database().run(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    EXPECT_EQ(dao.selectStatus(u"test:a"_s).value(), ResourceStatus::Ready);
    EXPECT_TRUE(succeeded(dao.createTransaction()));
}

TEST_F(ResourceCacheDaoTransactionTest, contexts_nested_innerGoesWithTheOuter)
{
    insert(u"test:a"_s);
    {
        const Context outer = transaction();
        const Context inner = transaction();
        ASSERT_TRUE(succeeded(
            dao.updateResourceStatus(inner.get(), u"test:a"_s, ResourceStatus::Ready, 99)));
        EXPECT_TRUE(succeeded(inner->commit()));
    }
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
}

TEST_F(ResourceCacheDaoTransactionTest, insertResource_statementFails_leavesNoPartialRow)
{
    insert(u"test:a"_s, ResourceStatus::Missing, 1);
    EXPECT_TRUE(failedInDriver(
        dao.insertResource(u"test:a"_s, ResourceStatus::Ready, ResourceCleanupPolicy::Never, 2),
        u"UNIQUE constraint failed: CachedResources.reference"_s));
    EXPECT_EQ(database().count(u"CachedResources"_s), 1);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_TRUE(succeeded(dao.createTransaction()));
}

TEST_F(ResourceCacheDaoTransactionTest, insertResource_triggerFails_leavesNoPartialRow)
{
    database().run(u"DROP TABLE CacheMetadata"_s);
    EXPECT_TRUE(failedInDriver(
        dao.insertResource(u"test:a"_s, ResourceStatus::Ready, ResourceCleanupPolicy::Never, 2),
        u"no such table"_s));
    EXPECT_EQ(database().count(u"CachedResources"_s), 0);
}

TEST_F(ResourceCacheDaoTransactionTest, updateResourceCleanupPolicy_noRow_changesNothing)
{
    insert(u"test:a"_s);
    EXPECT_TRUE(
        succeeded(dao.updateResourceCleanupPolicy(u"test:b"_s, ResourceCleanupPolicy::Never)));
    EXPECT_EQ(database().column(u"SELECT cleanupPolicy FROM CachedResources"_s),
              QStringList({ u"OnDemand"_s }));
}

TEST_F(ResourceCacheDaoTransactionTest, deleteClientById_insideAContext_commitsWithIt)
{
    const qint64 dead = addClient(1'000'001);
    insert(u"test:a"_s);
    const Context context = transaction();
    ASSERT_TRUE(
        succeeded(dao.updateResourceStatus(context.get(), u"test:a"_s, ResourceStatus::Ready, 99)));
    EXPECT_TRUE(succeeded(dao.deleteClientById(dead)));
    EXPECT_EQ(database().count(u"Clients"_s), 2);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);

    ASSERT_TRUE(succeeded(dao.updateLastScanTimestamp(context.get(), 5)));
    EXPECT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().count(u"Clients"_s), 1);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    EXPECT_EQ(dao.lastScanTimestamp().value(), 5);
}

TEST_F(ResourceCacheDaoTransactionTest, deleteClientById_insideAContextGivenUp_isUndone)
{
    const qint64 dead = addClient(1'000'001);
    {
        const Context context = transaction();
        EXPECT_TRUE(succeeded(dao.deleteClientById(dead)));
    }
    EXPECT_EQ(database().count(u"Clients"_s), 2);
}

TEST_F(ResourceCacheDaoTransactionTest, operations_tableAbsent_failAsTheDriverWordsIt)
{
    const Context context = transaction();
    ASSERT_TRUE(succeeded(context->commit()));
    database().run(u"DROP TABLE ResourceUsages"_s);
    EXPECT_TRUE(failedInDriver(dao.containsResourceUsage(u"test:a"_s).error(),
                               u"no such table: ResourceUsages"_s));
    EXPECT_TRUE(failedInDriver(dao.deleteResourceUsage(transaction().get(), 1).error(),
                               u"no such table: ResourceUsages"_s));
}

TEST_F(ResourceCacheDaoTransactionTest, staticOperations_noContext_failWithABadArgument)
{
    EXPECT_EQ(ResourceCacheDao::updateResourceVersion(nullptr, u"test:a"_s, {}).errorCode(),
              ErrorCode::BadArgument);
    EXPECT_EQ(ResourceCacheDao::insertResourceUsage(nullptr, u"test:a"_s).error().errorCode(),
              ErrorCode::BadArgument);
}

TEST_F(ResourceCacheDaoTransactionTest, createTransaction_heldElsewhere_waitsForIt)
{
    DaoUnderTest other;
    ASSERT_TRUE(succeeded(other.open(path(), 1'000'001)));
    Context held = transaction();
    insert(u"test:a"_s);

    // Another thread, as another process would, wants to write and gets its turn.
    std::thread writer([&other] { EXPECT_TRUE(succeeded(other.addRetrievingTask(u"test:a"_s))); });
    EXPECT_TRUE(succeeded(held->commit()));
    held.reset();
    writer.join();
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 1);
}
