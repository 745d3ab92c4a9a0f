#include "HttpFaultsFixture.h"

#include <atomic>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// Answers to a download that goes on: other parts than were asked for, and files that change.
class HttpRangeFaultsTest : public HttpFaultsFixture
{
protected:
    /// Tells no size, and breaks off behind four bytes.
    static void closeEarlyWithoutSize(ScriptedServer::Connection &connection)
    {
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + etag + "\r\n4\r\n"
                        + content.left(4) + "\r\n");
    }
};

TEST_F(HttpRangeFaultsTest, answersWholeToARange_startsAnew)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        if (request.header("range").isEmpty())
            return closeEarly(connection);
        connection.send(ScriptedServer::answer("200 OK", etag, content));
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), content);
    EXPECT_EQ(sink.fresh, 1);
}

TEST_F(HttpRangeFaultsTest, fileChangedMeanwhile_startsAnewWithTheNewOne)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        if (asked++ == 0)
            return closeEarly(connection);
        connection.send(ScriptedServer::answer("200 OK", "ETag: \"two\"\r\n", "abcdef"));
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), QByteArray("abcdef"));
    EXPECT_EQ(sink.openedStates, QStringList({ u"\"one\" 10"_s, u"\"two\" 6"_s }));
}

TEST_F(HttpRangeFaultsTest, changedFileButIfRangeIgnored_isNotJoined)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &request, auto &connection) {
        if (asked++ == 0)
            return closeEarly(connection);
        const QByteArray two = "ETag: \"two\"\r\n";
        if (request.header("range").isEmpty())
            return void(connection.send(ScriptedServer::answer("200 OK", two, "abcdefghij")));
        connection.send(
            ScriptedServer::answer("206 P", two + "Content-Range: bytes 4-9/10\r\n", "efghij"));
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), QByteArray("abcdefghij"));
}

TEST_F(HttpRangeFaultsTest, changedFileWithoutStrongETagButIfRangeIgnored_isNotJoined)
{
    const QByteArray date = "Date: Wed, 06 Nov 2024 12:00:00 GMT\r\n";
    const QByteArray before = date + "Last-Modified: Wed, 06 Nov 2024 10:00:00 GMT\r\n";
    const QByteArray after = date + "Last-Modified: Wed, 06 Nov 2024 10:00:01 GMT\r\n";
    for (const QByteArray &tag : { QByteArray(), QByteArray("ETag: W/\"one\"\r\n") }) {
        std::atomic<int> asked = 0;
        ScriptedServer server([&](const auto &request, auto &connection) {
            if (asked++ == 0) {
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + before + tag + "\r\n"
                                + content.left(4));
            } else if (request.header("range").isEmpty()) {
                connection.send(ScriptedServer::answer("200 OK", after + tag, "abcdefghij"));
            } else {
                connection.send(ScriptedServer::answer(
                    "206 P", after + tag + "Content-Range: bytes 4-9/10\r\n", "efghij"));
            }
        });
        FileSink own;
        ASSERT_EQ(download(server, &own, settings), Error());
        EXPECT_EQ(own.content(), QByteArray("abcdefghij")) << tag.toStdString();
        EXPECT_EQ(server.requests().size(), 3);
    }
}

TEST_F(HttpRangeFaultsTest, changesAllTheTime_isIntegrityFailure)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\nETag: \""
                        + QByteArray::number(asked++) + "\"\r\n\r\n0123");
    });
    const Error error = download(server, &sink, settings);
    EXPECT_EQ(int(error.errorCode()), 6);
    EXPECT_TRUE(error.errorMessage().contains(u"changes while it is being fetched"_s));
}

TEST_F(HttpRangeFaultsTest, sendsAnotherPartThanAskedFor_startsAnewWithoutRanges)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &request, auto &connection) {
        if (asked++ == 0)
            return closeEarly(connection);
        if (request.header("range").isEmpty())
            return serveProperly(request, connection);
        connection.send(
            ScriptedServer::answer("206 P", etag + "Content-Range: bytes 0-5/10\r\n", "012345"));
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), content);
}

TEST_F(HttpRangeFaultsTest, sendsAPartUnasked_fails)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(
            ScriptedServer::answer("206 P", etag + "Content-Range: bytes 0-5/10\r\n", "012345"));
    });
    EXPECT_EQ(download(server, &sink, settings).errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(HttpRangeFaultsTest, sizeIsToldWithAPartThatIsTooShort_goesOnBehindIt)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &request, auto &connection) {
        const int number = asked++;
        if (number == 0)
            return closeEarlyWithoutSize(connection);
        if (number > 1)
            return serveProperly(request, connection);
        connection.send(
            ScriptedServer::answer("206 P", etag + "Content-Range: bytes 4-6/10\r\n", "456"));
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), content);
    ASSERT_EQ(server.requests().size(), 3);
    EXPECT_EQ(server.requests()[2].header("range"), QByteArray("bytes=7-"));
}

TEST_F(HttpRangeFaultsTest, sizeIsToldWithAPartThatIsTooLong_isIntegrityFailure)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        if (asked++ == 0)
            return closeEarlyWithoutSize(connection);
        connection.send(ScriptedServer::answer("206 P", etag + "Content-Range: bytes 4-9/10\r\n",
                                               "456789 and more"));
    });
    EXPECT_EQ(int(download(server, &sink, settings).errorCode()), 6);
}

TEST_F(HttpRangeFaultsTest, refusesRangeAndSizeFits_isComplete)
{
    // Without a length the end of the file shows only when more is asked for.
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        if (asked++ == 0) {
            connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + etag
                            + "\r\na\r\n0123456789\r\n");
        } else {
            connection.send(ScriptedServer::answer("416 No", "Content-Range: bytes */10\r\n", {}));
        }
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), content);
}

TEST_F(HttpRangeFaultsTest, refusesRangeAndSizeDiffers_startsAnew)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &request, auto &connection) {
        if (asked++ == 0)
            return closeEarly(connection);
        if (request.header("range").isEmpty())
            return serveProperly(request, connection);
        connection.send(ScriptedServer::answer("416 No", "Content-Range: bytes */3\r\n", {}));
    });
    ASSERT_EQ(download(server, &sink, settings), Error());
    EXPECT_EQ(sink.content(), content);
}

} // namespace
} // namespace zel
