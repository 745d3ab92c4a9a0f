#include "BoardCli.h"

#include "Printers.h"

#include <gmock/gmock.h>

#include <QRegularExpression>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class BoardTerminalCliTest : public BoardCli
{
};

TEST_F(BoardTerminalCliTest, watch_terminalChangesItsSize_fitsTheNewOne)
{
    makeCache();
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
    board->resize(40, 7);
    EXPECT_TRUE(waitForRow(*board, u"^      120|^ +at most 20\\.0 GiB,$"_s));
    for (const QString &row : screenOf(board->seen()))
        EXPECT_LE(row.size(), 39) << qPrintable(row);
    EXPECT_LE(screenOf(board->seen()).size(), 7);
    board->resize(100, 30);
    EXPECT_TRUE(
        waitForRow(*board, u"^Size: 2\\.0 KiB of 10\\.0 GiB, at most 20\\.0 GiB, .* free"_s));
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
}

TEST_F(BoardTerminalCliTest, watch_end_givesTheTerminalBack)
{
    makeCache();
    struct Ending
    {
        std::function<void(PtyRun &)> end;
        int exitCode;
    };
    const auto signaled = [](int number) {
        return [number](PtyRun &run) {
            ::kill(pid_t(run.processId()), number);
        };
    };
    const QList<Ending> endings {
        { [](PtyRun &run) { run.type("q"); }, 0 },
        { [](PtyRun &run) { run.type("\x03"); }, 130 },
        { signaled(SIGINT), 130 },
        { signaled(SIGTERM), 143 },
    };
    for (const Ending &ending : endings) {
        const auto board = startBoard();
        EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
        EXPECT_TRUE(board->seen().startsWith(entering())) << board->seen().toStdString();
        EXPECT_FALSE(board->isUsual());
        ending.end(*board);
        EXPECT_EQ(board->exitCode(), ending.exitCode);
        EXPECT_TRUE(board->seen().endsWith(leaving())) << board->seen().toStdString();
        EXPECT_EQ(board->seen().count(leaving()), 1);
        EXPECT_TRUE(board->isUsual());
        // Nothing scrolls, and other keys neither end it nor are shown.
        EXPECT_FALSE(board->seen().contains('\n'));
    }
}

TEST_F(BoardTerminalCliTest, watch_otherKeys_neitherEndItNorAreShown)
{
    makeCache();
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
    board->type("xyz\x1a\n ");
    makeCache();
    board->resize(80, 4);
    EXPECT_TRUE(waitForRow(*board, u"^Resources: "_s));
    EXPECT_FALSE(board->seen().contains("xyz"));
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
}

TEST_F(BoardTerminalCliTest, watch_secondSignalDuringALongLook_givesTheTerminalBack)
{
    makeCache();
    CacheDatabase database(cache.databasePath());
    database.run(u"PRAGMA journal_mode = DELETE"_s);
    database.run(u"BEGIN EXCLUSIVE"_s); // the look waits for its end
    const auto board = startBoard();
    EXPECT_TRUE(board->waitFor(entering()));
    // Two of a kind might become one on their way.
    ::kill(pid_t(board->processId()), SIGINT);
    ::kill(pid_t(board->processId()), SIGTERM);
    EXPECT_THAT(board->exitCode(), testing::AnyOf(130, 143));
    EXPECT_TRUE(board->seen().endsWith(leaving())) << board->seen().toStdString();
    EXPECT_TRUE(board->isUsual());
    database.run(u"ROLLBACK"_s);
}

TEST_F(BoardTerminalCliTest, watch_quietMoments_sendAlmostNothing)
{
    makeCache();
    const auto board = startBoard();
    const QByteArray clock = "\x1b[1;1H";
    // Of ten looks at a cache in which nothing happens, only the clock is drawn anew. What is free
    // on the disk is up to other programs.
    EXPECT_TRUE(board->waitForSeen(
        u"ticking clock"_s, [&clock](const QByteArray &seen) { return seen.count(clock) >= 3; }));
    EXPECT_EQ(board->seen().count("\x1b[3;1H"), 1);
    EXPECT_EQ(board->seen().count("\x1b[2J"), 1);
}

TEST_F(BoardTerminalCliTest, watch_dumbTerminal_appendsBlocks)
{
    makeCache();
    PtyRun::Options options;
    options.columns = 40;
    options.environment = QStringList { u"TERM=dumb"_s };
    const auto board = startBoard(options);
    EXPECT_TRUE(board->waitForSeen(u"two blocks"_s, [](const QByteArray &seen) {
        return seen.count("Programs: 0\r\n\r\n/") >= 2;
    }));
    EXPECT_FALSE(board->seen().contains('\x1b')) << board->seen().toStdString();
    for (const QByteArray &line : board->seen().split('\n'))
        EXPECT_LE(line.size(), 40) << line.toStdString();
    board->type("\x03");
    EXPECT_EQ(board->exitCode(), 130);
}

TEST_F(BoardTerminalCliTest, watch_withALogBesideIt_appendsBlocks)
{
    makeCache();
    const auto board = startAtTerminal(watching({ u"-v"_s }));
    EXPECT_TRUE(board->waitForSeen(u"two blocks"_s, [](const QByteArray &seen) {
        return seen.count("Programs: 0\r\n\r\n/") >= 2;
    }));
    EXPECT_FALSE(board->seen().contains('\x1b')) << board->seen().toStdString();
}

TEST_F(BoardTerminalCliTest, watch_always_hasNoColors)
{
    makeCache();
    for (const QString &setting : { u"NO_COLOR=1"_s, u"COLORTERM=truecolor"_s }) {
        PtyRun::Options options;
        options.environment = QStringList { setting };
        const auto board = startBoard(options);
        EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
        board->type("q");
        EXPECT_EQ(board->exitCode(), 0);
        const QRegularExpression color(u"\x1b\\[[\\d;]*m"_s);
        EXPECT_FALSE(QString::fromUtf8(board->seen()).contains(color));
    }
}

} // namespace zel::test
