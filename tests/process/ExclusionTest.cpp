#include "CacheProcess.h"
#include "SemaphoreSets.h"
#include "TemporaryCache.h"

#include <QDirIterator>

#include <csignal>
#include <vector>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// One holder at a time: among processes, whatever becomes of those that were there before.
class ExclusionTest : public testing::Test
{
protected:
    ~ExclusionTest() override
    {
        for (const QString &folder : std::as_const(temporaryFolders))
            removeSemaphoresIn(folder);
    }

    QString baseDir() const { return cache.baseDir(); }
    QString number() const { return cache.outside(u"number"_s); }

    /// A folder of temporary files of its own for a process, which so has a semaphore of its own.
    ActorProcess::Environment otherTemporaryFolder()
    {
        const QString folder = cache.outside(u"tmp%1"_s.arg(temporaryFolders.size()));
        EXPECT_TRUE(QDir().mkpath(folder));
        temporaryFolders.append(folder);
        return { { u"TMPDIR"_s, folder } };
    }

    QString commandToCount(int times) const
    {
        return u"count %1 %2"_s.arg(number(), QString::number(times));
    }

    void expectOneAtATime(ActorProcess &process) { EXPECT_EQ(process.answer(), u"0"_s); }

    void expectNumber(int expected) const { EXPECT_EQ(readFile(number()).toInt(), expected); }

    TemporaryCache cache;

private:
    QStringList temporaryFolders;
};

} // namespace

TEST_F(ExclusionTest, hold_secondProcess_waitsUntilTheFirstLetsGo)
{
    CacheProcess first(baseDir());
    CacheProcess second(baseDir());
    first.hold();
    second.startHold();
    EXPECT_TRUE(second.isBlocked());
    first.unhold();
    second.awaitHeld();
}

TEST_F(ExclusionTest, hold_otherBaseDirectory_doesNotWait)
{
    TemporaryCache other;
    CacheProcess first(baseDir());
    CacheProcess second(other.baseDir());
    first.hold();
    second.hold();
}

TEST_F(ExclusionTest, count_manyProcesses_neverTwoInside)
{
    constexpr int times = 1000;
    std::vector<std::unique_ptr<CacheProcess>> processes;
    for (int i = 0; i < 6; ++i)
        processes.push_back(std::make_unique<CacheProcess>(baseDir()));
    for (const auto &process : processes)
        process->send(commandToCount(times));
    for (const auto &process : processes)
        expectOneAtATime(*process);
    expectNumber(6 * times);
}

// The process that made the semaphore must not take it along.
TEST_F(ExclusionTest, hold_creatorOfTheSemaphoreEnds_othersStillWait)
{
    CacheProcess creator(baseDir());
    CacheProcess holder(baseDir());
    CacheProcess waiter(baseDir());
    holder.hold();
    waiter.startHold();
    EXPECT_TRUE(waiter.isBlocked());

    // Its end closes the cache, which waits for the holder as well.
    EXPECT_EQ(creator.ask(u"exit"_s), u"ok"_s);
    EXPECT_TRUE(waiter.isBlocked());
    holder.unhold();
    waiter.awaitHeld();
    waiter.unhold();
    EXPECT_EQ(creator.end(), 0);
}

TEST_F(ExclusionTest, hold_creatorHasEnded_newcomerStillWaits)
{
    CacheProcess creator(baseDir());
    CacheProcess holder(baseDir());
    CacheProcess newcomer(baseDir());
    EXPECT_EQ(creator.ask(u"exit"_s), u"ok"_s);
    EXPECT_EQ(creator.end(), 0);

    holder.hold();
    newcomer.startHold();
    EXPECT_TRUE(newcomer.isBlocked());
}

TEST_F(ExclusionTest, count_processesComeAndGo_neverTwoInside)
{
    constexpr int times = 1000;
    constexpr int shortTimes = 5;
    constexpr int shortLived = 12;
    auto creator = std::make_unique<CacheProcess>(baseDir());
    CacheProcess first(baseDir());
    CacheProcess second(baseDir());
    first.send(commandToCount(times));
    second.send(commandToCount(times));
    creator.reset();
    for (int i = 0; i < shortLived; ++i) {
        CacheProcess process(baseDir());
        process.send(commandToCount(shortTimes));
        expectOneAtATime(process);
        EXPECT_EQ(process.ask(u"exit"_s), u"ok"_s);
        EXPECT_EQ(process.end(), 0);
    }
    expectOneAtATime(first);
    expectOneAtATime(second);
    expectNumber(2 * times + shortLived * shortTimes);
}

