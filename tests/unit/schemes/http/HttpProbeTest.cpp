#include "HttpTestSupport.h"
#include "NginxServer.h"
#include "ScriptedServer.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

HttpProbe probed(const QString &url, const HttpSettings &settings = QuickSettings())
{
    const auto probe = HttpClient(settings).probe(targetOf(url), HttpWatch());
    EXPECT_TRUE(probe.hasValue()) << qPrintable(probe.error().errorMessage());
    return probe.hasValue() ? probe.value() : HttpProbe();
}

TEST(HttpProbeTest, probe_fileThatIsThere_tellsItsState)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, "hello");
    const HttpProbe probe = probed(server.url(u"a.raw"_s));
    EXPECT_TRUE(probe.exists);
    EXPECT_EQ(probe.state.size, 5);
    EXPECT_FALSE(probe.state.etag.isEmpty());
    EXPECT_LT(std::abs(probe.state.modified().secsTo(QDateTime::currentDateTimeUtc())), 60);

    const auto requests = server.waitForRequests(1);
    EXPECT_EQ(requests.constFirst().method, u"HEAD"_s);
    EXPECT_EQ(requests.constFirst().acceptEncoding, u"identity"_s);
    EXPECT_EQ(requests.constFirst().bodyBytes, 0);
}

TEST(HttpProbeTest, probe_missingFile_doesNotExistAndSaysWhy)
{
    NginxServer server;
    const HttpProbe probe = probed(server.url(u"none"_s));
    EXPECT_FALSE(probe.exists);
    EXPECT_EQ(probe.refusal.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(probe.refusal.errorMessage(),
              u"Unable to fetch the file: the server answered 404 Not Found"_s);
}

TEST(HttpProbeTest, probe_headRefused_asksForOneByte)
{
    NginxServer::Options options;
    options.headAllowed = false;
    NginxServer server(options);
    server.addSparseFile(u"big"_s, 5'000'000'000);
    const HttpProbe probe = probed(server.url(u"big"_s));
    EXPECT_TRUE(probe.exists);
    EXPECT_EQ(probe.state.size, 5'000'000'000);

    const auto requests = server.waitForRequests(2);
    EXPECT_EQ(requests[1].method, u"GET"_s);
    EXPECT_EQ(requests[1].range, u"bytes=0-0"_s);
    EXPECT_EQ(requests[1].bodyBytes, 1);
}

TEST(HttpProbeTest, probe_headRefusedForEmptyFile_exists)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        const bool head = request.method == "HEAD";
        connection.send(ScriptedServer::answer(head ? "405 No" : "416 Unmet",
                                               "Content-Range: bytes */0\r\n", {}));
    });
    const HttpProbe probe = probed(server.url());
    EXPECT_TRUE(probe.exists);
    EXPECT_EQ(probe.state.size, 0);
}

TEST(HttpProbeTest, probe_headRefusedAndRangeIgnored_doesNotReadTheBody)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        if (request.method == "HEAD")
            connection.send(ScriptedServer::answer("501 No", {}, {}));
        else
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 80000000000\r\n\r\nsome");
        connection.stall();
    });
    const HttpProbe probe = probed(server.url());
    EXPECT_TRUE(probe.exists);
    EXPECT_EQ(probe.state.size, 80'000'000'000);
}

TEST(HttpProbeTest, probe_serverInTrouble_isAskedAgain)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        connection.send(asked++ == 0 ? ScriptedServer::answer("503 Busy", {}, {})
                                     : ScriptedServer::answer("200 OK", {}, {}));
    });
    EXPECT_TRUE(probed(server.url()).exists);
    EXPECT_EQ(asked, 2);
}

TEST(HttpProbeTest, probe_serverStaysInTrouble_isAFailureAndNotAbsence)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("500 Out of order", {}, {}));
    });
    const auto probe = HttpClient(QuickSettings()).probe(targetOf(server.url()), HttpWatch());
    ASSERT_FALSE(probe.hasValue());
    EXPECT_EQ(probe.error().errorMessage(),
              u"Unable to fetch the file: the server answered 500 Out of order"_s);
}

TEST(HttpProbeTest, probe_unauthorized_isNotAccessible)
{
    NginxServer::Options options;
    options.user = u"me"_s;
    options.password = u"pass"_s;
    NginxServer server(options);
    server.addFile(u"a"_s, "hello");
    EXPECT_FALSE(probed(server.url(u"a"_s)).exists);
}

TEST(HttpProbeTest, probe_redirect_tellsOfTheTarget)
{
    NginxServer::Options options;
    options.directives = u"location /old { return 301 /new; }"_s;
    NginxServer server(options);
    server.addFile(u"new"_s, "hello");
    EXPECT_EQ(probed(server.url(u"old"_s)).state.size, 5);
}

TEST(HttpProbeTest, probe_unknownHost_failsWithoutManyTries)
{
    QuickSettings settings;
    const auto probe
        = HttpClient(settings).probe(targetOf(u"http://no-such-host.invalid/a"_s), HttpWatch());
    ASSERT_FALSE(probe.hasValue());
    EXPECT_TRUE(settings.waits->empty());
}

TEST(HttpProbeTest, probe_nobodyListens_fails)
{
    const quint16 port = LoopbackSocket().port();
    QuickSettings settings;
    const auto probe
        = HttpClient(settings).probe(targetOf(u"http://127.0.0.1:%1/a"_s.arg(port)), HttpWatch());
    ASSERT_FALSE(probe.hasValue());
    EXPECT_EQ(probe.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(int(settings.waits->size()), settings.probeRetries);
}

} // namespace
} // namespace zel
