#include "board/BoardModel.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Life = Liveness;

constexpr qint64 start = 1'700'000'000'000;
constexpr qint64 mebibyte = 1024 * 1024;

BoardModel model()
{
    return BoardModel(u"/c"_s, { 1000, 2000 });
}

/// Client 1 is process 100, which fetches "a"; all is well.
BoardLook quietLook(qint64 now = start)
{
    BoardLook look;
    look.now = now;
    look.activity.clients.append({ 1, 100, now - 2'000 });
    look.activity.acquiringTasks.append({ u"a"_s, 1, 100, 25 });
    look.processes.insert(100, { start - 60'000, u"viewer"_s, {} });
    return look;
}

BoardTransfer transfer(qint64 bytes, qint64 updated, qint64 bytesPerSecond = mebibyte)
{
    BoardTransfer made;
    made.reference = u"a"_s;
    made.processId = 100;
    made.isBeingWritten = true;
    made.bytes = bytes;
    made.totalBytes = 100 * mebibyte;
    made.bytesPerSecond = bytesPerSecond;
    made.updated = updated;
    return made;
}

BoardLook transferringLook(qint64 now, qint64 bytes, qint64 bytesPerSecond = mebibyte)
{
    BoardLook look = quietLook(now);
    look.transfers.append(transfer(bytes, now, bytesPerSecond));
    return look;
}

BoardLook waitingLook(qint64 now)
{
    BoardLook look = quietLook(now);
    look.activity.clients.append({ 2, 200, now - 1'000 });
    look.processes.insert(200, { start - 60'000, u"plot"_s, {} });
    look.activity.acquiringTasks.append({ u"a"_s, 2, 200, std::nullopt });
    return look;
}

} // namespace

// ---- The whole

TEST(BoardModelTest, update_anyLook_handsSizesAndCountsOn)
{
    BoardLook look;
    look.now = start;
    look.freeBytes = 3000;
    look.activity.currentSize = 500;
    look.activity.resourceCounts.insert(ResourceStatus::Ready, 7);
    const Board board = model().update(look);
    EXPECT_EQ(board.baseDirectory, u"/c"_s);
    EXPECT_EQ(board.now, start);
    EXPECT_EQ(board.currentSize, 500);
    EXPECT_EQ(board.limits.optimalSize, 1000);
    EXPECT_EQ(board.limits.maximumSize, 2000);
    EXPECT_EQ(board.freeBytes, 3000);
    EXPECT_EQ(board.resourceCounts.value(ResourceStatus::Ready), 7);
    EXPECT_EQ(board.trouble, QString());
    EXPECT_TRUE(board.fetches.isEmpty());
    EXPECT_TRUE(board.waiters.isEmpty());
    EXPECT_TRUE(board.clients.isEmpty());
}

TEST(BoardModelTest, unreadable_betweenTwoLooks_forgetsNothing)
{
    BoardModel made = model();
    made.update(waitingLook(start));
    const Board trouble = made.unreadable(start + 1'000, u"There is no cache."_s);
    EXPECT_EQ(trouble.trouble, u"There is no cache."_s);
    EXPECT_EQ(trouble.now, start + 1'000);
    EXPECT_TRUE(trouble.waiters.isEmpty());
    EXPECT_EQ(made.update(waitingLook(start + 2'000)).waiters.value(0).since, start);
}

// ---- Fetches

TEST(BoardModelTest, update_fetchWithoutRecord_hasItsPercentAlone)
{
    const Board board = model().update(quietLook());
    ASSERT_EQ(board.fetches.size(), 1);
    const Board::Fetch &fetch = board.fetches.constFirst();
    EXPECT_EQ(fetch.reference, u"a"_s);
    EXPECT_EQ(fetch.percent, 25);
    EXPECT_EQ(fetch.fetcher.program, u"viewer"_s);
    EXPECT_EQ(fetch.fetcher.processId, 100);
    EXPECT_EQ(fetch.fetcher.life, Life::Alive);
    EXPECT_EQ(fetch.bytes, std::nullopt);
    EXPECT_EQ(fetch.totalBytes, std::nullopt);
    EXPECT_EQ(fetch.bytesPerSecond, std::nullopt);
    EXPECT_EQ(fetch.timeLeft, std::nullopt);
}

TEST(BoardModelTest, update_fetchWithRecord_hasBytesRateAndTimeLeft)
{
    const Board board = model().update(transferringLook(start, 25 * mebibyte, 3 * mebibyte));
    const Board::Fetch fetch = board.fetches.value(0);
    EXPECT_EQ(fetch.bytes, 25 * mebibyte);
    EXPECT_EQ(fetch.totalBytes, 100 * mebibyte);
    EXPECT_EQ(fetch.bytesPerSecond, 3.0 * mebibyte);
    EXPECT_EQ(fetch.timeLeft, 25s);
}

TEST(BoardModelTest, update_recordWithoutTotal_tellsNoTimeLeft)
{
    BoardLook look = transferringLook(start, mebibyte);
    look.transfers.first().totalBytes.reset();
    const Board::Fetch fetch = model().update(look).fetches.value(0);
    EXPECT_EQ(fetch.bytes, mebibyte);
    EXPECT_EQ(fetch.timeLeft, std::nullopt);
}

TEST(BoardModelTest, update_recordOfAnotherResource_isNotTaken)
{
    BoardLook look = transferringLook(start, mebibyte);
    look.transfers.first().reference = u"b"_s;
    EXPECT_EQ(model().update(look).fetches.value(0).bytes, std::nullopt);
}

TEST(BoardModelTest, update_severalRecords_prefersTheFetchersOwn)
{
    BoardLook look = transferringLook(start, 5);
    BoardTransfer newer = transfer(7, start);
    newer.processId = 999;
    look.transfers.prepend(newer);
    EXPECT_EQ(model().update(look).fetches.value(0).bytes, 5);
    look.transfers.removeLast();
    EXPECT_EQ(model().update(look).fetches.value(0).bytes, 7);
    look.transfers.first().isBeingWritten = false;
    EXPECT_EQ(model().update(look).fetches.value(0).bytes, std::nullopt);
}

TEST(BoardModelTest, update_rateJumps_isSmoothed)
{
    BoardModel made = model();
    made.update(transferringLook(start, 0, mebibyte));
    // One second with ten times the bytes moves the rate by less than a fifth of the way.
    const double rate = *made.update(transferringLook(start + 1'000, 10 * mebibyte))
                             .fetches.value(0)
                             .bytesPerSecond;
    EXPECT_GT(rate, 2.0 * mebibyte);
    EXPECT_LT(rate, 3.0 * mebibyte);
}

TEST(BoardModelTest, update_newRateStays_isReached)
{
    BoardModel made = model();
    made.update(transferringLook(start, 0, mebibyte));
    Board board;
    for (int second = 1; second <= 30; ++second)
        board = made.update(transferringLook(start + second * 1'000, second * 2 * mebibyte));
    EXPECT_NEAR(*board.fetches.value(0).bytesPerSecond, 2.0 * mebibyte, 0.01 * mebibyte);
    EXPECT_EQ(board.fetches.value(0).timeLeft, 21s); // 40 MiB at a little less than 2 MiB/s
}

TEST(BoardModelTest, update_stalledFetch_losesItsRateAndItsTimeLeft)
{
    BoardModel made = model();
    made.update(transferringLook(start, mebibyte));
    Board board;
    for (int second = 1; second <= 90; ++second)
        board = made.update(transferringLook(start + second * 1'000, mebibyte));
    EXPECT_LT(*board.fetches.value(0).bytesPerSecond, 1);
    EXPECT_EQ(board.fetches.value(0).timeLeft, std::nullopt);
}

TEST(BoardModelTest, update_fetchBeganAnew_startsWithItsOwnRate)
{
    BoardModel made = model();
    made.update(transferringLook(start, 50 * mebibyte));
    const Board board = made.update(transferringLook(start + 1'000, 0, 4 * mebibyte));
    EXPECT_EQ(board.fetches.value(0).bytesPerSecond, 4.0 * mebibyte);
}

TEST(BoardModelTest, update_twoLooksOfOneMoment_keepTheRate)
{
    BoardModel made = model();
    made.update(transferringLook(start, 0));
    const Board board = made.update(transferringLook(start, mebibyte));
    EXPECT_EQ(board.fetches.value(0).bytesPerSecond, 1.0 * mebibyte);
}

// ---- Who waits

TEST(BoardModelTest, update_waiter_isToldSinceTheBoardSawIt)
{
    BoardModel made = model();
    made.update(quietLook(start));
    made.update(waitingLook(start + 1'000));
    const Board board = made.update(waitingLook(start + 13'000));
    ASSERT_EQ(board.waiters.size(), 1);
    EXPECT_EQ(board.waiters.constFirst().reference, u"a"_s);
    EXPECT_EQ(board.waiters.constFirst().program.program, u"plot"_s);
    EXPECT_EQ(board.waiters.constFirst().since, start + 1'000);
    EXPECT_EQ(board.fetches.size(), 1);
}

TEST(BoardModelTest, update_waiterThatCameBack_waitsAnew)
{
    BoardModel made = model();
    made.update(waitingLook(start));
    made.update(quietLook(start + 1'000));
    EXPECT_EQ(made.update(waitingLook(start + 2'000)).waiters.value(0).since, start + 2'000);
}

TEST(BoardModelTest, update_programThatWantsItTwice_waitsOnce)
{
    BoardLook look = waitingLook(start);
    look.activity.acquiringTasks.append({ u"a"_s, 2, 200, std::nullopt });
    look.activity.acquiringTasks.append({ u"b"_s, 2, 200, std::nullopt });
    const Board board = model().update(look);
    ASSERT_EQ(board.waiters.size(), 2);
    EXPECT_EQ(board.waiters.at(1).reference, u"b"_s);
}

TEST(BoardModelTest, update_clientWithoutARow_isUnregistered)
{
    BoardLook look = waitingLook(start);
    look.activity.clients.clear();
    const Board board = model().update(look);
    EXPECT_FALSE(board.waiters.value(0).program.life.has_value());
    EXPECT_FALSE(board.fetches.value(0).fetcher.life.has_value());
    EXPECT_EQ(board.fetches.value(0).fetcher.lastSign, std::nullopt);
}

// ---- Who lives

struct LifeCase
{
    const char *name;
    qint64 pingAge; ///< milliseconds
    std::optional<qint64> processAge; ///< empty: there is no such process
    Life life;
};

class BoardModelLifeTest : public testing::TestWithParam<LifeCase>
{
};

TEST_P(BoardModelLifeTest, update_client_hasItsLife)
{
    const LifeCase &given = GetParam();
    BoardLook look;
    look.now = start;
    look.activity.clients.append({ 1, 100, start - given.pingAge });
    if (given.processAge)
        look.processes.insert(100, { start - *given.processAge, u"viewer"_s, {} });
    const BoardParty party = model().update(look).clients.value(0);
    EXPECT_EQ(party.life, given.life);
    EXPECT_EQ(party.lastSign, start - given.pingAge);
    EXPECT_EQ(party.lastPing, start - given.pingAge);
    EXPECT_EQ(party.counts, given.pingAge <= 30'000);
    const bool isItself = given.life == Life::Alive || given.life == Life::Silent;
    EXPECT_EQ(party.program, isItself ? u"viewer"_s : QString());
}

INSTANTIATE_TEST_SUITE_P(
    All, BoardModelLifeTest,
    testing::Values(LifeCase { "pings", 4'000, 60'000, Life::Alive },
                    LifeCase { "justStarted", 100, 300, Life::Alive },
                    LifeCase { "startedWithinTheRounding", 100, 50, Life::Alive },
                    LifeCase { "silent", 31'000, 60'000, Life::Silent },
                    LifeCase { "gone", 4'000, std::nullopt, Life::Dead },
                    LifeCase { "goneForLong", 400'000, std::nullopt, Life::Dead },
                    LifeCase { "numberReused", 20'000, 10'000, Life::Reused },
                    LifeCase { "numberReusedForLong", 400'000, 300'000, Life::Reused }),
    [](const auto &tested) { return tested.param.name; });

TEST(BoardModelTest, update_fetcherWhoseNumberIsAnothersNow_isDeadAndHasNoRate)
{
    BoardLook look = transferringLook(start, mebibyte);
    look.activity.clients.first().lastPing = start - 500;
    look.transfers.first().isBeingWritten = false;
    look.transfers.first().updated = start - 300;
    look.processes[100].startedAt = start - 100;
    const Board board = model().update(look);
    EXPECT_EQ(board.clients.value(0).life, Life::Reused);
    EXPECT_EQ(board.fetches.value(0).fetcher.life, Life::Reused);
    EXPECT_EQ(board.fetches.value(0).bytes, mebibyte);
    EXPECT_EQ(board.fetches.value(0).bytesPerSecond, std::nullopt);
    EXPECT_EQ(board.fetches.value(0).timeLeft, std::nullopt);
}

TEST(BoardModelTest, update_leftoverRecordOfTheSameNumber_doesNotTellTheClientDead)
{
    BoardLook look = transferringLook(start, mebibyte);
    look.transfers.first().isBeingWritten = false;
    look.transfers.first().updated = start - 90'000;
    EXPECT_EQ(model().update(look).clients.value(0).life, Life::Alive);
}

TEST(BoardModelTest, update_recordNewerThanThePing_isASignOfLife)
{
    BoardLook look = transferringLook(start, mebibyte);
    look.transfers.first().updated = start - 200;
    EXPECT_EQ(model().update(look).clients.value(0).lastSign, start - 200);
}

TEST(BoardModelTest, update_processInAnotherContainer_livesOnceItPings)
{
    BoardModel made = model();
    BoardLook look = quietLook(start);
    look.processes.clear();
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Dead);
    look.now += 5'000;
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Dead);
    look.activity.clients.first().lastPing = look.now;
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Alive);
    look.now += 4'000;
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Alive);
    look.now += 31'000;
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Silent);
}

TEST(BoardModelTest, update_pingJustBeforeTheEnd_isNoLifeElsewhere)
{
    BoardModel made = model();
    BoardLook look = quietLook(start);
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Alive);
    look.now += 1'000;
    look.activity.clients.first().lastPing = look.now - 100;
    look.processes.clear();
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Dead);
    look.now += 1'000;
    EXPECT_EQ(made.update(look).clients.value(0).life, Life::Dead);
}

} // namespace zel::cli
