#include "BoardCli.h"

#include "NginxServer.h"
#include "Printers.h"

#include <QDateTime>
#include <QSystemSemaphore>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class BoardCliTest : public BoardCli
{
protected:
    /// 30 MB at 100 KB/s: nothing of it ends before a test does.
    static NginxServer::Options slowly()
    {
        NginxServer::Options options;
        options.bytesPerSecond = 100'000;
        return options;
    }

    BoardCliTest()
    {
        for (const QString &name : { u"a.raw"_s, u"b.raw"_s })
            server.addSparseFile(name, 30'000'000);
    }

    std::unique_ptr<ProgramRun> startFetch(const QString &name) const
    {
        return start({ u"get"_s, server.url(name) });
    }

    static QString numberOf(const ProgramRun &run) { return QString::number(run.processId()); }

    NginxServer server { slowly() };
};

// ---- What it shows

TEST_F(BoardCliTest, watch_twoProgramsFetchAndOneWaits_showsThemAll)
{
    const auto first = startFetch(u"a.raw"_s);
    waitUntil([this] { return stagedBytes() > 1000; });
    const auto second = startFetch(u"b.raw"_s);
    const auto waiter = startFetch(u"a.raw"_s);
    const auto board = startBoard();

    EXPECT_TRUE(waitForRow(*board, u"^Fetches: 2$"_s));
    EXPECT_TRUE(waitForRow(*board, u"^Waiting: 1$"_s));
    EXPECT_TRUE(waitForRow(*board, u"^Programs: 3$"_s));
    EXPECT_TRUE(waitForRow(*board, u"^ +\\d%  http://127.0.0.1:\\d+/a.raw$"_s));
    const QString transfer = u"^ +\\d.* [KM]iB of 28\\.6 MiB  [\\d.]+ [KM]iB/s  [\\d:]+ left  "_s;
    EXPECT_TRUE(waitForRow(*board, transfer + u"zelcache %1, 0:0\\d ago$"_s.arg(numberOf(*first))));
    EXPECT_TRUE(waitForRow(*board, transfer + u"zelcache %1, 0:0"_s.arg(numberOf(*second))));
    EXPECT_TRUE(waitForRow(
        *board,
        u"^ +0:0\\d\\+  zelcache %1, seen .* ago  http://.*/a.raw$"_s.arg(numberOf(*waiter))));
    EXPECT_TRUE(waitForRow(*board, u"^ +0:0[1-9]\\+  zelcache "_s));
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
}

TEST_F(BoardCliTest, watch_fetcherIsKilled_showsItDead)
{
    const auto fetcher = startFetch(u"a.raw"_s);
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^      .*zelcache %1, 0:0"_s.arg(numberOf(*fetcher))));
    const QString number = numberOf(*fetcher);
    fetcher->sendSignal(SIGKILL);
    EXPECT_EQ(fetcher->exitCode(), -SIGKILL);
    EXPECT_TRUE(waitForRow(*board, u"^      .*process %1, dead, seen"_s.arg(number)));
    EXPECT_TRUE(waitForRow(*board, u"^  process %1, dead, seen"_s.arg(number)));
}

TEST_F(BoardCliTest, watch_numberOfADeadProgramIsAnothersNow_showsItDead)
{
    makeCache();
    const auto newcomer = std::make_unique<ProgramRun>(u"sleep"_s, QStringList { u"1000"_s });
    const qint64 lastPing = QDateTime::currentMSecsSinceEpoch() - 15'000;
    CacheDatabase database(cache.databasePath());
    database.run(u"INSERT INTO Clients (id, processId, lastPingTime) VALUES (77, ?, ?)"_s,
                 { newcomer->processId(), lastPing });
    database.run(
        u"INSERT INTO AcquiringTasks (resourceId, progress, clientId) VALUES (1, 40, 77)"_s);
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^ 40%  share:.*ready.raw$"_s));
    const QString dead = u"process %1, dead \\(number reused\\), seen 0:\\d\\d ago$"_s;
    EXPECT_TRUE(waitForRow(*board, u"^      "_s + dead.arg(numberOf(*newcomer))));
    EXPECT_TRUE(waitForRow(*board, u"^  "_s + dead.arg(numberOf(*newcomer))));
}

TEST_F(BoardCliTest, watch_noCache_waitsForOneAndMakesNone)
{
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^There is no cache database"_s));
    EXPECT_TRUE(waitForRow(*board, u"^The board waits for it\\.$"_s));
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
    makeCache();
    EXPECT_TRUE(waitForRow(*board, u"^Resources: 1 ready, 0 being fetched, 0 missing$"_s));
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
}

TEST_F(BoardCliTest, watch_cachesOfAnySize_areCountedWithoutALockOrATrace)
{
    makeCache();
    CacheDatabase database(cache.databasePath());
    const auto clients = u"SELECT MAX(seq) FROM sqlite_sequence WHERE name = 'Clients'"_s;
    const QVariant before = database.value(clients);
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^Resources: 1 ready, 0 being fetched, 0 missing$"_s));
    database.run(u"DELETE FROM CachedResources"_s);
    EXPECT_TRUE(waitForRow(*board, u"^Resources: 0 ready, 0 being fetched, 0 missing$"_s));
    database.run(
        u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
        "INSERT INTO CachedResources (reference, fileSize, status, cleanupPolicy, "
        "lastAccessDateTime, lastStatusUpdateClientId) SELECT 'test:' || i, 1024, "
        "iif(i % 4, 'Ready', 'Missing'), 'OnDemand', i, 1 FROM n"_s);
    EXPECT_TRUE(waitForRow(*board, u"^Resources: 75000 ready, 0 being fetched, 25000 missing$"_s));
    EXPECT_TRUE(waitForRow(*board, u"^Size: 97\\.7 MiB of 10\\.0 GiB, at most 20\\.0 GiB, "_s));
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
    EXPECT_TRUE(semaphore.release());
    EXPECT_EQ(database.value(clients), before);
}

