#include "ZelcacheCli.h"

#include "NginxServer.h"
#include "Printers.h"
#include "ScriptedServer.h"

#include <QSystemSemaphore>

#include <algorithm>
#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class InterruptCliTest : public ZelcacheCli
{
protected:
    static NginxServer::Options slowly()
    {
        NginxServer::Options options;
        options.bytesPerSecond = 500'000;
        return options;
    }

    std::unique_ptr<ProgramRun> startedFetch()
    {
        server.addFile(u"big.raw"_s, QByteArray(4'000'000, 'b'));
        auto run = start({ u"get"_s, reference });
        waitUntil([this] { return stagedBytes() > 300'000; });
        return run;
    }

    /// Whether somebody went on with what was here. The server tells it some time after its answer.
    bool isPartAskedFor() const
    {
        const auto requests = server.requests();
        return std::any_of(requests.begin(), requests.end(), [](const LoggedRequest &request) {
            return request.range.startsWith(u"bytes="_s);
        });
    }

    NginxServer server { slowly() };
    const QString reference = server.url(u"big.raw"_s);
};

TEST_F(InterruptCliTest, interrupt_duringAFetch_leavesTheRowsInOrderAndTheStagedBytes)
{
    const auto run = startedFetch();
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "");
    CacheDatabase database(cache.databasePath());
    EXPECT_EQ(database.status(reference), u"Missing"_s);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database.count(u"Clients"_s), 0);
    EXPECT_GT(stagedBytes(), 300'000);
}

TEST_F(InterruptCliTest, interrupt_duringAFetch_isGoneOnWithLater)
{
    const auto run = startedFetch();
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    const auto again = start({ u"get"_s, reference });
    EXPECT_EQ(again->exitCode(), 0) << again->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(again->output()).value(0)), QByteArray(4'000'000, 'b'));
    waitUntil([this] { return isPartAskedFor(); });
}

TEST_F(InterruptCliTest, kill_duringAFetch_isTakenOverAndWhole)
{
    const auto run = startedFetch();
    const auto waiter = start({ u"get"_s, reference });
    CacheDatabase database(cache.databasePath());
    waitUntil([&database] { return database.count(u"AcquiringTasks"_s) == 2; });
    const auto ofProcess = u"SELECT id FROM Clients WHERE processId = ?"_s;
    const qint64 client = database.value(ofProcess, { run->processId() }).toLongLong();
    run->sendSignal(SIGKILL);
    EXPECT_EQ(run->exitCode(), -SIGKILL);
    // It would be taken for dead after that time; the test does not wait for it.
    database.setLastPing(client, std::chrono::seconds(31));
    const auto newcomer = start({ u"get"_s, reference });
    for (ProgramRun *program : { waiter.get(), newcomer.get() }) {
        EXPECT_EQ(program->exitCode(), 0) << program->errors().toStdString();
        EXPECT_EQ(readFile(linesOf(program->output()).value(0)), QByteArray(4'000'000, 'b'));
    }
    waitUntil([this] { return isPartAskedFor(); });
}

TEST_F(InterruptCliTest, terminate_duringAFetch_isCode143)
{
    const auto run = startedFetch();
    run->sendSignal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 143) << run->errors().toStdString();
    EXPECT_EQ(CacheDatabase(cache.databasePath()).status(reference), u"Missing"_s);
}

TEST_F(InterruptCliTest, hangup_duringAFetch_isCode129AndLeavesTheRowsInOrder)
{
    const auto run = startedFetch();
    // The shell sends one where a connection drops, and the system does.
    run->sendSignal(SIGHUP);
    run->sendSignal(SIGHUP);
    EXPECT_EQ(run->exitCode(), 129) << run->errors().toStdString();
    CacheDatabase database(cache.databasePath());
    EXPECT_EQ(database.status(reference), u"Missing"_s);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database.count(u"Clients"_s), 0);
}

