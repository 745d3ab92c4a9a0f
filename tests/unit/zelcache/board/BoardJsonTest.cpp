#include "board/BoardJson.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Life = Liveness;

Board busyBoard()
{
    Board board;
    board.baseDirectory = u"/c"_s;
    board.now = 1'700'000'000'000;
    board.currentSize = 500;
    board.limits = { 1000, 2000 };
    board.freeBytes = 3000;
    board.resourceCounts = { { ResourceStatus::Ready, 3 } };
    const BoardParty viewer { 100, u"viewer"_s, Life::Alive, 1'699'999'999'000, 1'699'999'998'000,
                              true };
    board.fetches.append({ u"a"_s, viewer, 25, 25, 100, 5.0, 15s });
    Board::Fetch ofNobody;
    ofNobody.reference = u"b"_s;
    ofNobody.fetcher.life = std::nullopt;
    board.fetches.append(ofNobody);
    board.waiters.append(
        { u"a"_s, { 200, {}, Life::Reused, 1'699'999'000'000, 1'699'999'000'000, false }, 42 });
    board.clients.append(viewer);
    return board;
}

} // namespace

TEST(BoardJsonTest, boardJson_busyBoard_tellsTheWhole)
{
    const QJsonObject object = boardJson(busyBoard());
    EXPECT_EQ(object.value(u"time"_s).toInteger(), 1'700'000'000'000);
    EXPECT_EQ(object.value(u"baseDirectory"_s).toString(), u"/c"_s);
    EXPECT_EQ(object.value(u"sizes"_s).toObject(),
              (QJsonObject { { u"current"_s, 500 },
                             { u"optimal"_s, 1000 },
                             { u"maximum"_s, 2000 },
                             { u"free"_s, 3000 } }));
    EXPECT_EQ(object.value(u"resources"_s).toObject(),
              (QJsonObject { { u"Ready"_s, 3 },
                             { u"Missing"_s, 0 },
                             { u"ScheduledForAcquire"_s, 0 },
                             { u"Acquiring"_s, 0 } }));
    EXPECT_EQ(object.value(u"clients"_s).toArray(),
              (QJsonArray { QJsonObject { { u"process"_s, 100 },
                                          { u"program"_s, u"viewer"_s },
                                          { u"state"_s, u"alive"_s },
                                          { u"alive"_s, true },
                                          { u"counts"_s, true },
                                          { u"lastPing"_s, qint64(1'699'999'998'000) },
                                          { u"lastSign"_s, qint64(1'699'999'999'000) } } }));
    EXPECT_FALSE(object.contains(u"error"_s));
}

TEST(BoardJsonTest, boardJson_fetches_tellWhatIsKnown)
{
    const QJsonArray fetches = boardJson(busyBoard()).value(u"fetches"_s).toArray();
    ASSERT_EQ(fetches.size(), 3);
    EXPECT_EQ(fetches.at(0).toObject(),
              (QJsonObject { { u"reference"_s, u"a"_s },
                             { u"process"_s, 100 },
                             { u"program"_s, u"viewer"_s },
                             { u"state"_s, u"alive"_s },
                             { u"alive"_s, true },
                             { u"counts"_s, true },
                             { u"lastPing"_s, qint64(1'699'999'998'000) },
                             { u"lastSign"_s, qint64(1'699'999'999'000) },
                             { u"fetching"_s, true },
                             { u"percent"_s, 25 },
                             { u"receivedBytes"_s, 25 },
                             { u"totalBytes"_s, 100 },
                             { u"bytesPerSecond"_s, 5.0 },
                             { u"secondsLeft"_s, 15 } }));
    const QJsonObject unregistered = fetches.at(1).toObject();
    EXPECT_EQ(unregistered.value(u"state"_s).toString(), u"unregistered"_s);
    for (const QString &member :
         { u"process"_s, u"program"_s, u"lastSign"_s, u"lastPing"_s, u"receivedBytes"_s,
           u"totalBytes"_s, u"bytesPerSecond"_s, u"secondsLeft"_s })
        EXPECT_TRUE(unregistered.value(member).isNull()) << qPrintable(member);
}

TEST(BoardJsonTest, boardJson_waiter_tellsSinceWhen)
{
    const QJsonObject waiter
        = boardJson(busyBoard()).value(u"fetches"_s).toArray().at(2).toObject();
    EXPECT_EQ(waiter.value(u"fetching"_s).toBool(true), false);
    EXPECT_EQ(waiter.value(u"waitingSince"_s).toInt(), 42);
    EXPECT_EQ(waiter.value(u"state"_s).toString(), u"reused"_s);
    EXPECT_EQ(waiter.value(u"alive"_s).toBool(true), false);
    EXPECT_FALSE(waiter.contains(u"percent"_s));
}

TEST(BoardJsonTest, boardJson_unreadableCache_hasAnErrorAndNoLists)
{
    Board board;
    board.now = 7;
    board.trouble = u"No."_s;
    const QJsonObject object = boardJson(board);
    EXPECT_EQ(object.value(u"error"_s).toObject(),
              (QJsonObject { { u"code"_s, 8 }, { u"message"_s, u"No."_s } }));
    EXPECT_EQ(object.value(u"time"_s).toInt(), 7);
    EXPECT_FALSE(object.contains(u"fetches"_s));
    EXPECT_FALSE(object.contains(u"clients"_s));
}

} // namespace zel::cli
