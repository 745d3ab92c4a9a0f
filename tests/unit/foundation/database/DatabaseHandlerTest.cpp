#include "database/DatabaseHandler.h"

#include "CacheDatabase.h"
#include "LogCapture.h"
#include "database/DatabaseHelpers.h"
#include "database/TransactionGuard.h"

#include <QSqlError>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A connection with a table of names, and a second one that sees what has been committed.
class DatabaseHandlerTest : public ::testing::Test
{
protected:
    DatabaseHandlerTest()
    {
        EXPECT_FALSE(db::addDatabaseAndOpen(name, path(), database).hasError());
        run(u"CREATE TABLE Names (name TEXT UNIQUE)"_s);
        handler = std::make_unique<DatabaseHandler>(&database);
    }
    ~DatabaseHandlerTest() override
    {
        handler.reset();
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }

    QString path() const { return folder.filePath(u"some.db"_s); }

    void run(const QString &sql)
    {
        QSqlQuery query(database);
        EXPECT_TRUE(query.exec(sql)) << qPrintable(query.lastError().text());
    }
    void add(const QString &text) { run(u"INSERT INTO Names VALUES ('%1')"_s.arg(text)); }
    QStringList committed()
    {
        test::CacheDatabase other(path());
        return other.column(u"SELECT name FROM Names ORDER BY name"_s);
    }

    QTemporaryDir folder;
    const QString name = u"handler"_s;
    QSqlDatabase database;
    std::unique_ptr<DatabaseHandler> handler;
};

using TransactionGuardTest = DatabaseHandlerTest;

} // namespace

TEST_F(DatabaseHandlerTest, commitTransaction_outermost_isSeenByOthers)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    add(u"a"_s);
    EXPECT_EQ(committed(), QStringList());
    EXPECT_FALSE(handler->commitTransaction().hasError());
    EXPECT_EQ(committed(), QStringList({ u"a"_s }));
    EXPECT_EQ(handler->currentTransaction(), 0u);
}

TEST_F(DatabaseHandlerTest, beginTransaction_first_takesTheWriteLockAtOnce)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());

    QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
    other.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=0"_s);
    other.setDatabaseName(path());
    ASSERT_TRUE(other.open());
    EXPECT_FALSE(QSqlQuery(other).exec(u"INSERT INTO Names VALUES ('b')"_s));
    ASSERT_FALSE(handler->commitTransaction().hasError());
    EXPECT_TRUE(QSqlQuery(other).exec(u"INSERT INTO Names VALUES ('b')"_s));
    other = QSqlDatabase();
    QSqlDatabase::removeDatabase(u"other"_s);
}

TEST_F(DatabaseHandlerTest, commitTransaction_inner_leavesTheOuterAbleToRollBack)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    add(u"outer"_s);
    ASSERT_FALSE(handler->beginTransaction().hasError());
    add(u"inner"_s);
    EXPECT_FALSE(handler->commitTransaction().hasError());
    EXPECT_EQ(committed(), QStringList());
    EXPECT_FALSE(handler->rollbackTransaction().hasError());
    EXPECT_EQ(committed(), QStringList());
}

TEST_F(DatabaseHandlerTest, rollbackTransaction_inner_leavesTheOuterAbleToCommit)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    add(u"outer"_s);
    ASSERT_FALSE(handler->beginTransaction().hasError());
    add(u"inner"_s);
    EXPECT_FALSE(handler->rollbackTransaction().hasError());
    add(u"after"_s);
    EXPECT_FALSE(handler->commitTransaction().hasError());
    EXPECT_EQ(committed(), QStringList({ u"after"_s, u"outer"_s }));
}

TEST_F(DatabaseHandlerTest, beginTransaction_manyLevels_nest)
{
    constexpr int levels = 20;
    for (int level = 0; level < levels; ++level) {
        ASSERT_FALSE(handler->beginTransaction().hasError());
        add(QString(QChar(u'a' + level)));
    }
    for (int level = levels - 1; level >= 0; --level) {
        const bool isGivenUp = level == 10;
        EXPECT_FALSE(
            (isGivenUp ? handler->rollbackTransaction() : handler->commitTransaction()).hasError());
    }
    // The one given up took with it all that had been committed inside it.
    EXPECT_EQ(committed().join(u""_s), u"abcdefghij"_s);
}