TEST_F(BoardCliTest, watch_hundredThousandFetches_tellsHowManyAreNotShown)
{
    makeCache();
    CacheDatabase(cache.databasePath())
        .run(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
             "INSERT INTO AcquiringTasks (resourceId, progress, clientId) SELECT 1, 5, i FROM n"_s);
    const auto board = startBoard();
    EXPECT_TRUE(waitForRow(*board, u"^Fetches: 100000, 99993 not shown$"_s));
    EXPECT_LE(screenOf(board->seen()).size(), 24);
    EXPECT_EQ(screenOf(board->seen()).filter(u"  a program that is gone"_s).size(), 7);
    board->type("q");
    EXPECT_EQ(board->exitCode(), 0);
}

// ---- Without a terminal

TEST_F(BoardCliTest, watch_pipe_hasBlocksOfWholeLines)
{
    makeCache();
    const auto board = start(watching());
    waitUntil([&board] { return board->output().count("\n\n/") >= 2; });
    board->sendSignal(SIGINT);
    EXPECT_EQ(board->exitCode(), 130);
    const QByteArray output = board->output();
    EXPECT_FALSE(output.contains('\x1b')) << output.toStdString();
    EXPECT_TRUE(output.startsWith(cache.baseDir().toUtf8() + "  2")) << output.toStdString();
    EXPECT_TRUE(output.endsWith("\nPrograms: 0\n")) << output.toStdString();
    EXPECT_EQ(board->errors(), "");
}

TEST_F(BoardCliTest, watch_json_isOneObjectALine)
{
    const auto fetcher = startFetch(u"a.raw"_s);
    waitUntil([this] { return stagedBytes() > 1000; });
    const auto waiter = startFetch(u"a.raw"_s);
    const auto board = startJsonBoard();
    waitUntil([&board] { return board->output().contains("\"waitingSince\""); });
    waitUntil([&board] { return board->output().contains("\"secondsLeft\":"); });
    board->sendSignal(SIGTERM);
    EXPECT_EQ(board->exitCode(), 143);

    qint64 lastTime = 0;
    const QStringList lines = linesOf(board->output());
    for (const QString &line : lines) {
        const QJsonObject object = jsonOf(line.toUtf8() + '\n');
        EXPECT_EQ(object.value(u"command"_s).toString(), u"status"_s);
        EXPECT_GE(object.value(u"time"_s).toInteger(), lastTime);
        lastTime = object.value(u"time"_s).toInteger();
    }
    const QJsonObject last = jsonOf(lines.constLast().toUtf8() + '\n');
    EXPECT_EQ(last.value(u"clients"_s).toArray().size(), 2);
    const QJsonArray fetches = last.value(u"fetches"_s).toArray();
    ASSERT_EQ(fetches.size(), 2);
    EXPECT_EQ(fetches.at(0).toObject().value(u"process"_s).toInteger(), fetcher->processId());
    EXPECT_EQ(fetches.at(0).toObject().value(u"totalBytes"_s).toInteger(), 30'000'000);
    EXPECT_EQ(fetches.at(1).toObject().value(u"process"_s).toInteger(), waiter->processId());
    EXPECT_LE(fetches.at(1).toObject().value(u"waitingSince"_s).toInteger(), lastTime);
}

TEST_F(BoardCliTest, watch_jsonAndNoCache_tellsItUntilThereIsOne)
{
    const auto board = startJsonBoard();
    waitUntil([&board] { return board->output().count('\n') >= 2; });
    const QString first = linesOf(board->output().left(board->output().indexOf('\n') + 1)).value(0);
    const QJsonObject error = jsonOf(first.toUtf8() + '\n').value(u"error"_s).toObject();
    EXPECT_EQ(error.value(u"code"_s).toInt(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
    makeCache();
    waitUntil([&board] { return board->output().contains("\"Ready\":1"); });
    board->sendSignal(SIGINT);
    EXPECT_EQ(board->exitCode(), 130);
}

TEST_F(BoardCliTest, watch_readerOfThePipeIsGone_ends)
{
    makeCache();
    const auto run = startInShell(u"$zelcache status --watch --json --interval 0.1 | head -n 2"_s);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->output().count('\n'), 2);
    EXPECT_EQ(run->errors(), "");
}

// ---- Usage

TEST_F(BoardCliTest, watch_badInterval_isCode2)
{
    const QList<QPair<QStringList, QByteArray>> mistakes {
        { { u"--interval"_s, u"1"_s }, "--interval needs --watch" },
        { { u"--watch"_s, u"--interval"_s, u"0"_s }, "\"0\" is no number of seconds" },
        { { u"--watch"_s, u"--interval"_s, u"soon"_s }, "\"soon\" is no number of seconds" },
    };
    for (const auto &[options, words] : mistakes) {
        const auto run = start(QStringList { u"status"_s } + options);
        EXPECT_EQ(run->exitCode(), 2);
        EXPECT_TRUE(run->errors().contains(words)) << run->errors().toStdString();
        EXPECT_EQ(run->output(), "");
    }
}

} // namespace zel::test
