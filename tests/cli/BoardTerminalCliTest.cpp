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
        { signaled(SIGHUP), 129 },
        { signaled(SIGQUIT), -SIGQUIT },
        { [](PtyRun &run) { run.type("\x1c"); }, -SIGQUIT },
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

TEST_F(BoardTerminalCliTest, watch_endDuringALongLook_doesNotWaitForIt)
{
    makeCache();
    CacheDatabase database(cache.databasePath());
    database.run(u"PRAGMA journal_mode = DELETE"_s);
    database.run(u"BEGIN EXCLUSIVE"_s); // the look waits for its end
    struct Ending
    {
        std::function<void(PtyRun &)> end;
        int exitCode;
    };
    const QList<Ending> endings {
        { [](PtyRun &run) { run.type("q"); }, 0 },
        { [](PtyRun &run) { ::kill(pid_t(run.processId()), SIGINT); }, 130 },
        { [](PtyRun &run) { ::kill(pid_t(run.processId()), SIGTERM); }, 143 },
    };
    for (const Ending &ending : endings) {
        const auto board = startBoard();
        EXPECT_TRUE(board->waitFor("\x1b[2J"));
        ending.end(*board);
        EXPECT_EQ(board->exitCode(), ending.exitCode);
        // What the look would have seen was never drawn.
        EXPECT_EQ(board->seen(), entering() + "\x1b[H\x1b[2J" + leaving());
        EXPECT_TRUE(board->isUsual());
    }
    database.run(u"ROLLBACK"_s);
}

TEST_F(BoardTerminalCliTest, watch_stopped_givesTheTerminalBackUntilItGoesOn)
{
    makeCache();
    PtyRun::Options options;
    options.environment = environment();
    const QString line = u"set -m; '%1' --cache '%2' %3; echo stopped $?; read; fg"_s.arg(
        program(), cache.baseDir(), watching().join(u' '));
    PtyRun shell(u"/bin/bash"_s, { u"-c"_s, line }, options);
    EXPECT_TRUE(waitForRow(shell, u"^Programs: 0$"_s));
    EXPECT_FALSE(shell.isUsual());
    shell.type("\x1a");
    EXPECT_TRUE(shell.waitFor("stopped 148"));
    EXPECT_TRUE(shell.isUsual());
    EXPECT_EQ(shell.seen().count(leaving()), 1);
    EXPECT_LT(shell.seen().indexOf(leaving()), shell.seen().indexOf("stopped 148"));
    shell.type("\n");
    EXPECT_TRUE(shell.waitForSeen(
        u"second start"_s, [](const QByteArray &seen) { return seen.count(entering()) == 2; }));
    EXPECT_TRUE(waitForRow(shell, u"^Programs: 0$"_s));
    EXPECT_FALSE(shell.isUsual());
    shell.type("q");
    EXPECT_EQ(shell.exitCode(), 0);
    EXPECT_TRUE(shell.isUsual());
}

TEST_F(BoardTerminalCliTest, watch_stopWithoutAShellThatWaits_goesOn)
{
    makeCache();
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
    ::kill(pid_t(board->processId()), SIGTSTP);
    EXPECT_TRUE(board->waitForSeen(
        u"second start"_s, [](const QByteArray &seen) { return seen.count(entering()) == 2; }));
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
    EXPECT_TRUE(board->isUsual());
}

TEST_F(BoardTerminalCliTest, watch_inputIsNoTerminal_isDrawnAndEndedByASignal)
{
    makeCache();
    PtyRun::Options options;
    options.inputIsTerminal = false;
    const auto board = startBoard(options);
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 0$"_s));
    EXPECT_TRUE(board->isUsual());
    ::kill(pid_t(board->processId()), SIGTERM);
    EXPECT_EQ(board->exitCode(), 143);
    EXPECT_TRUE(board->seen().endsWith(leaving())) << board->seen().toStdString();
    EXPECT_TRUE(board->isUsual());
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
    for (const QString &kind : { u"TERM=dumb"_s, u"TERM="_s }) {
        PtyRun::Options options;
        options.columns = 40;
        options.environment = QStringList { kind };
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

TEST_F(BoardTerminalCliTest, watch_whereErrorsHaveColors_hasNone)
{
    const QRegularExpression color(u"\x1b\\[[\\d;]*m"_s);
    PtyRun::Options options;
    options.environment = QStringList { u"COLORTERM=truecolor"_s };
    const auto failing = startAtTerminal({ u"status"_s }, options);
    EXPECT_EQ(failing->exitCode(), 8);
    EXPECT_TRUE(QString::fromUtf8(failing->seen()).contains(color));

    // First a trouble, then a program that is dead.
    const auto board = startBoard(options);
    EXPECT_TRUE(waitForRow(*board, u"^The board waits for it\\.$"_s));
    makeCache();
    CacheDatabase(cache.databasePath())
        .run(u"INSERT INTO Clients (id, lastPingTime, processId) VALUES (99, 1, 2147483647)"_s);
    EXPECT_TRUE(waitForRow(*board, u"2147483647, dead"_s));
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
    EXPECT_FALSE(QString::fromUtf8(board->seen()).contains(color)) << board->seen().toStdString();
}

} // namespace zel::test
