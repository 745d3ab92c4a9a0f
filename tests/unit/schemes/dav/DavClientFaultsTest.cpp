#include "DavClientFixture.h"

#include <atomic>
#include <thread>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// Answers that are no lists, or lists of something else.
using DavClientFaultsTest = DavClientFixture;

TEST_F(DavClientFaultsTest, list_truncatedXml_isRefused)
{
    const Error error = listFailureOf(
        ScriptedServer::answer("207 Multi-Status", {}, "<D:multistatus xmlns:D=\"DAV:\">"));
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
    EXPECT_EQ(error.errorMessage(), begin + u"the server's list cannot be read: it is not whole"_s);
}

TEST_F(DavClientFaultsTest, list_cutConnection_isRefused)
{
    EXPECT_EQ(int(listFailureOf("HTTP/1.1 207 Multi-Status\r\nContent-Length: 1000\r\n\r\n"
                                "<D:multistatus xmlns:D=\"DAV:\"></D:multistatus>")
                      .errorCode()),
              6);
}

TEST_F(DavClientFaultsTest, list_wrongContentType_isRefused)
{
    const Error error = listFailureOf(ScriptedServer::answer(
        "207 Multi-Status", "Content-Type: text/html; charset=utf-8\r\n", "<html/>"));
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
    EXPECT_EQ(error.errorMessage(), begin + u"the server sends \"text/html\" instead of a list"_s);
}

TEST_F(DavClientFaultsTest, list_plainPage_isNoDavServer)
{
    const Error error
        = listFailureOf(ScriptedServer::answer("200 OK", "Content-Type: text/html\r\n", "<html/>"));
    EXPECT_EQ(error.errorMessage(),
              begin + u"the server answered 200 OK: it does not speak WebDAV there"_s);
}

TEST_F(DavClientFaultsTest, list_endlessAnswer_ends)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 207 Multi-Status\r\nContent-Type: text/xml\r\n\r\n"
                        "<D:multistatus xmlns:D=\"DAV:\">");
        const QByteArray much
            = QByteArray("<D:response><D:href>/d/a</D:href></D:response>\n").repeated(20'000);
        while (connection.send(much)) { }
    });
    const Error error = listFailure(server.url(u"d"_s));
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
}

TEST_F(DavClientFaultsTest, list_answerThatTellsOfNothing_endsSoon)
{
    std::atomic<int> pieces = 0;
    ScriptedServer server([&](const auto &, auto &connection) {
        connection.send("HTTP/1.1 207 Multi-Status\r\nContent-Type: text/xml\r\n\r\n"
                        "<D:multistatus xmlns:D=\"DAV:\">");
        const QByteArray words = QByteArray("<!-- nothing -->").repeated(65'536);
        while (pieces < 200 && connection.send(words))
            ++pieces;
    });
    EXPECT_EQ(listFailure(server.url(u"d"_s)).errorMessage(),
              begin + u"the server's list is too long"_s);
    EXPECT_LT(pieces, 50);
}

TEST_F(DavClientFaultsTest, list_silentServer_canBeCanceled)
{
    ScriptedServer server([](const auto &, auto &connection) { connection.stall(); });
    HttpWatch watch;
    std::atomic<bool> canceled = false;
    watch.isCanceled = [&] {
        return canceled.load();
    };
    DavClient patient(settings, u"the folder"_s, watch);
    std::thread canceler([&] {
        server.waitForRequests(1);
        canceled = true;
    });
    const auto members = patient.list(DavCollection::at(url(server.url(u"d"_s))).value());
    canceler.join();
    ASSERT_FALSE(members.hasValue());
    EXPECT_EQ(members.error().errorCode(), ErrorCode::Canceled);
}

TEST_F(DavClientFaultsTest, list_silentServer_isGivenUp)
{
    ScriptedServer server([](const auto &, auto &connection) { connection.stall(); });
    settings.giveUpSoon();
    DavClient hasty(settings, u"the folder"_s, {});
    const auto members = hasty.list(DavCollection::at(url(server.url(u"d"_s))).value());
    ASSERT_FALSE(members.hasValue());
    EXPECT_EQ(members.error().errorCode(), ErrorCode::OperationFailed);
}

TEST_F(DavClientFaultsTest, list_memberElsewhere_isRefused)
{
    for (const char *const href :
         { "/other/a", "/d/../../etc/passwd", "/d/..%2Fa", "http://elsewhere/d/a", "/d/a/b",
           "/d/%2e%2e", "/d/a%00b", "/d/%0Aa", "file:///d/a" }) {
        const Error error = listFailureOf(
            DavAnswers::whole(DavAnswers::folder("/d/") + DavAnswers::file(href, 1)));
        EXPECT_EQ(error.errorCode(), ErrorCode::BadData) << href;
        EXPECT_TRUE(error.errorMessage().startsWith(begin + u"the server lists "_s));
    }
}

TEST_F(DavClientFaultsTest, list_nameTwice_isRefused)
{
    const Error error = listFailureOf(DavAnswers::whole(
        DavAnswers::folder("/d/") + DavAnswers::file("/d/a", 1) + DavAnswers::folder("/d/%61/")));
    EXPECT_EQ(error.errorMessage(), begin + u"the server lists \"a\" twice"_s);
}

TEST_F(DavClientFaultsTest, list_memberThatIsNotTold_isRefused)
{
    const Error error = listFailureOf(DavAnswers::whole(
        DavAnswers::folder("/d/")
        + "<D:response><D:href>/d/a</D:href><D:status>HTTP/1.1 403 Forbidden</D:status>"
          "</D:response>"));
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(),
              begin + u"the server does not tell of \"/d/a\": HTTP/1.1 403 Forbidden"_s);
}

TEST_F(DavClientFaultsTest, describe_answerAboutSomethingElse_isRefused)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(DavAnswers::whole(DavAnswers::folder("/d/a/")));
    });
    EXPECT_EQ(describeFailure(server.url(u"d"_s)).errorMessage(),
              begin + u"the server tells nothing of what it was asked"_s);
}

} // namespace zel
