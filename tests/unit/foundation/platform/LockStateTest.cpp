#include "platform/DirectoryLock.h"
#include "platform/DirectoryLockState.h"
#include "platform/ProcessFacts.h"
#include "platform/SystemSemaphoreState.h"

#include "AsAnybody.h"
#include "SemaphoreSets.h"
#include "TemporaryCache.h"
#include "platform/ChildProcess.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSystemSemaphore>
#include <QTemporaryDir>

#include <array>
#include <future>

#include <pwd.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class SystemSemaphoreStateTest : public testing::Test
{
protected:
    ~SystemSemaphoreStateTest() override { removeSystemSemaphore(key); }

    const QString key = u"zel::LockStateTest-%1"_s.arg(QCoreApplication::applicationPid());
};

} // namespace

TEST_F(SystemSemaphoreStateTest, of_semaphoreThatWasNeverMade_isAbsentAndMakesNone)
{
    const auto state = SystemSemaphoreState::of(key);
    EXPECT_EQ(state.access, SystemSemaphoreState::Access::Absent);
    EXPECT_FALSE(QFile::exists(state.keyFile));
    EXPECT_TRUE(state.keyFile.startsWith(QDir::tempPath()));
}

TEST_F(SystemSemaphoreStateTest, of_semaphoreThatIsTakenAndGivenBack_followsIt)
{
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Create);
    auto state = SystemSemaphoreState::of(key);
    EXPECT_EQ(state.access, SystemSemaphoreState::Access::Seen);
    EXPECT_EQ(state.value, 1);
    EXPECT_TRUE(QFile::exists(state.keyFile));
    EXPECT_EQ(state.owner, QFileInfo(state.keyFile).owner());

    ASSERT_TRUE(semaphore.acquire());
    state = SystemSemaphoreState::of(key);
    EXPECT_EQ(state.value, 0);
    EXPECT_EQ(state.lastProcess, qint64(::getpid()));
    EXPECT_EQ(state.waiting, 0);

    auto waiter = std::async(std::launch::async, [this] {
        QSystemSemaphore own(key, 1, QSystemSemaphore::Open);
        return own.acquire() && own.release();
    });
    while (SystemSemaphoreState::of(key).waiting != 1)
        ASSERT_EQ(SystemSemaphoreState::of(key).value, 0);
    ASSERT_TRUE(semaphore.release());
    EXPECT_TRUE(waiter.get());
    EXPECT_EQ(SystemSemaphoreState::of(key).value, 1);
}

TEST_F(SystemSemaphoreStateTest, of_semaphoreThatIsKeptForItsOwner_isRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can be somebody else";
    const QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Create);
    {
        const AsAnybody anybody;
        if (!anybody.canReach(SystemSemaphoreState::of(key).keyFile))
            GTEST_SKIP() << "the folder of temporary files is closed to others";
    }
    const QTemporaryDir own;
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(own.path()), [this] {
        return SystemSemaphoreState::of(key).access == SystemSemaphoreState::Access::Refused;
    }));
}

TEST(DirectoryLockStateTest, of_lockThatIsHeldAndFree_followsItAndNamesTheHolder)
{
    const QTemporaryDir directory;
    EXPECT_FALSE(DirectoryLockState::of(directory.path()).isHeld);
    {
        const DirectoryLock lock(QFile::encodeName(directory.path()));
        const auto state = DirectoryLockState::of(directory.path());
        EXPECT_TRUE(state.isHeld);
        EXPECT_EQ(state.holder, qint64(::getpid()));
    }
    EXPECT_FALSE(DirectoryLockState::of(directory.path()).isHeld);
    EXPECT_FALSE(DirectoryLockState::of(directory.filePath(u"none"_s)).isHeld);
}

TEST(DirectoryLockStateTest, of_lockOfAnotherUser_isHeldAndNobodyElseIsNamed)
{
    const QTemporaryDir directory;
    const DirectoryLock lock(QFile::encodeName(directory.path()));
    const qint64 holder = ::getpid();
    // Not on all file systems does the list of locks name the directory as others see it.
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()), [&] {
        const auto state = DirectoryLockState::of(directory.path());
        return state.isHeld && state.holder.value_or(holder) == holder;
    }));
}

TEST(ProcessFactsTest, of_thisProcess_isWhatItKnowsOfItself)
{
    const ProcessFacts facts = ProcessFacts::of(::getpid());
    EXPECT_TRUE(facts.exists);
    ASSERT_TRUE(facts.started);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    EXPECT_LE(*facts.started, now);
    EXPECT_GT(*facts.started, now - 3'600'000);
    EXPECT_EQ(facts.temporaryFolder, QDir::tempPath());
    EXPECT_TRUE(QCoreApplication::applicationFilePath().contains(facts.program));
}

TEST(ProcessFactsTest, hasOpen_fileOfThisProcess_isFoundUnderAnyPath)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"data"_s);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(QFile::link(path, folder.filePath(u"link"_s)));
    EXPECT_EQ(ProcessFacts::hasOpen(::getpid(), path), true);
    EXPECT_EQ(ProcessFacts::hasOpen(::getpid(), folder.filePath(u"link"_s)), true);
    file.close();
    EXPECT_EQ(ProcessFacts::hasOpen(::getpid(), path), false);
    EXPECT_EQ(ProcessFacts::hasOpen(::getpid(), folder.filePath(u"none"_s)), std::nullopt);
    EXPECT_EQ(ProcessFacts::hasOpen(2'147'483'000, path), std::nullopt);
}

TEST(ProcessFactsTest, of_processThatNobodyMayLookInto_namesItsUserAllTheSame)
{
    std::array<int, 2> told {};
    std::array<int, 2> end {};
    ASSERT_EQ(::pipe(told.data()), 0);
    ASSERT_EQ(::pipe(end.data()), 0);
    constexpr uid_t nobody = 65534;
    const uid_t user = ::geteuid() == 0 ? nobody : ::geteuid();
    const pid_t child = ::fork();
    char byte = 0;
    if (child == 0) {
        ::close(end[1]);
        const bool isReady = ::setresuid(user, user, user) == 0 && ::prctl(PR_SET_DUMPABLE, 0) == 0;
        byte = isReady ? 'y' : 'n';
        ::_exit(::write(told[1], &byte, 1) == 1 && ::read(end[0], &byte, 1) == 0 ? 0 : 1);
    }
    ASSERT_EQ(::read(told[0], &byte, 1), 1);
    ASSERT_EQ(byte, 'y');
    const ProcessFacts facts = ProcessFacts::of(child);
    const struct passwd *entry = ::getpwuid(user);
    EXPECT_EQ(facts.user, entry ? QString::fromLocal8Bit(entry->pw_name) : QString::number(user));
    for (const int descriptor : { end[1], end[0], told[0], told[1] })
        ::close(descriptor);
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST(ProcessFactsTest, of_processThatIsNotThere_doesNotExist)
{
    EXPECT_FALSE(ProcessFacts::of(2'147'483'000).exists);
    EXPECT_FALSE(ProcessFacts::of(0).exists);
    EXPECT_FALSE(ProcessFacts::of(-1).exists);
}
