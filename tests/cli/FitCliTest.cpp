#include "RemovalCli.h"

#include "NginxServer.h"
#include "Printers.h"
#include "ScriptedServer.h"

#include <QFileInfo>

#include <algorithm>
#include <atomic>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// Whether what is missing fits is found out before its first byte.
class FitCliTest : public RemovalCli
{
protected:
    std::unique_ptr<ProgramRun> getWithin(qint64 optimal, qint64 maximum,
                                          const QStringList &arguments) const
    {
        return startWithSettings(settingsWith(optimal, maximum),
                                 QStringList { u"get"_s } + arguments);
    }
    static bool isAskedForSizesOnly(const NginxServer &server)
    {
        const auto requests = server.requests();
        return std::all_of(requests.begin(), requests.end(),
                           [](const LoggedRequest &each) { return each.method == u"HEAD"_s; });
    }
};

TEST_F(FitCliTest, get_largerThanTheMaximum_isCode7BeforeTheFirstByte)
{
    const QStringList here = fill({ 600, 600 });
    const NginxServer server;
    server.addFile(u"big.raw"_s, QByteArray(5000, 'b'));
    const auto run = getWithin(2000, 4000, { server.url(u"big.raw"_s), here.at(0) });
    EXPECT_EQ(run->exitCode(), 7);
    EXPECT_EQ(run->output(), "");
    EXPECT_TRUE(run->errors().contains("1 resource to fetch, 4.9 KiB. Does not fit the cache: "))
        << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("at most 3.9 KiB; --force")) << run->errors().toStdString();
    EXPECT_EQ(server.waitForRequests(1).size(), 1);
    EXPECT_TRUE(isAskedForSizesOnly(server));
    EXPECT_EQ(readyReferences(), here);
    EXPECT_EQ(stagedBytes(), 0);
}

TEST_F(FitCliTest, get_listThatFitsOneByOneOnly_isCode7AndFetchesNoneOfIt)
{
    fill({ 600 });
    const NginxServer server;
    QByteArray list;
    for (const QString &name : { u"a.raw"_s, u"b.raw"_s, u"c.raw"_s }) {
        server.addFile(name, QByteArray(1500, 'x'));
        list += server.url(name).toUtf8() + '\n';
    }
    writeFile(cache.outside(u"list"_s), list);
    const auto run = getWithin(2000, 4000, { u"--json"_s, u"-f"_s, cache.outside(u"list"_s) });
    EXPECT_EQ(run->exitCode(), 7);
    const QJsonObject error = jsonOf(run->output()).value(u"error"_s).toObject();
    EXPECT_EQ(error.value(u"code"_s).toInt(), 7);
    EXPECT_TRUE(
        error.value(u"message"_s).toString().startsWith(u"3 resources to fetch, 4.4 KiB"_s));
    EXPECT_EQ(server.waitForRequests(3).size(), 3);
    EXPECT_TRUE(isAskedForSizesOnly(server));
}

