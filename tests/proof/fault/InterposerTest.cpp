#include "FailingStatement.h"
#include "FailingStep.h"
#include "TemporaryCache.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <cerrno>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The proofs are worth nothing if what they let fail does not.
class InterposerTest : public testing::Test
{
protected:
    const TemporaryCache cache;
    const QString path = cache.outside(u"file"_s);
    const std::string folder = QFileInfo(path).path().toStdString();
};

} // namespace

TEST_F(InterposerTest, failingStep_writeOfAFile_givesItsError)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    const FailingStep failing(folder, 0, ENOSPC);
    EXPECT_EQ(file.write("data"), -1);
    EXPECT_TRUE(failing.hasFailed());
    EXPECT_EQ(file.error(), QFileDevice::ResourceError);
}

TEST_F(InterposerTest, failingStep_once_nextStepSucceeds)
{
    const FailingStep failing(folder, 0, EACCES);
    EXPECT_FALSE(QFile(path).open(QIODevice::WriteOnly));
    EXPECT_TRUE(QFile(path).open(QIODevice::WriteOnly));
}

TEST_F(InterposerTest, failingStep_fromThereOn_nothingSucceedsAnyMore)
{
    const FailingStep failing(folder, 1, EIO, FailingStep::Lasting::FromThereOn);
    EXPECT_TRUE(QFile(path).open(QIODevice::WriteOnly));
    EXPECT_FALSE(QFile(path).open(QIODevice::WriteOnly));
    EXPECT_FALSE(QFile::rename(path, path + u"2"_s));
    EXPECT_GE(failing.seen(), 3);
}

TEST_F(InterposerTest, failingStep_elsewhere_isNotCounted)
{
    const FailingStep failing(folder + "/other", 0, EIO);
    EXPECT_TRUE(QFile(path).open(QIODevice::WriteOnly));
    EXPECT_EQ(failing.seen(), 0);
}

TEST_F(InterposerTest, failingStep_ofOneKind_othersAreNotCounted)
{
    const FailingStep failing(folder, 0, EIO, FailingStep::Lasting::Once, FileStep::Kind::Resize);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    EXPECT_EQ(file.write("data"), 4);
    EXPECT_FALSE(file.resize(2));
    EXPECT_TRUE(file.resize(1));
    EXPECT_EQ(failing.seen(), 2);
}

TEST_F(InterposerTest, failingStatement_secondOfThree_onlyThatFails)
{
    QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s);
    database.setDatabaseName(path);
    ASSERT_TRUE(database.open());
    QSqlQuery query(database);
    ASSERT_TRUE(query.exec(u"CREATE TABLE a (b)"_s));
    const FailingStatement failing(1, FailingStatement::Result::Full);
    EXPECT_TRUE(query.exec(u"INSERT INTO a VALUES (1)"_s));
    EXPECT_FALSE(query.exec(u"INSERT INTO a VALUES (1)"_s));
    EXPECT_EQ(query.lastError().nativeErrorCode(), u"13"_s);
    EXPECT_TRUE(query.exec(u"INSERT INTO a VALUES (1)"_s));
    EXPECT_TRUE(failing.hasFailed());
    EXPECT_EQ(failing.seen(), 3);
}
