#include "FailingStatement.h"
#include "ResourceCacheDaoFixture.h"
#include "SqliteFunction.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>

#include <climits>
#include <thread>

using namespace zel;
using namespace zel::test;

namespace {

class ResourceCacheDaoTransactionTest : public OpenResourceCacheDaoFixture
{
protected:
    /// Both statements of one row, as a purge and the end of a fetch make them.
    static Error update(const Context &context, const QString &reference, ResourceStatus status,
                        const QVariant &path, const QVariant &size)
    {
        const Error error
            = ResourceCacheDao::updateResourceStatus(context.get(), reference, status, 99);
        return error.hasError()
            ? error
            : ResourceCacheDao::updateResourceLocalPath(context.get(), reference, path, size);
    }
    QStringList contents()
    {
        return database().column(u"SELECT reference || ',' || status || ',' || "
                                 "IFNULL(cachedPath, 'none') || ',' || IFNULL(fileSize, 'none') "
                                 "FROM CachedResources ORDER BY reference"_s);
    }
    /// In the connection of the object itself.
    void runInside(const QString &sql) const
    {
        QSqlQuery query(connection);
        ASSERT_TRUE(query.exec(sql)) << qPrintable(query.lastError().text());
    }
    /// Compiled ones of the object's connection.
    int openStatements() const
    {
        using NextStatement = void *(*)(void *connection, void *statement);
        const auto next = sqliteFunction<NextStatement>("sqlite3_next_stmt");
        void *const sqlite = *static_cast<void *const *>(connection.driver()->handle().constData());
        int count = 0;
        for (void *statement = next(sqlite, nullptr); statement;
             statement = next(sqlite, statement))
            ++count;
        return count;
    }

    /// There is no other one yet.
    const QSqlDatabase connection
        = QSqlDatabase::database(QSqlDatabase::connectionNames().constFirst());
};

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

TEST_F(ResourceCacheDaoTransactionTest, context_manyRowsInOne_eachGetsItsOwnValues)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    const Context context = transaction();
    ASSERT_TRUE(succeeded(update(context, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 5)));
    ASSERT_TRUE(succeeded(update(context, u"test:b"_s, ResourceStatus::Acquiring, u"/b"_s, 7)));
    ASSERT_TRUE(succeeded(update(context, u"test:a"_s, ResourceStatus::Missing, {}, {})));
    ASSERT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(contents(),
              QStringList({ u"test:a,Missing,none,none"_s, u"test:b,Acquiring,/b,7"_s }));
    EXPECT_EQ(dao.selectCurrentSize().value(), 7);
}

TEST_F(ResourceCacheDaoTransactionTest, context_statementFails_isRunAgainInIt)
{
    insert(u"test:a"_s);
    database().run(u"CREATE TRIGGER refusal BEFORE UPDATE ON CachedResources "
                   "WHEN NEW.status = 'Acquiring' BEGIN SELECT RAISE(ABORT, 'refused'); END"_s);
    const Context context = transaction();
    const auto updateTo = [&](ResourceStatus status) {
        return update(context, u"test:a"_s, status, u"/a"_s, 5);
    };
    ASSERT_TRUE(succeeded(updateTo(ResourceStatus::ScheduledForAcquire)));
    EXPECT_TRUE(failedInDriver(updateTo(ResourceStatus::Acquiring), u"refused"_s));
    ASSERT_TRUE(succeeded(updateTo(ResourceStatus::Ready)));
    ASSERT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(contents(), QStringList({ u"test:a,Ready,/a,5"_s }));
}

TEST_F(ResourceCacheDaoTransactionTest, context_schemaChangesMeanwhile_statementsFollowIt)
{
    insert(u"test:a"_s);
    const Context context = transaction();
    ASSERT_TRUE(succeeded(update(context, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 5)));
    runInside(u"ATTACH ':memory:' AS more"_s);
    runInside(u"ALTER TABLE CachedResources ADD note TEXT"_s);
    runInside(u"CREATE TRIGGER noted AFTER UPDATE ON CachedResources BEGIN "
              "UPDATE CachedResources SET note = NEW.fileSize WHERE id = NEW.id; END"_s);
    ASSERT_TRUE(succeeded(update(context, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 6)));
    ASSERT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(database().column(u"SELECT note FROM CachedResources"_s), QStringList({ u"6"_s }));
}

TEST_F(ResourceCacheDaoTransactionTest, context_innerGivenUp_outerRunsItsStatementsAgain)
{
    insert(u"test:a"_s);
    const Context outer = transaction();
    ASSERT_TRUE(succeeded(update(outer, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 5)));
    {
        const Context inner = transaction();
        ASSERT_TRUE(succeeded(update(inner, u"test:a"_s, ResourceStatus::Missing, {}, {})));
    }
    ASSERT_TRUE(succeeded(update(outer, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 6)));
    ASSERT_TRUE(succeeded(outer->commit()));
    EXPECT_EQ(contents(), QStringList({ u"test:a,Ready,/a,6"_s }));
}

