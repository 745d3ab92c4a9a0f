#include "DavSchemeFixture.h"
#include "staging/StagingRecord.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

class DavFolderTest : public DavSchemeFixture
{
protected:
    using Answer = std::function<void(ScriptedServer::Connection &)>;

    /// Serves the folder "run.d" with one file, that this is told of.
    static ScriptedServer::Script oneFile(const QByteArray &told, const Answer &answer)
    {
        return [told, answer](const auto &request, auto &connection) {
            if (request.method == "GET")
                return answer(connection);
            connection.send(DavAnswers::whole(DavAnswers::folder("/run.d/")
                                              + (request.header("depth") == "0" ? "" : told)));
        };
    }
    static Answer whole(const QByteArray &headers, const QByteArray &body)
    {
        return [=](ScriptedServer::Connection &connection) {
            connection.send(ScriptedServer::answer("200 OK", headers, body));
        };
    }
    static Answer chunked(const QByteArray &body)
    {
        return [=](ScriptedServer::Connection &connection) {
            connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n"
                            "Transfer-Encoding: chunked\r\n\r\n"
                            + QByteArray::number(body.size(), 16) + "\r\n" + body
                            + "\r\n0\r\n\r\n");
        };
    }
    void giveUpSoon()
    {
        settings.giveUpSoon();
        ASSERT_EQ(registerDavScheme(settings), Error());
    }
    static QString folderOn(const ScriptedServer &server)
    {
        return server.url(u"run.d"_s).replace(u"http"_s, u"dav"_s);
    }
};

} // namespace

TEST_F(DavFolderTest, retrieve_folder_isTheSameTree)
{
    const ApacheServer server;
    server.addFile(u"run 1.d/a b.bin"_s, pattern(1'000'000));
    server.addFile(u"run 1.d/ü/#1/100%.bin"_s, "x");
    server.addFile(u"run 1.d/ü/a+b"_s, "y");
    server.addFile(u"run 1.d/ü/50%25"_s, "z");
    server.addFile(u"run 1.d/empty.bin"_s, {});
    server.addFile(u"run 1.d/.hidden"_s, "h");
    server.addFolder(u"run 1.d/nothing/at all"_s);

    const QString url = server.url(u"run%201.d"_s);
    const QString path = retrieve(url);
    EXPECT_EQ(treeAt(path), treeAt(server.root() + u"/run 1.d"_s));
    EXPECT_EQ(QFileInfo(path).fileName(), u"run 1.d"_s);
    EXPECT_EQ(statusOf(url), u"Ready"_s);
    EXPECT_TRUE(StagingRecord::readAll(cache.dataDir()).isEmpty());
}

TEST_F(DavFolderTest, retrieve_emptyFolder_isAnEmptyFolder)
{
    const ApacheServer server;
    server.addFolder(u"run.d"_s);
    const QString path = retrieve(server.url(u"run.d/"_s));
    EXPECT_TRUE(QFileInfo(path).isDir());
    EXPECT_TRUE(treeAt(path).empty());
}

TEST_F(DavFolderTest, retrieve_youngFiles_areFetchedAsWell)
{
    const ApacheServer server;
    for (int i = 0; i < 20; ++i)
        writeFile(server.root() + u"/run.d/%1"_s.arg(i), QByteArray::number(i));
    const QString path = retrieve(server.url(u"run.d"_s));
    EXPECT_EQ(treeAt(path), treeAt(server.root() + u"/run.d"_s));
}

TEST_F(DavFolderTest, retrieve_thousandsOfFiles_isTheSameTree)
{
    const ApacheServer server;
    for (int i = 0; i < 2000; ++i)
        server.addFile(u"run.d/%1/%2.bin"_s.arg(i % 10).arg(i), QByteArray::number(i));
    const QString path = retrieve(server.url(u"run.d"_s));
    EXPECT_EQ(treeAt(path), treeAt(server.root() + u"/run.d"_s));
    EXPECT_EQ(server.waitForSentFiles(2000).size(), 2000);
}