TEST_F(ExclusionTest, hold_holderIsKilled_waiterGetsIt)
{
    CacheProcess holder(baseDir());
    CacheProcess waiter(baseDir());
    holder.hold();
    waiter.startHold();
    EXPECT_TRUE(waiter.isBlocked());
    holder.kill();
    waiter.awaitHeld();
}

TEST_F(ExclusionTest, hold_holderCrashes_waiterGetsIt)
{
    CacheProcess holder(baseDir());
    CacheProcess waiter(baseDir());
    holder.hold();
    waiter.startHold();
    EXPECT_TRUE(waiter.isBlocked());
    holder.send(u"crash"_s);
    EXPECT_EQ(holder.end(), -SIGABRT);
    waiter.awaitHeld();
}

TEST_F(ExclusionTest, count_processesAreKilledAllTheTime_neverTwoInside)
{
    constexpr int times = 1000;
    CacheProcess first(baseDir());
    CacheProcess second(baseDir());
    first.send(commandToCount(times));
    second.send(commandToCount(times));
    for (int i = 0; i < 10; ++i) {
        CacheProcess victim(baseDir());
        victim.hold();
        victim.kill();
    }
    expectOneAtATime(first);
    expectOneAtATime(second);
    expectNumber(2 * times);
}

// The key file lies among the temporary files; a program with another folder for them, in another
// session or of another user, has another semaphore. The base directory is the same.
TEST_F(ExclusionTest, hold_otherFolderOfTemporaryFiles_stillWaits)
{
    CacheProcess first(baseDir(), CacheProcess::Start::Open, otherTemporaryFolder());
    CacheProcess second(baseDir(), CacheProcess::Start::Open, otherTemporaryFolder());
    first.hold();
    second.startHold();
    EXPECT_TRUE(second.isBlocked());
    first.unhold();
    second.awaitHeld();
}

TEST_F(ExclusionTest, count_otherFoldersOfTemporaryFiles_neverTwoInside)
{
    constexpr int times = 1000;
    std::vector<std::unique_ptr<CacheProcess>> processes;
    for (int i = 0; i < 4; ++i) {
        const auto environment = otherTemporaryFolder();
        for (int twin = 0; twin < 2; ++twin)
            processes.push_back(
                std::make_unique<CacheProcess>(baseDir(), CacheProcess::Start::Open, environment));
    }
    for (const auto &process : processes)
        process->send(commandToCount(times));
    for (const auto &process : processes)
        expectOneAtATime(*process);
    expectNumber(8 * times);
}

TEST_F(ExclusionTest, hold_keyFileWasCleanedAway_newcomerStillWaits)
{
    const auto environment = otherTemporaryFolder();
    const QString folder = environment.first();
    CacheProcess holder(baseDir(), CacheProcess::Start::Open, environment);
    // Put back at the end: without the file nobody can remove the semaphore of its key.
    const QString aside = folder + u"-aside"_s;
    ASSERT_TRUE(QDir().rename(folder, aside) && QDir().mkpath(folder));
    {
        CacheProcess newcomer(baseDir(), CacheProcess::Start::Open, environment);
        EXPECT_FALSE(QDir(folder).isEmpty()) << "the newcomer has no semaphore of its own";
        holder.hold();
        newcomer.startHold();
        EXPECT_TRUE(newcomer.isBlocked());
        holder.unhold();
        newcomer.awaitHeld();
        newcomer.unhold();

        // Objects that a process makes of the key now do not lead it astray.
        holder.send(commandToCount(200));
        newcomer.send(commandToCount(200));
        expectOneAtATime(holder);
        expectOneAtATime(newcomer);
        expectNumber(400);
    }
    removeSemaphoresIn(folder);
    ASSERT_TRUE(QDir(folder).removeRecursively() && QDir().rename(aside, folder));
}
