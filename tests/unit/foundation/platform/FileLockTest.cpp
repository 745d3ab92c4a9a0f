#include "platform/FileLock.h"

#include <QProcess>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

class FileLockTest : public ::testing::Test
{
protected:
    QString path() const { return directory.filePath(u"lock"_s); }

    QTemporaryDir directory;
};

} // namespace

TEST_F(FileLockTest, lock_free_isHeldUntilTheObjectGoes)
{
    {
        const FileLock lock(path());
        EXPECT_TRUE(lock.isHeld());
        EXPECT_EQ(FileLock(path()).state(), FileLock::State::Busy);
    }
    EXPECT_TRUE(FileLock(path()).isHeld());
}

TEST_F(FileLockTest, lock_heldByAnotherProcess_isBusyUntilThatOneIsKilled)
{
    QProcess process;
    process.start(u"flock"_s, { u"-x"_s, path(), u"-c"_s, u"echo held; exec cat"_s });
    ASSERT_TRUE(process.waitForReadyRead(10000));
    EXPECT_EQ(FileLock(path()).state(), FileLock::State::Busy);
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_TRUE(FileLock(path()).isHeld());
}

TEST_F(FileLockTest, lock_fileWasReplacedByItsHolder_isOnTheNewOne)
{
    const FileLock former(path());
    ASSERT_TRUE(QFile::remove(path()));
    const FileLock lock(path());
    EXPECT_TRUE(lock.isHeld());
    EXPECT_EQ(FileLock(path()).state(), FileLock::State::Busy);
}

TEST_F(FileLockTest, lock_noFolder_isUnavailable)
{
    EXPECT_EQ(FileLock(directory.filePath(u"missing/lock"_s)).state(),
              FileLock::State::Unavailable);
    EXPECT_FALSE(FileLock().isHeld());
}

TEST_F(FileLockTest, move_passesTheLockOn)
{
    FileLock first(path());
    const FileLock second = std::move(first);
    EXPECT_TRUE(second.isHeld());
    EXPECT_FALSE(first.isHeld()); // NOLINT(bugprone-use-after-move): what it says afterwards
    EXPECT_EQ(FileLock(path()).state(), FileLock::State::Busy);
}