TEST_F(DavFolderTest, retrieve_neverMoreThanTwoAtATime)
{
    std::mutex mutex;
    std::condition_variable arrived;
    int running = 0;
    int most = 0;
    ScriptedServer server([&](const auto &request, auto &connection) {
        std::unique_lock lock(mutex);
        most = std::max(most, ++running);
        arrived.notify_all();
        // The first two wait for one another: less than two would show as well.
        if (request.method == "GET")
            arrived.wait_for(lock, std::chrono::seconds(20), [&] { return most >= 2; });
        --running; // before the last byte, since the next request may come right after it
        lock.unlock();
        if (request.method == "GET")
            return void(connection.send(ScriptedServer::answer("200 OK", "ETag: \"e\"\r\n", "x")));
        QByteArray all = DavAnswers::folder("/run.d/");
        for (int i = 0; i < 30; ++i)
            all += DavAnswers::file("/run.d/" + QByteArray::number(i), 1, "\"e\"");
        connection.send(DavAnswers::whole(
            request.header("depth") == "0" ? DavAnswers::folder("/run.d/") : all));
    });
    const QString path = retrieve(folderOn(server));
    EXPECT_EQ(treeAt(path).size(), 30U);
    EXPECT_EQ(most, 2);
}

TEST_F(DavFolderTest, retrieve_fileVanishesAfterTheListing_publishesNothing)
{
    ScriptedServer server([&](const auto &request, auto &connection) {
        if (request.target == "/run.d/b")
            connection.send(ScriptedServer::answer("404 Not Found", {}, {}));
        else if (request.method == "GET")
            connection.send(ScriptedServer::answer("200 OK", "ETag: \"e\"\r\n", "x"));
        else
            connection.send(DavAnswers::whole(
                DavAnswers::folder("/run.d/")
                + (request.header("depth") == "0" ? QByteArray()
                                                  : DavAnswers::file("/run.d/a", 1, "\"e\"")
                           + DavAnswers::file("/run.d/b", 1, "\"e\""))));
    });
    const QString url = folderOn(server);
    const Error error = handler(url)->retrieve();
    EXPECT_TRUE(error.hasError());
    EXPECT_TRUE(error.errorMessage().contains(u"404"_s)) << qPrintable(error.errorMessage());
    EXPECT_TRUE(error.errorMessage().contains(u"b"_s)) << qPrintable(error.errorMessage());
    expectNothingPublished(url);
}

TEST_F(DavFolderTest, retrieve_fileComesAfterTheListing_publishesNothing)
{
    std::atomic<int> lists = 0;
    ScriptedServer server([&](const auto &request, auto &connection) {
        if (request.method == "GET")
            return void(connection.send(ScriptedServer::answer("200 OK", "ETag: \"e\"\r\n", "x")));
        QByteArray all = DavAnswers::folder("/run.d/");
        if (request.header("depth") == "1") {
            all += DavAnswers::file("/run.d/a", 1, "\"e\"");
            if (++lists > 1)
                all += DavAnswers::file("/run.d/b", 1, "\"e\"");
        }
        connection.send(DavAnswers::whole(all));
    });
    const QString url = folderOn(server);
    EXPECT_EQ(int(handler(url)->retrieve().errorCode()), 6);
    expectNothingPublished(url);
}

TEST_F(DavFolderTest, retrieve_hostileList_leavesNothingOutside)
{
    for (const char *const href :
         { "/run.d/../../../outside", "/run.d/..%2F..%2Foutside", "http://elsewhere/outside",
           "/run.d/%2e%2e", "/run.d/a%00", "/run.d/..%5Coutside" }) {
        ScriptedServer server([href](const auto &request, auto &connection) {
            if (request.method == "GET")
                return void(connection.send(ScriptedServer::answer("200 OK", {}, "x")));
            connection.send(DavAnswers::whole(
                DavAnswers::folder("/run.d/")
                + (request.header("depth") == "0" ? QByteArray() : DavAnswers::file(href, 1))));
        });
        const QString url = folderOn(server);
        EXPECT_EQ(handler(url)->retrieve().errorCode(), ErrorCode::BadData) << href;
        expectNothingPublished(url);
        for (const auto &request : server.requests())
            EXPECT_EQ(request.method, "PROPFIND");
    }
}

TEST_F(DavFolderTest, retrieve_fileIsNotTheListedOne_isNeverPublished)
{
    const QByteArray listed = DavAnswers::file("/run.d/a", 3, "\"e\"");
    for (const Answer &lie : { whole({}, "xx"), whole({}, "xxxx"), whole("ETag: \"f\"\r\n", "xxx"),
                               chunked("xx"), chunked("xxxx") }) {
        ScriptedServer server(oneFile(listed, lie));
        const QString url = folderOn(server);
        EXPECT_EQ(int(handler(url)->retrieve().errorCode()), 6);
        expectNothingPublished(url);
    }
}

