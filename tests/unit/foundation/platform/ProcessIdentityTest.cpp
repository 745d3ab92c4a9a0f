#include "platform/ProcessIdentity.h"

#include <QDateTime>
#include <QProcess>

#include <csignal>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(ProcessIdentityTest, current_isAliveAndAlwaysTheSame)
{
    EXPECT_TRUE(ProcessIdentity::current().isAlive());
    EXPECT_EQ(ProcessIdentity::current(), ProcessIdentity::current());
    EXPECT_EQ(ProcessIdentity::current().pid, QCoreApplication::applicationPid());
}

TEST(ProcessIdentityTest, numberSpace_asTheSystemTellsIt_isItsNumber)
{
    struct stat status;
    ASSERT_EQ(::stat("/proc/self/ns/pid", &status), 0);
    EXPECT_GT(ProcessIdentity::numberSpace(), 0);
    EXPECT_EQ(ProcessIdentity::numberSpace(), qint64(status.st_ino));
}

TEST(ProcessIdentityTest, isAlive_anotherProcessUnderTheSameNumber_isFalse)
{
    ProcessIdentity identity = ProcessIdentity::current();
    identity.startTime -= 1;
    EXPECT_FALSE(identity.isAlive());
    identity = ProcessIdentity::current();
    identity.bootId += u'x';
    EXPECT_FALSE(identity.isAlive());
    EXPECT_FALSE(ProcessIdentity().isAlive());
}

TEST(ProcessIdentityTest, isAlive_processThatEnded_isFalse)
{
    QProcess process;
    process.start(u"true"_s, QStringList());
    ASSERT_TRUE(process.waitForStarted());
    ProcessIdentity identity = ProcessIdentity::current();
    identity.pid = process.processId();
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_FALSE(identity.isAlive());
}

TEST(ProcessIdentityTest, startOf_processStartedNow_isThisMoment)
{
    constexpr qint64 rounding = 100;
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    QProcess process;
    process.start(u"cat"_s, QStringList());
    ASSERT_TRUE(process.waitForStarted());
    const auto start = ProcessIdentity::startOf(process.processId());
    ASSERT_TRUE(start);
    EXPECT_GE(*start, before - rounding);
    EXPECT_LE(*start, QDateTime::currentMSecsSinceEpoch() + rounding);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished());
}

TEST(ProcessIdentityTest, startOf_endedProcessThatNobodyReaped_isEmpty)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    siginfo_t ended {};
    ASSERT_EQ(::waitid(P_PID, id_t(child), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(ProcessIdentity::startOf(child), std::nullopt);
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST(ProcessIdentityTest, startOf_noSuchProcess_isEmpty)
{
    EXPECT_EQ(ProcessIdentity::startOf(0), std::nullopt);
    EXPECT_EQ(ProcessIdentity::startOf(-1), std::nullopt);
    EXPECT_EQ(ProcessIdentity::startOf(4'999'999), std::nullopt);
}