TEST_F(FitCliTest, get_force_fetchesNevertheless)
{
    const NginxServer server;
    server.addFile(u"big.raw"_s, QByteArray(5000, 'b'));
    const auto run = getWithin(2000, 4000, { u"--force"_s, server.url(u"big.raw"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(run->output()).value(0)), QByteArray(5000, 'b'));
}

TEST_F(FitCliTest, get_forceAndPlan_isCode2)
{
    const auto run = start({ u"get"_s, u"--force"_s, u"--plan"_s, u"share:/a"_s });
    EXPECT_EQ(run->exitCode(), 2);
    EXPECT_TRUE(run->errors().contains("--force")) << run->errors().toStdString();
}

TEST_F(FitCliTest, get_fitsOnlyAfterEviction_makesRoomBeforeTheFirstByte)
{
    const QStringList here = fill({ 600, 600, 600 });
    const QString oldest = pathOf(here.at(0));
    std::atomic<bool> wasGone = false;
    const ScriptedServer server([&](const auto &request, auto &connection) {
        if (request.method != "HEAD")
            wasGone = !QFileInfo::exists(oldest);
        const QByteArray answer = ScriptedServer::answer("200 OK", "", QByteArray(900, 'n'));
        connection.send(request.method == "HEAD" ? answer.left(answer.indexOf("\r\n\r\n") + 4)
                                                 : answer);
    });
    const auto run = getWithin(2000, 2500, { u"-v"_s, server.url(u"new.raw"_s), here.at(2) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(wasGone);
    EXPECT_TRUE(run->errors().contains("Made room: 2 resources, 1.2 KiB"))
        << run->errors().toStdString();
    EXPECT_EQ(readyReferences(), (QStringList { here.at(2), server.url(u"new.raw"_s) }));
}

TEST_F(FitCliTest, refusal_inACacheAboveItsOptimum_throwsNothingOut)
{
    const QStringList here = fill({ 1000, 1000, 1000 });
    const QStringList before = rows();
    const QString big = sharedFile(u"big.raw"_s, QByteArray(5000, 'b'));
    const QString small = sharedFile(u"small.raw"_s, "small");
    const QByteArray settings = settingsWith(2000, 4000);
    const auto refused = [&](const QStringList &arguments, int exitCode) {
        const auto run = startWithSettings(settings, arguments);
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        EXPECT_EQ(rows(), before) << qPrintable(arguments.join(u' '));
    };
    refused({ u"get"_s, big, here.at(2) }, 7);
    refused({ u"hold"_s, big, u"--"_s, u"true"_s }, 7);
    refused({ u"get"_s, u"--prompt"_s, small }, 20);
    EXPECT_EQ(readyReferences(), here);
}

TEST_F(FitCliTest, get_aboveTheOptimum_throwsOutAsMuchAsThePlanSays)
{
    const QStringList here = fill({ 1000, 1000, 1000 });
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(500, 'n'));
    const auto run = getWithin(2000, 4000, { u"-v"_s, wanted, here.at(0) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("Made room: 2 resources, 2.0 KiB"))
        << run->errors().toStdString();
    EXPECT_FALSE(run->errors().contains("zelcache: log:")) << run->errors().toStdString();
    EXPECT_EQ(readyReferences(), (QStringList { here.at(0), wanted }));
}

TEST_F(FitCliTest, get_unknownSize_stopsNothing)
{
    fill({ 600 });
    const ScriptedServer server([](const auto &request, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        if (request.method != "HEAD")
            connection.send(QByteArray(5000, 'n'));
    });
    // The cache is above its maximum already.
    const auto run = getWithin(100, 200, { server.url(u"new.raw"_s), u"share:/no/such/file"_s });
    EXPECT_EQ(run->exitCode(), 1) << "one of them is nowhere";
    EXPECT_EQ(readFile(linesOf(run->output()).value(0)), QByteArray(5000, 'n'));
}

TEST_F(FitCliTest, get_hereAlready_asksNobody)
{
    const NginxServer server;
    server.addFile(u"run.raw"_s, QByteArray(5000, 'r'));
    ASSERT_EQ(start({ u"get"_s, server.url(u"run.raw"_s) })->exitCode(), 0);
    const auto before = server.waitForRequests(2).size();
    // What is here may be more than what would fit.
    const auto run = getWithin(2000, 4000, { server.url(u"run.raw"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(server.requests().size(), before);
}

TEST_F(FitCliTest, get_broughtByAnotherProgramMeanwhile_countsOnce)
{
    const QByteArray content(3000, 'c');
    writeFile(cache.outside(u"run.raw"_s), content);
    QString reference;
    const ScriptedServer server([&](const auto &, auto &connection) {
        const auto other = start({ u"add"_s, reference, cache.outside(u"run.raw"_s) });
        EXPECT_EQ(other->exitCode(), 0) << other->errors().toStdString();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 3000\r\nConnection: close\r\n\r\n");
    });
    reference = server.url(u"run.raw"_s);
    const auto run = getWithin(2000, 4000, { reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(run->output()).value(0)), content);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(FitCliTest, get_refusedAtThePrompt_asksNobody)
{
    const NginxServer server;
    server.addFile(u"run.raw"_s, "content");
    EXPECT_EQ(start({ u"get"_s, u"--prompt"_s, server.url(u"run.raw"_s) })->exitCode(), 20);
    EXPECT_EQ(server.requests().size(), 0);
}

TEST_F(FitCliTest, get_severalSources_areAskedAtTheSameTime)
{
    std::atomic<int> asked = 0;
    const ScriptedServer server([&](const auto &, auto &connection) {
        // Until the others have come, too; one after the other they never would.
        ++asked;
        waitUntil([&] { return asked >= 4; });
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\nConnection: close\r\n\r\n");
    });
    QStringList references;
    for (int i = 0; i < 4; ++i)
        references.append(server.url(u"run%1.raw"_s.arg(i)));
    EXPECT_EQ(getWithin(2000, 4000, references)->exitCode(), 7);
    EXPECT_EQ(server.requests().size(), 4);
}

TEST_F(FitCliTest, get_interruptedWhileSourcesAreAsked_isCode130AndFetchesNothing)
{
    const ScriptedServer server([](const auto &, auto &connection) { connection.stall(); });
    const auto run = start({ u"get"_s, server.url(u"run.raw"_s) });
    server.waitForRequests(1);
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();
    EXPECT_EQ(server.requests().constFirst().method, "HEAD");
    EXPECT_EQ(server.requests().size(), 1);
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"Clients"_s), 0);
}

TEST_F(FitCliTest, plan_interruptedFetch_tellsWhatIsOnTheDiskAlready)
{
    NginxServer::Options slowly;
    slowly.bytesPerSecond = 400'000;
    const NginxServer server(slowly);
    server.addFile(u"big.raw"_s, QByteArray(4'000'000, 'b'));
    const auto run = start({ u"get"_s, server.url(u"big.raw"_s) });
    waitUntil([this] { return stagedBytes() > 300'000; });
    run->sendSignal(SIGINT);
    ASSERT_EQ(run->exitCode(), 130);
    const auto plan = start({ u"get"_s, u"--plan"_s, u"--json"_s, server.url(u"big.raw"_s) });
    EXPECT_EQ(plan->exitCode(), 0) << plan->errors().toStdString();
    const QJsonValue missing = jsonOf(plan->output()).value(u"missing"_s)[0];
    EXPECT_EQ(missing[u"size"_s].toInt(), 4'000'000);
    EXPECT_GT(missing[u"stagedBytes"_s].toInt(), 300'000);
}

TEST_F(FitCliTest, get_roomThatTakesADangerousPath_isRefusedBeforeTheFirstByte)
{
    const QStringList here = fill({ 600, 600 });
    moveData(here.at(0), cache.dataDir() + u"/run.raw"_s);
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(900, 'n'));
    for (const char *option : { "--plan", "--no-progress" }) {
        const auto run = getWithin(1500, 2500, { QString::fromLatin1(option), wanted });
        EXPECT_EQ(run->exitCode(), 3) << run->errors().toStdString();
        EXPECT_TRUE(run->errors().contains("Nothing is fetched")) << run->errors().toStdString();
    }
    EXPECT_EQ(readyReferences(), here);
    EXPECT_TRUE(QFileInfo::exists(pathOf(here.at(0))));
}

/// Each enters its resource, for which a cache above its optimal size makes room by itself.
TEST_F(FitCliTest, entering_purgeThatTakesADangerousPath_isRefusedWhereSomethingIsEntered)
{
    const QStringList here = fill({ 600, 600 });
    moveData(here.at(0), cache.dataDir() + u"/run.raw"_s);
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(900, 'n'));
    const QList<QStringList> commands { { u"get"_s, wanted },
                                        { u"get"_s, u"--force"_s, wanted },
                                        { u"hold"_s, wanted, u"--for"_s, u"1s"_s },
                                        { u"exists"_s, wanted },
                                        { u"path"_s, wanted },
                                        { u"info"_s, wanted },
                                        { u"add"_s, wanted, cache.databasePath() } };
    for (const QStringList &command : commands) {
        const auto run = startWithSettings(settingsWith(100, 2500), command);
        EXPECT_EQ(run->exitCode(), 3) << qPrintable(command.join(u' '));
        EXPECT_TRUE(run->errors().contains("tells what helps.")) << run->errors().toStdString();
    }
    EXPECT_EQ(readyReferences(), here);
    EXPECT_TRUE(QFileInfo::exists(pathOf(here.at(0))));
    EXPECT_EQ(getWithin(100, 2500, { here.at(1) })->exitCode(), 0) << "it makes no room";
}

TEST_F(FitCliTest, entering_dangerousPathThatGoesWithItsUse_isRefused)
{
    const QStringList here = fill({ 600, 600 });
    moveData(here.at(0), cache.dataDir() + u"/run.raw"_s);
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CachedResources SET cleanupPolicy = ?"_s, { u"OnClose"_s });
    expectDangerNamed({ u"get"_s, here.at(0) }, here.at(0));
    EXPECT_TRUE(QFileInfo::exists(pathOf(here.at(1))));
}

} // namespace zel::test
