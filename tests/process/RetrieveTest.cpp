#include "CacheDatabase.h"
#include "CacheProcess.h"
#include "FetchProcess.h"
#include "TemporaryCache.h"
#include "WaitUntil.h"

#include <vector>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int sourceSize = 100'000;
const QString reference = u"test:a"_s;

/// Programs that want the same resource, as users have them.
class RetrieveTest : public testing::Test
{
protected:
    using Processes = std::vector<std::unique_ptr<FetchProcess>>;

    RetrieveTest()
        : source(cache.outside(u"source"_s), sourceSize)
    {
    }

    QString pathOf(const QString &name) const
    {
        return cache.dataDir() + u"/test/%1/data"_s.arg(name);
    }

    std::unique_ptr<FetchProcess> start(const QStringList &references,
                                        const QStringList &pauses = {})
    {
        return std::make_unique<FetchProcess>(cache.baseDir(), source, references,
                                              FetchOptions { .pauses = pauses });
    }

    std::unique_ptr<FetchProcess> startAndAwait(const QString &step)
    {
        auto process = start({ reference }, { step });
        process->awaitPause(step);
        return process;
    }

    void expectWhole(FetchProcess &process, const QString &name = u"a"_s)
    {
        EXPECT_EQ(process.answer(), pathOf(name));
        EXPECT_EQ(readFile(pathOf(name)), source.content());
    }

    /// As if half a minute had passed, and somebody else had looked around.
    void cleanUpAfterTheDead()
    {
        {
            CacheDatabase database(cache.databasePath());
            database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
        }
        const CacheProcess anybody(cache.baseDir());
    }

    /// Waits until a fetcher that stands still at "half" has told all of its progress and holds the
    /// semaphore no more: stopped with it, it would stop everybody.
    void awaitRest()
    {
        CacheDatabase database(cache.databasePath());
        ASSERT_TRUE(waitUntil([&] {
            return database.value(u"SELECT progress FROM AcquiringTasks"_s).toInt() >= 50;
        }));
        CacheProcess anybody(cache.baseDir());
        anybody.hold();
    }

    bool waitForTasks(int count)
    {
        CacheDatabase database(cache.databasePath());
        return waitUntil([&] { return database.count(u"AcquiringTasks"_s) == count; });
    }

    TemporaryCache cache;
    FetchSource source;
};

} // namespace

TEST_F(RetrieveTest, retrieve_oneProcess_bringsTheData)
{
    const auto process = start({ reference });
    expectWhole(*process);
    EXPECT_EQ(process->end(), 0);
    EXPECT_EQ(source.transfers(), 1);
}

TEST_F(RetrieveTest, retrieve_resourceIsThere_fetchesNothing)
{
    EXPECT_EQ(start({ reference })->end(), 0);
    const auto second = start({ reference });
    expectWhole(*second);
    EXPECT_EQ(source.transfers(), 1);
}

TEST_F(RetrieveTest, retrieve_thirtyProcessesAtOnce_oneTransfer)
{
    constexpr int count = 30;
    const auto fetcher = startAndAwait(u"half"_s);
    Processes others;
    while (others.size() < count - 1)
        others.push_back(start({ reference }));
    // All have asked before there is anything to have.
    ASSERT_TRUE(waitForTasks(count));
    fetcher->goOn();

    expectWhole(*fetcher);
    for (const auto &process : others)
        expectWhole(*process);
    for (const auto &process : others)
        EXPECT_EQ(process->end(), 0);
    EXPECT_EQ(source.transfers(), 1);
}

TEST_F(RetrieveTest, retrieve_processesRaceFromTheStart_oneTransfer)
{
    Processes processes;
    while (processes.size() < 12)
        processes.push_back(start({ reference }));
    for (const auto &process : processes)
        expectWhole(*process);
    for (const auto &process : processes)
        EXPECT_EQ(process->end(), 0);
    EXPECT_EQ(source.transfers(), 1);
}

