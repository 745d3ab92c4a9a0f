#include "database/DatabaseHelpers.h"

#include <QSqlError>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A file of its own and the connection that the test opens on it.
class DatabaseHelpersTest : public ::testing::Test
{
protected:
    ~DatabaseHelpersTest() override
    {
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }

    QString path() const { return folder.filePath(u"some.db"_s); }
    Error open(const QString &file) { return db::addDatabaseAndOpen(name, file, database); }
    Error open() { return open(path()); }

    QVariant value(const QString &sql)
    {
        QSqlQuery query(database);
        EXPECT_TRUE(query.exec(sql)) << qPrintable(query.lastError().text());
        return query.next() ? query.value(0) : QVariant();
    }

    QTemporaryDir folder;
    const QString name = u"helpers"_s;
    QSqlDatabase database;
};

} // namespace

TEST_F(DatabaseHelpersTest, addDatabaseAndOpen_absentFile_makesItUnderTheName)
{
    EXPECT_FALSE(open().hasError());
    EXPECT_TRUE(database.isOpen());
    EXPECT_EQ(database.connectionName(), name);
    EXPECT_EQ(database.driverName(), u"QSQLITE"_s);
    EXPECT_TRUE(QSqlDatabase::contains(name));
    EXPECT_TRUE(QFileInfo::exists(path()));
}

TEST_F(DatabaseHelpersTest, addDatabaseAndOpen_anyFile_getsTheSettings)
{
    ASSERT_FALSE(open().hasError());
    EXPECT_EQ(value(u"PRAGMA journal_mode"_s).toString(), u"wal"_s);
    EXPECT_EQ(value(u"PRAGMA synchronous"_s).toInt(), 1);
    EXPECT_EQ(value(u"PRAGMA busy_timeout"_s).toInt(), 10'000);
}

TEST_F(DatabaseHelpersTest, addDatabaseAndOpen_noWriteAheadLogPossible_goesOnWithFullSyncs)
{
    ASSERT_FALSE(open(u":memory:"_s).hasError());
    EXPECT_EQ(value(u"PRAGMA journal_mode"_s).toString(), u"memory"_s);
    EXPECT_EQ(value(u"PRAGMA synchronous"_s).toInt(), 2);
    EXPECT_EQ(value(u"PRAGMA busy_timeout"_s).toInt(), 10'000);
}

TEST_F(DatabaseHelpersTest, addDatabaseAndOpen_folderAbsent_failsWithTheDriversText)
{
    const Error error = open(folder.filePath(u"absent/some.db"_s));
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u"unable to open database file"_s))
        << qPrintable(error.errorMessage());
    EXPECT_FALSE(database.isOpen());
}

TEST_F(DatabaseHelpersTest, qPrepare_unknownTable_failsWithTheDriversText)
{
    ASSERT_FALSE(open().hasError());
    QSqlQuery query(database);
    const Error error = db::qPrepare(query, u"SELECT 1 FROM Nowhere"_s);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u"no such table: Nowhere"_s))
        << qPrintable(error.errorMessage());
    EXPECT_TRUE(error.trail().isEmpty());
}

TEST_F(DatabaseHelpersTest, qPrepare_driverQuotesControlCharacters_areEscaped)
{
    ASSERT_FALSE(open().hasError());
    QSqlQuery query(database);
    const Error error = db::qPrepare(query, u"SELECT 1 FROM \"No\u001b\u0093where\""_s);
    EXPECT_TRUE(error.errorMessage().contains(u"no such table: No\\u{1b}\\u{93}where"_s))
        << qPrintable(error.errorMessage());
}

TEST_F(DatabaseHelpersTest, qPrepare_withPlace_isStampedWithIt)
{
    ASSERT_FALSE(open().hasError());
    QSqlQuery query(database);
    const Error error = db::qPrepare(query, u"SELECT 1 FROM Nowhere"_s, "Here.cpp", 7);
    ASSERT_EQ(error.trail().size(), 1);
    EXPECT_EQ(error.trail().first().file, "Here.cpp");
    EXPECT_EQ(error.trail().first().line, 7);
}

TEST_F(DatabaseHelpersTest, qPrepare_noConnection_failsWithAText)
{
    QSqlQuery query { QSqlDatabase() };
    const Error error = db::qPrepare(query, u"SELECT 1"_s);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(error.errorMessage().isEmpty());
}

TEST_F(DatabaseHelpersTest, qPrepare_connectionNotOpen_failsWithAText)
{
    ASSERT_TRUE(open(folder.filePath(u"absent/some.db"_s)).hasError());
    QSqlQuery query(database);
    const Error error = db::qPrepare(query, u"SELECT 1"_s);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(error.errorMessage().isEmpty());
}

TEST_F(DatabaseHelpersTest, qExec_constraintViolated_failsWithTheDriversTextAndPlace)
{
    ASSERT_FALSE(open().hasError());
    value(u"CREATE TABLE Things (name TEXT NOT NULL)"_s);
    QSqlQuery query(database);
    ASSERT_FALSE(db::qPrepare(query, u"INSERT INTO Things VALUES (?)"_s).hasError());
    query.addBindValue(QVariant());
    const Error error = db::qExec(query, "There.cpp", 8);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u"NOT NULL constraint failed: Things.name"_s))
        << qPrintable(error.errorMessage());
    ASSERT_EQ(error.trail().size(), 1);
    EXPECT_EQ(error.trail().first().file, "There.cpp");
}

TEST_F(DatabaseHelpersTest, qExec_preparedStatement_runs)
{
    ASSERT_FALSE(open().hasError());
    QSqlQuery query(database);
    ASSERT_FALSE(db::qPrepare(query, u"SELECT ? + 1"_s).hasError());
    query.addBindValue(41);
    EXPECT_FALSE(db::qExec(query).hasError());
    ASSERT_TRUE(query.next());
    EXPECT_EQ(query.value(0).toInt(), 42);
}