TEST_F(DatabaseHandlerTest, commitTransaction_noneOpen_fails)
{
    EXPECT_EQ(handler->commitTransaction().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(handler->rollbackTransaction().errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(handler->beginTransaction().hasError());
    EXPECT_FALSE(handler->rollbackTransaction().hasError());
}

TEST_F(DatabaseHandlerTest, beginTransaction_fileNotOpened_tellsWhy)
{
    QSqlDatabase unopened;
    EXPECT_TRUE(db::addDatabaseAndOpen(u"unopened"_s, folder.filePath(u"absent/x.db"_s), unopened)
                    .hasError());
    {
        DatabaseHandler failing(&unopened);
        const Error error = failing.beginTransaction();
        EXPECT_TRUE(error.errorMessage().contains(u"unable to open database file"_s))
            << qPrintable(error.errorMessage());
        EXPECT_EQ(failing.currentTransaction(), 0u);
    }
    unopened = QSqlDatabase();
    QSqlDatabase::removeDatabase(u"unopened"_s);
}

TEST_F(DatabaseHandlerTest, beginTransaction_noDatabase_failsWithAText)
{
    QSqlDatabase none;
    EXPECT_FALSE(DatabaseHandler(&none).beginTransaction().errorMessage().isEmpty());
}

TEST_F(TransactionGuardTest, destruction_withoutFlag_commits)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    {
        const TransactionGuard guard(handler.get());
        add(u"a"_s);
    }
    EXPECT_EQ(committed(), QStringList({ u"a"_s }));
}

TEST_F(TransactionGuardTest, destruction_withFlag_rollsBack)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    {
        TransactionGuard guard(handler.get());
        guard.setRollbackOnDestruction(true);
        add(u"a"_s);
    }
    EXPECT_EQ(committed(), QStringList());
    EXPECT_EQ(handler->currentTransaction(), 0u);
}

TEST_F(TransactionGuardTest, construction_nothingBegun_beginsNothing)
{
    {
        const TransactionGuard guard(handler.get());
        EXPECT_EQ(handler->currentTransaction(), 0u);
        add(u"a"_s);
        EXPECT_EQ(committed(), QStringList({ u"a"_s }));
    }
    EXPECT_EQ(committed(), QStringList({ u"a"_s }));
}

TEST_F(TransactionGuardTest, destruction_afterTheCommit_leavesALaterTransactionAlone)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    {
        TransactionGuard guard(handler.get());
        guard.setRollbackOnDestruction(true);
        ASSERT_FALSE(handler->commitTransaction().hasError());
        ASSERT_FALSE(handler->beginTransaction().hasError());
        add(u"later"_s);
    }
    EXPECT_FALSE(handler->commitTransaction().hasError());
    EXPECT_EQ(committed(), QStringList({ u"later"_s }));
}

TEST_F(TransactionGuardTest, destruction_afterInnerCommit_leavesTheOuterTransactionAlone)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    TransactionGuard outer(handler.get());
    outer.setRollbackOnDestruction(true);
    add(u"outer"_s);
    ASSERT_FALSE(handler->beginTransaction().hasError());
    {
        TransactionGuard inner(handler.get());
        inner.setRollbackOnDestruction(true);
        add(u"inner"_s);
        ASSERT_FALSE(handler->commitTransaction().hasError());
    }
    EXPECT_FALSE(handler->commitTransaction().hasError());
    EXPECT_EQ(committed(), QStringList({ u"inner"_s, u"outer"_s }));
}

TEST_F(TransactionGuardTest, destruction_innerStillOpen_takesItAlong)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    {
        const TransactionGuard guard(handler.get());
        add(u"outer"_s);
        ASSERT_FALSE(handler->beginTransaction().hasError());
        add(u"inner"_s);
    }
    EXPECT_EQ(handler->currentTransaction(), 0u);
    EXPECT_EQ(committed(), QStringList({ u"inner"_s, u"outer"_s }));
}

TEST_F(TransactionGuardTest, destruction_commitFails_rollsBackAndLogs)
{
    // A foreign key that is checked at the commit lets a commit fail at will.
    run(u"PRAGMA foreign_keys=ON"_s);
    run(u"CREATE TABLE Nicks (name TEXT REFERENCES Names(name) DEFERRABLE INITIALLY DEFERRED)"_s);
    ASSERT_FALSE(handler->beginTransaction().hasError());
    const test::LogCapture log;
    {
        const TransactionGuard guard(handler.get());
        add(u"a"_s);
        run(u"INSERT INTO Nicks VALUES ('nobody')"_s);
    }
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
    EXPECT_EQ(committed(), QStringList());
    EXPECT_FALSE(handler->beginTransaction().hasError());
    EXPECT_FALSE(handler->rollbackTransaction().hasError());
}

TEST_F(TransactionGuardTest, destruction_databaseRolledBackByItself_leavesTheHandlerUsable)
{
    ASSERT_FALSE(handler->beginTransaction().hasError());
    {
        const TransactionGuard outer(handler.get());
        ASSERT_FALSE(handler->beginTransaction().hasError());
        const TransactionGuard inner(handler.get());
        run(u"ROLLBACK"_s); // as a full disk makes the database do it
    }
    EXPECT_EQ(handler->currentTransaction(), 0u);
    EXPECT_FALSE(handler->beginTransaction().hasError());
    add(u"a"_s);
    EXPECT_FALSE(handler->commitTransaction().hasError());
    EXPECT_EQ(committed(), QStringList({ u"a"_s }));
}
