#include "board/BoardScreen.h"

#include "Printers.h"
#include "output/Format.h"
#include "output/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QRegularExpression>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Life = Liveness;

constexpr qint64 now = 1'700'000'000'000;
constexpr qint64 gibibyte = qint64(1024) * 1024 * 1024;

BoardParty party(qint64 processId, const QString &program, Life life = Life::Alive,
                 qint64 silence = 1'000)
{
    return { processId, program, life, now - silence, now - silence, life == Life::Alive };
}

Board emptyBoard()
{
    Board board;
    board.baseDirectory = u"/data/cache"_s;
    board.now = now;
    board.currentSize = 12 * gibibyte;
    board.limits = { 20 * gibibyte, 30 * gibibyte };
    board.freeBytes = 120 * gibibyte;
    board.resourceCounts = { { ResourceStatus::Ready, 1021 },
                             { ResourceStatus::Acquiring, 2 },
                             { ResourceStatus::ScheduledForAcquire, 1 },
                             { ResourceStatus::Missing, 7 } };
    return board;
}

Board::Fetch fetch(const QString &reference)
{
    Board::Fetch made;
    made.reference = reference;
    made.fetcher = party(4711, u"viewer"_s);
    made.percent = 45;
    made.bytes = gibibyte + gibibyte / 5;
    made.totalBytes = 2 * gibibyte + gibibyte / 2;
    made.bytesPerSecond = 12.0 * 1024 * 1024;
    made.timeLeft = 123s;
    return made;
}

/// Of a fetch that tells nothing of itself.
Board::Fetch bareFetch(const QString &reference, const BoardParty &fetcher, int percent)
{
    Board::Fetch made;
    made.reference = reference;
    made.fetcher = fetcher;
    made.percent = percent;
    return made;
}

Board busyBoard()
{
    Board board = emptyBoard();
    board.fetches.append(
        fetch(u"https://data.example.org/projects/proteomics/2024/long/sample-0123456789.raw"_s));
    board.fetches.append(bareFetch(u"share:/mnt/run1.d"_s, party(815, u"convert"_s), 7));
    board.waiters.append({ u"share:/mnt/run1.d"_s, party(12, u"plot"_s), now - 72'000 });
    board.clients = { party(4711, u"viewer"_s), party(815, u"convert"_s), party(12, u"plot"_s),
                      party(99, {}, Life::Reused, 12'000) };
    return board;
}

QStringList atWidth(const Board &board, int columns)
{
    BoardRoom room;
    room.columns = columns;
    return boardLines(board, room);
}

/// The lines below those of the cache as a whole.
QStringList listsOf(const Board &board, int columns = 80)
{
    const QStringList lines = atWidth(board, columns);
    return lines.mid(lines.indexOf(QString()) + 1);
}

} // namespace

// ---- The whole

TEST(BoardScreenTest, boardLines_80Columns_areExactlyThese)
{
    const QStringList expected {
        u"/data/cache  "_s + timeText(now),
        u"Size: 12.0 GiB of 20.0 GiB, at most 30.0 GiB, 120.0 GiB free on disk"_s,
        u"Resources: 1021 ready, 3 being fetched, 7 missing"_s,
        QString(),
        u"Fetches: 2"_s,
        u" 45%  https://data.example.org/projects/p..mics/2024/long/sample-0123456789.raw"_s,
        u"      1.2 GiB of 2.5 GiB  12.0 MiB/s  2:03 left  viewer 4711, 0:01 ago"_s,
        u"  7%  share:/mnt/run1.d"_s,
        u"      convert 815, 0:01 ago"_s,
        QString(),
        u"Waiting: 1"_s,
        u"  1:12+  plot 12, seen 0:01 ago  share:/mnt/run1.d"_s,
        QString(),
        u"Programs: 4"_s,
        u"  viewer 4711, seen 0:01 ago"_s,
        u"  convert 815, seen 0:01 ago"_s,
        u"  plot 12, seen 0:01 ago"_s,
        u"  process 99, dead (number reused), seen 0:12 ago"_s,
    };
    EXPECT_EQ(boardLines(busyBoard(), { 80, 24 }), expected);
}

TEST(BoardScreenTest, boardLines_40Columns_areExactlyThese)
{
    const QStringList expected {
        u"/data/cache  "_s + timeText(now),
        u"Size: 12.0 GiB of 20.0 GiB,"_s,
        u"      at most 30.0 GiB,"_s,
        u"      120.0 GiB free on disk"_s,
        u"Resources: 1021 ready, 3 being fetched,"_s,
        u"      7 missing"_s,
        QString(),
        u"Fetches: 2"_s,
        u" 45%  https://data.ex..e-0123456789.raw"_s,
        u"      1.2 GiB of 2.5 GiB  12.0 MiB/s"_s,
        u"      2:03 left  viewer 4711, 0:01 ago"_s,
        u"  7%  share:/mnt/run1.d"_s,
        u"      convert 815, 0:01 ago"_s,
        QString(),
        u"Waiting: 1"_s,
        u"  1:12+  plot 12, seen 0:01 ago"_s,
        u"      share:/mnt/run1.d"_s,
        QString(),
        u"Programs: 4"_s,
        u"  viewer 4711, seen 0:01 ago"_s,
        u"  convert 815, seen 0:01 ago"_s,
        u"  plot 12, seen 0:01 ago"_s,
        u"  process 99, dead (number reused),"_s,
        u"      seen 0:12 ago"_s,
    };
    EXPECT_EQ(boardLines(busyBoard(), { 40, 24 }), expected);
}

TEST(BoardScreenTest, boardLines_nothingGoesOn_keepsItsShape)
{
    EXPECT_EQ(
        listsOf(emptyBoard()),
        (QStringList { u"Fetches: 0"_s, QString(), u"Waiting: 0"_s, QString(), u"Programs: 0"_s }));
}

TEST(BoardScreenTest, boardLines_narrowTerminal_leavesFiguresOutRatherThanCutThem)
{
    const QString whole = boardLines(busyBoard(), { 200, 60 }).join(u", "_s);
    for (int columns = 2; columns < 80; ++columns) {
        for (const QString &line : boardLines(busyBoard(), { columns, 60 }).mid(1)) {
            EXPECT_LT(line.size(), columns);
            // The middle of a reference may be left out.
            if (line.contains(u".."_s) && !line.contains(u"GiB"_s) && !line.contains(u"ago"_s))
                continue;
            for (QString piece : line.split(QRegularExpression(u"  +|, "_s), Qt::SkipEmptyParts)) {
                if (piece.endsWith(u','))
                    piece.chop(1);
                piece.replace(u" / "_s, u" of "_s);
                EXPECT_TRUE(whole.contains(piece)) << columns << ": " << qPrintable(line);
            }
        }
    }
    EXPECT_EQ(boardLines(busyBoard(), { 10, 60 }).value(1), u"12.0 GiB"_s);
}

TEST(BoardScreenTest, boardLines_freeSpaceUnknown_leavesItOut)
{
    Board board = emptyBoard();
    board.freeBytes.reset();
    EXPECT_EQ(atWidth(board, 80).value(1), u"Size: 12.0 GiB of 20.0 GiB, at most 30.0 GiB"_s);
}

TEST(BoardScreenTest, boardLines_cacheCannotBeRead_tellsWhyAndWaits)
{
    Board board;
    board.baseDirectory = u"/data/cache"_s;
    board.now = now;
    board.trouble = u"There is no cache database \"/data/cache/ResourceCache.db\"."_s;
    EXPECT_EQ(atWidth(board, 80),
              (QStringList { u"/data/cache  "_s + timeText(now), QString(),
                             u"There is no cache database \"/data/cache/ResourceCache.db\"."_s,
                             u"The board waits for it."_s }));
    EXPECT_EQ(atWidth(board, 40).mid(2),
              (QStringList { u"There is no cache database"_s,
                             u"      \"/data/cache/ResourceCache.db\"."_s,
                             u"The board waits for it."_s }));
}

// ---- Lives

struct PartyCase
{
    const char *name;
    BoardParty party;
    QString text;
};

class BoardScreenPartyTest : public testing::TestWithParam<PartyCase>
{
};

TEST_P(BoardScreenPartyTest, boardLines_client_isToldLikeThis)
{
    Board board = emptyBoard();
    board.clients = { GetParam().party };
    EXPECT_EQ(listsOf(board).constLast(), u"  "_s + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, BoardScreenPartyTest,
    testing::Values(
        PartyCase { "alive", party(7, u"plot"_s, Life::Alive, 999), u"plot 7, seen 0:00 ago"_s },
        PartyCase { "nameless", party(7, {}), u"process 7, seen 0:01 ago"_s },
        PartyCase { "silent", party(7, u"plot"_s, Life::Silent, 75'000),
                    u"plot 7, silent for 1:15"_s },
        PartyCase { "dead", party(7, {}, Life::Dead, 3'000), u"process 7, dead, seen 0:03 ago"_s },
        PartyCase { "reused", party(7, {}, Life::Reused, 3'000),
                    u"process 7, dead (number reused), seen 0:03 ago"_s },
        PartyCase { "clockSetBack", party(7, u"plot"_s, Life::Alive, -5'000),
                    u"plot 7, seen 0:00 ago"_s },
        PartyCase { "hostileName", party(7, u"a\x1b[2J"_s), u"a\\x1b[2J 7, seen 0:01 ago"_s }),
    [](const auto &tested) { return tested.param.name; });

TEST(BoardScreenTest, boardLines_fetcherWithoutARow_isGone)
{
    Board board = emptyBoard();
    board.fetches.append(bareFetch(QString(), { 0, {}, std::nullopt, {}, {}, false }, 100));
    EXPECT_EQ(listsOf(board).mid(1, 2),
              (QStringList { u"100%  a resource that the cache does not know"_s,
                             u"      a program that is gone"_s }));
}

TEST(BoardScreenTest, boardLines_partsOfATransfer_areToldAsFarAsKnown)
{
    Board board = emptyBoard();
    board.fetches.append(fetch(u"a"_s));
    board.fetches.first().totalBytes.reset();
    board.fetches.first().timeLeft.reset();
    EXPECT_EQ(listsOf(board).value(2), u"      1.2 GiB  12.0 MiB/s  viewer 4711, 0:01 ago"_s);
}

// ---- Room

TEST(BoardScreenTest, boardLines_tooManyForTheRows_tellsHowManyAreNotShown)
{
    Board board = emptyBoard();
    for (int i = 0; i < 120; ++i) {
        const QString reference = u"share:/run%1"_s.arg(i);
        board.fetches.append(bareFetch(reference, party(1, u"get"_s), 1));
        board.waiters.append({ reference, party(2, u"plot"_s), now });
        board.clients.append(party(i, u"plot"_s));
    }
    const QStringList lines = boardLines(board, { 80, 24 });
    EXPECT_EQ(lines.size(), 24);
    EXPECT_THAT(lines, testing::Contains(u"Fetches: 120, 116 not shown"_s));
    EXPECT_THAT(lines, testing::Contains(u"Waiting: 120, 116 not shown"_s));
    EXPECT_THAT(lines, testing::Contains(u"Programs: 120, 117 not shown"_s));
    EXPECT_EQ(lines.filter(u"+  plot 2"_s).size(), 4);
    EXPECT_EQ(lines.filter(QRegularExpression(u"^  plot "_s)).size(), 3);
}

TEST(BoardScreenTest, boardLines_fewRows_showOneOfEachListFromTheTopDownFirst)
{
    Board board = emptyBoard();
    for (int i = 0; i < 3; ++i) {
        board.fetches.append(bareFetch(u"share:/run%1"_s.arg(i), party(1, u"get"_s), 1));
        board.clients.append(party(i, u"plot"_s));
    }
    board.waiters.append({ u"share:/run0"_s, party(2, u"plot"_s), now });
    const auto titles = [&board](int rows) {
        return boardLines(board, { 50, rows })
            .filter(QRegularExpression(u"^[A-Z].*: [0-9](,|$)"_s));
    };
    EXPECT_EQ(titles(14),
              (QStringList { u"Fetches: 3, 2 not shown"_s, u"Waiting: 1"_s,
                             u"Programs: 3, 3 not shown"_s }));
    EXPECT_EQ(titles(15).constLast(), u"Programs: 3, 2 not shown"_s);
    EXPECT_EQ(titles(17),
              (QStringList { u"Fetches: 3, 1 not shown"_s, u"Waiting: 1"_s,
                             u"Programs: 3, 2 not shown"_s }));
    EXPECT_EQ(titles(21), (QStringList { u"Fetches: 3"_s, u"Waiting: 1"_s, u"Programs: 3"_s }));
}

TEST(BoardScreenTest, boardLines_narrowTerminal_showsThatTheWordsBehindANumberAreCut)
{
    const QStringList lines = boardLines(busyBoard(), { 20, 60 });
    EXPECT_THAT(lines, testing::Contains(u"      3 being fe..,"_s));
    EXPECT_THAT(lines, testing::Contains(u"      7 missing"_s));
    EXPECT_THAT(lines, testing::Contains(u"1021 ready,"_s));
}

TEST(BoardScreenTest, boardLines_troubleOfTwoLines_keepsThem)
{
    Board board = emptyBoard();
    board.trouble = u"It cannot be read.\n\"/a\": Is a directory"_s;
    EXPECT_THAT(atWidth(board, 80),
                testing::IsSupersetOf({ u"It cannot be read."_s, u"\"/a\": Is a directory"_s }));
}

TEST(BoardScreenTest, boardLines_unboundedRows_showsEverything)
{
    Board board = emptyBoard();
    for (int i = 0; i < 1'000; ++i)
        board.fetches.append(bareFetch(u"share:/run%1"_s.arg(i), party(1, u"get"_s), 1));
    EXPECT_EQ(atWidth(board, 80).filter(u"share:/run"_s).size(), 1'000);
    EXPECT_THAT(atWidth(board, 80), testing::Contains(u"Fetches: 1000"_s));
}

TEST(BoardScreenTest, boardLines_hundredThousandFetches_fitTheRows)
{
    Board board = emptyBoard();
    board.fetches.fill(bareFetch(u"share:/run"_s, party(1, u"get"_s), 1), 100'000);
    board.waiters.fill({ u"share:/run"_s, party(1, u"get"_s), now }, 100'000);
    const QStringList lines = boardLines(board, { 80, 24 });
    EXPECT_LE(lines.size(), 24);
    EXPECT_THAT(lines, testing::Contains(u"Fetches: 100000, 99994 not shown"_s));
}

TEST(BoardScreenTest, boardLines_wideCharacters_countTwice)
{
    Board board = emptyBoard();
    board.fetches.append(
        bareFetch(u"share:/"_s + QString(60, QChar(0x6e2c)), party(1, u"get"_s), 1));
    const QString line = listsOf(board).value(1);
    EXPECT_LE(columnsOf(line), 79);
    EXPECT_GE(columnsOf(line), 77);
    EXPECT_TRUE(line.contains(u".."_s));
}

TEST(BoardScreenTest, boardLines_anyRoom_neverTakesMore)
{
    Board board = busyBoard();
    board.fetches.append(fetch(u"share:/"_s + QString(60, QChar(0x6e2c)) + u"\x1b\n"_s));
    Board trouble = board;
    trouble.trouble = u"There is no \u6e2c\u6e2c cache \x1b[2J of this name."_s;
    for (int columns = 1; columns <= 120; ++columns) {
        for (const int rows : { 1, 2, 5, 12, 24, 60 }) {
            for (const Board &shown : { board, trouble }) {
                const QStringList lines = boardLines(shown, { columns, rows });
                EXPECT_LE(lines.size(), rows);
                for (const QString &line : lines)
                    EXPECT_LE(columnsOf(line), std::max(columns - 1, 1))
                        << columns << "x" << rows << ": " << qPrintable(line);
            }
        }
    }
}

} // namespace zel::cli