TEST_F(RetrieveTest, retrieve_severalResourcesInDifferentOrder_oneTransferEach)
{
    const QStringList names { u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s };
    Processes processes;
    for (int shift = 0; shift < names.size(); ++shift) {
        QStringList references;
        for (int i = 0; i < names.size(); ++i)
            references.append(u"test:"_s + names.at((i + shift) % names.size()));
        processes.push_back(start(references));
    }
    for (const auto &process : processes)
        EXPECT_EQ(process->end(), 0);
    for (const QString &name : names)
        EXPECT_EQ(readFile(pathOf(name)), source.content());
    EXPECT_EQ(source.transfers(), names.size());
}

// Nobody tells the watcher: its own ping finds the dead, its own look at the database the rest.
TEST_F(RetrieveTest, retrieve_fetcherKilledWhileAnotherWaits_itTakesOver)
{
    const auto fetcher = startAndAwait(u"half"_s);
    const auto watcher = start({ reference });
    ASSERT_TRUE(waitForTasks(2));
    fetcher->kill();
    {
        CacheDatabase database(cache.databasePath());
        database.run(
            u"UPDATE Clients SET lastPingTime = lastPingTime - 31000 WHERE processId = ?"_s,
            { fetcher->pid() });
    }
    expectWhole(*watcher);
    EXPECT_EQ(watcher->end(), 0);
    EXPECT_EQ(source.transfers(), 2);
}

TEST_F(RetrieveTest, retrieve_watcherKilled_fetcherAndOthersGoOn)
{
    const auto fetcher = startAndAwait(u"half"_s);
    const auto first = start({ reference });
    const auto second = start({ reference });
    ASSERT_TRUE(waitForTasks(3));
    first->kill();
    fetcher->goOn();
    expectWhole(*fetcher);
    expectWhole(*second);
    EXPECT_EQ(source.transfers(), 1);
}

TEST_F(RetrieveTest, retrieve_programThatUsesTheResourceIsKilled_dataStays)
{
    startAndAwait(u"half"_s)->kill();
    cleanUpAfterTheDead();
    const auto user = start({ reference }, { u"retrieved"_s });
    expectWhole(*user);
    user->awaitPause(u"retrieved"_s);
    user->kill();
    cleanUpAfterTheDead();
    const auto next = start({ reference });
    expectWhole(*next);
    EXPECT_EQ(source.transfers(), 2);
}

// Taken for dead while it stood still, it finds its fetch done by another.
TEST_F(RetrieveTest, retrieve_fetcherStoppedAndCleanedUp_goesOnWithoutHarm)
{
    const auto sleeper = startAndAwait(u"half"_s);
    awaitRest();
    sleeper->stop();
    {
        CacheDatabase database(cache.databasePath());
        database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 40000"_s);
    }
    const auto other = start({ reference });
    expectWhole(*other);
    EXPECT_EQ(other->end(), 0);

    sleeper->cont();
    sleeper->goOn();
    expectWhole(*sleeper);
    EXPECT_EQ(sleeper->end(), 0);
    const auto next = start({ reference });
    expectWhole(*next);
    EXPECT_EQ(source.transfers(), 2);
}

namespace {

class RetrieveKilledFetcherTest : public RetrieveTest,
                                  public testing::WithParamInterface<const char *>
{
};

} // namespace

TEST_P(RetrieveKilledFetcherTest, retrieve_fetcherKilledAtTheStep_nextHasWholeData)
{
    startAndAwait(QString::fromLatin1(GetParam()))->kill();
    cleanUpAfterTheDead();
    const auto next = start({ reference });
    expectWhole(*next);
    EXPECT_EQ(next->end(), 0);
    // No row is left of the first attempt. Its half of a file is the scheme's own affair.
    CacheDatabase database(cache.databasePath());
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database.status(reference), u"Ready"_s);
}

INSTANTIATE_TEST_SUITE_P(Steps, RetrieveKilledFetcherTest,
                         testing::Values("opened", "made", "started", "half", "copied"),
                         [](const auto &step) { return std::string(step.param); });