TEST_F(InterruptCliTest, hangup_thatTheCallerIgnores_isIgnored)
{
    server.addFile(u"big.raw"_s, QByteArray(4'000'000, 'b'));
    const auto run = startInShell(u"trap '' HUP; exec $zelcache get "_s + reference);
    waitUntil([this] { return stagedBytes() > 300'000; });
    run->sendSignal(SIGHUP);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
}

TEST_F(InterruptCliTest, interrupt_json_stillAnswers)
{
    server.addFile(u"big.raw"_s, QByteArray(4'000'000, 'b'));
    const QString quick = sharedFile(u"a.raw"_s, "a");
    const auto run = start({ u"get"_s, u"--json"_s, quick, reference });
    waitUntil([&] {
        return stagedBytes() > 300'000
            && CacheDatabase(cache.databasePath()).status(quick) == u"Ready"_s;
    });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    const QJsonArray results = jsonOf(run->output()).value(u"results"_s).toArray();
    ASSERT_EQ(results.size(), 2);
    EXPECT_TRUE(results.at(0).toObject().contains(u"path"_s));
    EXPECT_EQ(results.at(1).toObject().value(u"error"_s).toObject().value(u"code"_s).toInt(), 20);
}

TEST_F(InterruptCliTest, interrupt_whileASourceIsAsked_isToldAsJson)
{
    for (const QString &command : { u"exists"_s, u"info"_s }) {
        const ScriptedServer silent([](const auto &, auto &connection) { connection.stall(); });
        const auto run = start({ command, u"--json"_s, silent.url(u"a.raw"_s) });
        silent.waitForRequests(1);
        run->sendSignal(SIGINT);
        EXPECT_EQ(run->exitCode(), 130);
        EXPECT_EQ(run->errors(), "zelcache: error: canceled\n") << qPrintable(command);
        const QJsonObject error = jsonOf(run->output()).value(u"error"_s).toObject();
        EXPECT_EQ(error.value(u"code"_s).toInt(), 130) << qPrintable(command);
    }
}

TEST_F(InterruptCliTest, interrupt_whileTheCacheIsHeldByAnother_endsAtOnce)
{
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto run = start({ u"get"_s, u"-vv"_s, reference });
    // The last word before it waits.
    waitUntil([&run] { return run->errors().contains("System semaphore key set"); });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    EXPECT_TRUE(semaphore.release());
}

TEST_F(InterruptCliTest, interrupt_ofAWaiter_leavesTheFetcherAlone)
{
    const auto fetcher = startedFetch();
    const auto waiter = start({ u"get"_s, reference });
    CacheDatabase database(cache.databasePath());
    waitUntil([&database] { return database.count(u"AcquiringTasks"_s) == 2; });
    waiter->sendSignal(SIGINT);
    EXPECT_EQ(waiter->exitCode(), 130) << waiter->errors().toStdString();
    EXPECT_EQ(fetcher->exitCode(), 0) << fetcher->errors().toStdString();
    EXPECT_EQ(linesOf(fetcher->output()).size(), 1);
}

TEST_F(InterruptCliTest, terminate_ofAWaiter_saysThatItWasCanceled)
{
    const auto fetcher = startedFetch();
    const auto text = start({ u"get"_s, reference });
    const auto json = start({ u"get"_s, u"--json"_s, reference });
    const auto holder = start({ u"hold"_s, reference, u"--"_s, u"true"_s });
    CacheDatabase database(cache.databasePath());
    waitUntil([&database] { return database.count(u"AcquiringTasks"_s) == 4; });
    const QByteArray said = "zelcache: error: " + reference.toUtf8() + ": canceled\n";
    for (ProgramRun *waiter : { text.get(), json.get(), holder.get() }) {
        waiter->sendSignal(SIGTERM);
        EXPECT_EQ(waiter->exitCode(), 143);
        EXPECT_EQ(waiter->errors(), said);
    }
    EXPECT_EQ(jsonOf(json->output()).value(u"results"_s)[0][u"error"_s][u"message"_s].toString(),
              u"canceled"_s);
    EXPECT_EQ(fetcher->exitCode(), 0) << fetcher->errors().toStdString();
}

} // namespace zel::test