TEST_F(DavFolderTest, retrieve_fileWithoutEnd_isBrokenOffAtItsListedSize)
{
    std::atomic<int> pieces = 0;
    ScriptedServer server(oneFile(DavAnswers::file("/run.d/a", 3, "\"e\""), [&](auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        const QByteArray piece = "100000\r\n" + QByteArray(0x100000, 'x') + "\r\n";
        while (pieces < 200 && connection.send(piece))
            ++pieces;
    }));
    const QString url = folderOn(server);
    EXPECT_EQ(int(handler(url)->retrieve().errorCode()), 6);
    EXPECT_LT(pieces, 200);
    expectNothingPublished(url);
}

TEST_F(DavFolderTest, retrieve_moreThanTheVolumeHolds_failsBeforeTheFirstByte)
{
    ScriptedServer server(
        oneFile(DavAnswers::file("/run.d/a", 9'000'000'000'000'000'000), whole({}, "x")));
    const QString url = folderOn(server);
    EXPECT_EQ(int(handler(url)->retrieve().errorCode()), 7);
    expectNothingPublished(url);
    for (const auto &request : server.requests())
        EXPECT_EQ(request.method, "PROPFIND");
}

TEST_F(DavFolderTest, retrieve_fileOfAnImpossibleYear_isThereWithAnotherTime)
{
    const QByteArray year = "Fri, 31 Dec 9999 23:59:59 GMT";
    ScriptedServer server(oneFile(DavAnswers::file("/run.d/a", 1, "\"e\"", year),
                                  whole("ETag: \"e\"\r\nLast-Modified: " + year + "\r\n", "x")));
    const QFileInfo file(retrieve(folderOn(server)) + u"/a"_s);
    const qint64 age = file.lastModified().secsTo(QDateTime::currentDateTime());
    EXPECT_LT(std::abs(age), 3600) << age;
}

TEST_F(DavFolderTest, retrieve_fileStalls_isGivenUpAndPublishesNothing)
{
    ScriptedServer server(oneFile(DavAnswers::file("/run.d/a", 3, "\"e\""), [](auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 3\r\nETag: \"e\"\r\n\r\nx");
        connection.stall();
    }));
    giveUpSoon();
    const QString url = folderOn(server);
    const Error error = handler(url)->retrieve();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().endsWith(u"the server has stopped sending"_s))
        << qPrintable(error.errorMessage());
    expectNothingPublished(url);
}

TEST_F(DavFolderTest, retrieve_eachFileStallsOnce_isTheSameTree)
{
    std::atomic<int> stalls = 0;
    const QByteArray listed
        = DavAnswers::file("/run.d/a", 1, "\"e\"") + DavAnswers::file("/run.d/b", 1, "\"e\"");
    ScriptedServer server(oneFile(listed, [&](auto &connection) {
        if (stalls++ < 2)
            return connection.stall();
        connection.send(ScriptedServer::answer("200 OK", "ETag: \"e\"\r\n", "x"));
    }));
    settings.retries = 2;
    giveUpSoon();
    const Tree whole { { u"a"_s, "x" }, { u"b"_s, "x" } };
    EXPECT_EQ(treeAt(retrieve(folderOn(server))), whole);
    EXPECT_GT(stalls, 2);
}

TEST_F(DavFolderTest, retrieve_fileLiesOnAnotherHost_noPasswordIsSentThere)
{
    ScriptedServer other([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("200 OK", {}, "x"));
    });
    const QByteArray there = "http://localhost:" + QByteArray::number(other.port()) + "/a";
    ScriptedServer server(oneFile(DavAnswers::file("/run.d/a", 1), [there](auto &connection) {
        connection.send(ScriptedServer::answer("302 Found", "Location: " + there + "\r\n", {}));
    }));
    settings.netrcFile = cache.outside(u"netrc"_s);
    writeFile(settings.netrcFile,
              "machine 127.0.0.1 login lab password geheim\n"
              "machine localhost login lab password geheim\n");
    ASSERT_EQ(registerDavScheme(settings), Error());

    EXPECT_EQ(readFile(retrieve(folderOn(server)) + u"/a"_s), "x");
    EXPECT_FALSE(server.requests().constFirst().header("authorization").isEmpty());
    ASSERT_EQ(other.requests().size(), 1);
    EXPECT_EQ(other.requests().constFirst().header("authorization"), QByteArray());
}

} // namespace zel