TEST_F(ResourceCacheDaoTransactionTest, context_committed_keepsNoStatement)
{
    insert(u"test:a"_s);
    const Context context = transaction();
    ASSERT_TRUE(succeeded(update(context, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 5)));
    EXPECT_NE(openStatements(), 0);
    ASSERT_TRUE(succeeded(context->commit()));
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(ResourceCacheDaoTransactionTest, context_destroyedWithoutCommit_keepsNoStatement)
{
    insert(u"test:a"_s);
    {
        const Context context = transaction();
        ASSERT_TRUE(succeeded(update(context, u"test:a"_s, ResourceStatus::Ready, u"/a"_s, 5)));
        EXPECT_NE(openStatements(), 0);
    }
    EXPECT_EQ(openStatements(), 0);
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

namespace {

/// A change that is refused when it has been made, so that only a rollback takes it back.
struct Refusal
{
    const char *name;
    const char *event; ///< of a trigger
    Error (*change)(ResourceCacheDao &dao);
};

void PrintTo(const Refusal &refusal, std::ostream *out)
{
    *out << refusal.name;
}

class ResourceCacheDaoRefusalTest : public ResourceCacheDaoTransactionTest,
                                    public testing::WithParamInterface<Refusal>
{
protected:
    QStringList rows()
    {
        return database().column(
            u"SELECT reference || ' ' || status FROM CachedResources UNION ALL "
            "SELECT resourceId || ' ' || IFNULL(progress, 'none') FROM AcquiringTasks UNION ALL "
            "SELECT processId || ' ' || lastPingTime FROM Clients"_s);
    }
};

const Refusal refusals[] = {
    { "insertResource", "INSERT ON CachedResources",
      [](ResourceCacheDao &dao) {
          return dao.insertResource(u"test:c"_s, ResourceStatus::Missing,
                                    ResourceCleanupPolicy::Never, 2);
      } },
    { "updateClientLastPingTime", "UPDATE ON Clients",
      [](ResourceCacheDao &dao) {
          return dao.updateClientLastPingTime(5);
      } },
    { "addRetrievingTask", "INSERT ON AcquiringTasks",
      [](ResourceCacheDao &dao) {
          return dao.addRetrievingTask(u"test:b"_s);
      } },
    { "updateProgress", "UPDATE ON AcquiringTasks",
      [](ResourceCacheDao &dao) {
          return dao.updateProgress(u"test:a"_s, 40);
      } },
    { "deleteRetrievingTask", "DELETE ON AcquiringTasks",
      [](ResourceCacheDao &dao) {
          return dao.deleteRetrievingTask(u"test:a"_s);
      } },
};

} // namespace

TEST_P(ResourceCacheDaoRefusalTest, change_refusedWhenItIsMade_isRolledBack)
{
    insert(u"test:a"_s);
    insert(u"test:b"_s);
    ASSERT_TRUE(succeeded(dao.addRetrievingTask(u"test:a"_s)));
    const QStringList before = rows();
    database().run(
        u"CREATE TRIGGER refusal AFTER %1 BEGIN SELECT RAISE(FAIL, 'refused'); END"_s.arg(
            QString::fromLatin1(GetParam().event)));
    EXPECT_TRUE(failedInDriver(GetParam().change(dao), u"refused"_s));
    EXPECT_EQ(rows(), before);

    database().run(u"DROP TRIGGER refusal"_s);
    EXPECT_TRUE(succeeded(GetParam().change(dao)));
    EXPECT_NE(rows(), before);
}

INSTANTIATE_TEST_SUITE_P(EachChange, ResourceCacheDaoRefusalTest, testing::ValuesIn(refusals),
                         [](const auto &refusal) { return std::string(refusal.param.name); });

TEST_F(ResourceCacheDaoTransactionTest,
       updateIntermediateStatusesForClient_nothingToRevert_isOneStatement)
{
    const qint64 dead = addClient(1'000'001);
    insert(u"test:a"_s, ResourceStatus::Ready);
    insert(u"test:b"_s);
    setTransient(u"test:b"_s, ResourceStatus::Acquiring, ownClientId());
    const Context context = transaction();
    const FailingStatement counter(INT_MAX);
    ASSERT_TRUE(succeeded(dao.updateIntermediateStatusesForClient(context.get(), dead)));
    EXPECT_EQ(counter.seen(), 1);
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
