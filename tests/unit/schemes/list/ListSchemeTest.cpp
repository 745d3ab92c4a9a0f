#include "ListSchemeFixture.h"

#include "CacheDatabase.h"
#include "NginxServer.h"
#include "SchemeErrors.h"
#include "SchemeMetadata.h"
#include "ScriptedServer.h"
#include "WaitUntil.h"
#include "staging/StagingRecord.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDirIterator>

#include <atomic>
#include <map>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

using Content = std::map<QString, QByteArray>;

QByteArray sumLine(const QString &path, const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex() + "  "
        + path.toUtf8() + '\n';
}

QByteArray sums(const Content &content)
{
    QByteArray lines;
    for (const auto &[path, bytes] : content)
        lines += sumLine(path, bytes);
    return lines;
}

/// All files below a folder.
Content contentOf(const QString &folder)
{
    Content content;
    QDirIterator all(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        content[path.mid(folder.size() + 1)] = readFile(path);
    }
    return content;
}

NginxServer::Options listing()
{
    NginxServer::Options options;
    options.directives = u"autoindex on; autoindex_format json;"_s;
    return options;
}

class ListSchemeTest : public ListSchemeFixture
{
protected:
    /// Puts the files and their checksums on the server.
    static void add(const NginxServer &server, const QString &folder, const Content &content)
    {
        for (const auto &[path, bytes] : content)
            server.addFile(folder + u'/' + path, bytes);
        server.addFile(folder + u"/SHA256SUMS"_s, sums(content));
    }

    static qint64 bytesSent(const QList<LoggedRequest> &requests, qsizetype from = 0)
    {
        qint64 bytes = 0;
        for (const LoggedRequest &request : requests.mid(from)) {
            if (request.method == u"GET"_s && !request.path.endsWith(u"SUMS"_s))
                bytes += request.bodyBytes;
        }
        return bytes;
    }
};

const Content sample { { u"analysis.tdf"_s, "index" },
                       { u"inner/a b#%?\u00e4.bin"_s, QByteArray(300'000, 'x') },
                       { u"inner/deeper/empty"_s, "" },
                       { u".hidden"_s, "dot" } };

} // namespace

TEST_F(ListSchemeTest, retrieve_checksums_folderIsThereAsAWhole)
{
    NginxServer server;
    add(server, u"data/run.d"_s, sample);

    const QString path = retrieve(listAt(server.url(u"data/run.d/SHA256SUMS"_s)));

    EXPECT_TRUE(path.endsWith(u"/run.d"_s));
    EXPECT_EQ(contentOf(path), sample);
    EXPECT_TRUE(QDir(cache.baseDir() + u"/Staging"_s).isEmpty());
}

TEST_F(ListSchemeTest, retrieve_listingsOfTheServer_areFollowedIntoAllFolders)
{
    NginxServer server(listing());
    for (const auto &[path, bytes] : sample)
        server.addFile(u"data/run.d/"_s + path, bytes);
    ASSERT_TRUE(QDir(server.root()).mkpath(u"data/run.d/bare/inside"_s));

    const QString path = retrieve(listAt(server.url(u"data/run.d/"_s)));

    Content listed = sample;
    listed.erase(u".hidden"_s); // the server keeps such names to itself
    EXPECT_EQ(contentOf(path), listed);
    EXPECT_TRUE(QFileInfo(path + u"/bare/inside"_s).isDir());
    EXPECT_EQ(
        QFileInfo(path + u"/analysis.tdf"_s).lastModified().toSecsSinceEpoch(),
        QFileInfo(server.root() + u"/data/run.d/analysis.tdf"_s).lastModified().toSecsSinceEpoch());
}

TEST_F(ListSchemeTest, exists_isWhetherTheListIsThere)
{
    NginxServer server;
    add(server, u"run.d"_s, sample);
    EXPECT_TRUE(handler(listAt(server.url(u"run.d/SHA256SUMS"_s)))->exists().value());
    EXPECT_FALSE(handler(listAt(server.url(u"other/SHA256SUMS"_s)))->exists().value());
}

TEST_F(ListSchemeTest, metadata_bothKindsOfLists_tellNumberAndSize)
{
    NginxServer server(listing());
    add(server, u"run.d"_s, sample);
    for (const QString &url : { u"run.d/SHA256SUMS"_s, u"run.d/"_s }) {
        const auto found = handler(listAt(server.url(url)))->retrieveMetadata();
        ASSERT_TRUE(found.hasValue());
        const auto metadata = found.value().dynamicCast<SchemeMetadata>();
        EXPECT_EQ(metadata->metadataName(), u"run.d"_s);
        EXPECT_EQ(metadata->metadataItemType(), ResourceMetadata::ItemType::Folder);
        const bool isFile = url.endsWith(u"SUMS"_s);
        EXPECT_EQ(metadata->fileCount(), 4);
        EXPECT_EQ(metadata->size(), isFile ? 300'008 : 300'005 + sums(sample).size());
        EXPECT_EQ(metadata->modified().isValid(), !isFile);
        const auto again = SchemeMetadata::fromJson(metadata->toJson());
        EXPECT_EQ(again.value().dynamicCast<SchemeMetadata>()->fileCount(), 4);
    }
}

TEST_F(ListSchemeTest, retrieve_wrongChecksum_isNoFolderAndTheOthersNeedNotComeAgain)
{
    NginxServer server;
    settings.transfersPerHost = 1; // the good one is whole before the bad one fails
    ASSERT_EQ(registerListScheme(settings), Error());
    Content content { { u"a"_s, QByteArray(100'000, 'a') }, { u"b"_s, QByteArray(1000, 'b') } };
    add(server, u"run.d"_s, content);
    server.addFile(u"run.d/b"_s, QByteArray(1000, 'x'));
    const QString reference = listAt(server.url(u"run.d/SHA256SUMS"_s));

    EXPECT_EQ(failureOf(reference), SchemeErrors::integrityFailure);

    // The server writes a line down when the answer is complete, which the client knows before.
    const auto wasSent = [&server](const QString &path) {
        const QList<LoggedRequest> all = server.requests();
        return std::any_of(all.begin(), all.end(), [&path](const LoggedRequest &request) {
            return request.method == u"GET"_s && request.path == path;
        });
    };
    EXPECT_TRUE(waitUntil([&] { return wasSent(u"/run.d/a"_s) && wasSent(u"/run.d/b"_s); }));

    const qsizetype before = server.requests().size();
    server.addFile(u"run.d/b"_s, content[u"b"_s]);
    EXPECT_EQ(contentOf(retrieve(reference)), content);
    EXPECT_LE(bytesSent(server.requests(), before), 1'000);
}

TEST_F(ListSchemeTest, retrieve_fileIsMissing_isNoticedBeforeAnyBytesCome)
{
    NginxServer server;
    server.addFile(u"run.d/a"_s, "a");
    server.addFile(u"run.d/SHA256SUMS"_s, sumLine(u"a"_s, "a") + sumLine(u"b"_s, "b"));

    EXPECT_EQ(failureOf(listAt(server.url(u"run.d/SHA256SUMS"_s))),
              int(ErrorCode::OperationFailed));

    for (const LoggedRequest &request : server.requests())
        EXPECT_FALSE(request.method == u"GET"_s && request.path == u"/run.d/a"_s);
}

TEST_F(ListSchemeTest, retrieve_listsThatAreNone_areRefused)
{
    NginxServer server;
    server.addFile(u"a/SUMS"_s, "<html>no list</html>");
    server.addFile(u"b/SUMS"_s, sumLine(u"../../../tmp/x"_s, "x"));
    server.addFile(u"c/SUMS"_s, sumLine(u"x"_s, "x") + sumLine(u"X"_s, "x"));
    server.addFile(u"d/SUMS"_s, sumLine(u"x"_s, "x") + sumLine(u"x/y"_s, "x"));
    server.addFile(u"e/index.html"_s, "<html>no list</html>");
    for (const QString &path : { u"a/SUMS"_s, u"b/SUMS"_s, u"c/SUMS"_s, u"d/SUMS"_s, u"e/"_s })
        EXPECT_EQ(failureOf(listAt(server.url(path))), int(ErrorCode::BadData))
            << path.toStdString();
    EXPECT_EQ(failureOf(listAt(server.url(u"f/SUMS"_s))), int(ErrorCode::OperationFailed));
}

TEST_F(ListSchemeTest, retrieve_listIsNotTheExpectedOne_isRefused)
{
    NginxServer server;
    add(server, u"run.d"_s, sample);
    const QString reference = listAt(server.url(u"run.d/SHA256SUMS"_s)) + u"#sha256="_s;
    const QByteArray right
        = QCryptographicHash::hash(sums(sample), QCryptographicHash::Sha256).toHex();

    EXPECT_EQ(failureOf(reference + QString(64, u'0')), SchemeErrors::integrityFailure);
    EXPECT_EQ(contentOf(retrieve(reference + QString::fromLatin1(right))), sample);
}

TEST_F(ListSchemeTest, retrieve_twoThousandFiles_allAreThereOverTwoConnections)
{
    NginxServer::Options options = listing();
    NginxServer server(options);
    Content content;
    for (int i = 0; i < 2000; ++i) {
        const QString path = u"part%1/file%2.bin"_s.arg(i % 7).arg(i);
        content[path] = path.toUtf8().repeated(i % 11);
        server.addFile(u"run.d/"_s + path, content[path]);
    }

    EXPECT_EQ(contentOf(retrieve(listAt(server.url(u"run.d/"_s)))), content);

    // 8 listings before, 8 after, and each file once.
    EXPECT_EQ(server.waitForRequests(2016).size(), 2016);
}

TEST_F(ListSchemeTest, retrieve_serverDiesAndComesBack_whatIsHereIsNotSentAgain)
{
    Content content;
    for (int i = 0; i < 6; ++i)
        content[u"file%1"_s.arg(i)] = pattern(400'000) + QByteArray::number(i);
    std::atomic<bool> isDying { true };
    std::atomic<qint64> sentAfterwards { 0 };
    std::atomic<int> files { 0 };
    ScriptedServer server([&](const ScriptedServer::Request &request, auto &connection) {
        const QString name = QString::fromUtf8(request.target.mid(7));
        const bool isList = name == u"SUMS"_s;
        const QByteArray body = isList ? sums(content) : content[name];
        const QByteArray range = request.header("range");
        const qint64 from = range.isEmpty() ? 0 : range.mid(6).chopped(1).toLongLong();
        QByteArray headers = "ETag: \"" + name.toUtf8() + "\"\r\n";
        if (from > 0) {
            headers += "Content-Range: bytes " + QByteArray::number(from) + '-'
                + QByteArray::number(body.size() - 1) + '/' + QByteArray::number(body.size())
                + "\r\n";
        }
        QByteArray answer = ScriptedServer::answer(from > 0 ? "206 Partial Content" : "200 OK",
                                                   headers, body.mid(from));
        if (request.method == "HEAD") {
            connection.send(answer.left(answer.indexOf("\r\n\r\n") + 4));
            return;
        }
        const qint64 headBytes = answer.size() - (body.size() - from);
        if (!isList && isDying && ++files > 3)
            answer.truncate(headBytes + 300'000);
        if (!isList && !isDying)
            sentAfterwards += answer.size() - headBytes;
        connection.send(answer);
    });
    const QString reference = listAt(server.url(u"run.d/SUMS"_s));

    EXPECT_EQ(failureOf(reference), SchemeErrors::integrityFailure);
    const auto records = StagingRecord::readAll(cache.dataDir());
    ASSERT_EQ(records.size(), 1);
    EXPECT_GT(records.first().bytes, 1'000'000); // two files, and of the fourth what came
    EXPECT_EQ(records.first().totalBytes, 2'400'006);

    isDying = false;
    EXPECT_EQ(contentOf(retrieve(reference)), content);
    // Of the two transfers that were under way, what had come of them may come again.
    const qint64 twoFiles = 2 * 400'001;
    EXPECT_LE(sentAfterwards, 2'400'006 - records.first().bytes + twoFiles);
}

TEST_F(ListSchemeTest, retrieve_folderChangesMeanwhile_isNeverAMixture)
{
    std::atomic<int> lists { 0 };
    ScriptedServer server([&](const ScriptedServer::Request &request, auto &connection) {
        const bool isList = request.target == "/run.d/";
        const QByteArray page = R"([{"name":"a","type":"file","size":1}%1])";
        const QByteArray more = ++lists > 1 ? R"(,{"name":"b","type":"file","size":1})" : "";
        connection.send(ScriptedServer::answer(
            "200 OK", {}, isList ? QByteArray(page).replace("%1", more) : QByteArray("x")));
    });
    EXPECT_EQ(failureOf(listAt(server.url(u"run.d/"_s))), SchemeErrors::integrityFailure);
}

TEST_F(ListSchemeTest, retrieve_fileIsNotTheListedOne_isNeverPublished)
{
    struct Lie
    {
        QByteArray entry;
        QByteArray headers;
        QByteArray body;
    };
    const QByteArray time = "Wed, 06 Nov 2024 10:00:00 GMT";
    const QByteArray later = "Wed, 06 Nov 2024 10:00:01 GMT";
    const Lie lies[] {
        { R"("size":3)", {}, "xx" },
        { R"("size":3)", {}, "xxxx" },
        { R"("size":3)", "Transfer-Encoding: chunked\r\n", "2\r\nxx\r\n0\r\n\r\n" },
        { R"("size":3)", "Transfer-Encoding: chunked\r\n", "4\r\nxxxx\r\n0\r\n\r\n" },
        { R"("size":3,"mtime":")" + time + '"', "Last-Modified: " + later + "\r\n", "xxx" },
    };
    for (const Lie &lie : lies) {
        ScriptedServer server([&lie](const ScriptedServer::Request &request, auto &connection) {
            if (request.target == "/run.d/") {
                connection.send(ScriptedServer::answer(
                    "200 OK", {}, R"([{"name":"a","type":"file",)" + lie.entry + "}]"));
            } else if (lie.headers.startsWith("Transfer")) {
                connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n" + lie.headers + "\r\n"
                                + lie.body);
            } else {
                connection.send(ScriptedServer::answer("200 OK", lie.headers, lie.body));
            }
        });
        EXPECT_EQ(failureOf(listAt(server.url(u"run.d/"_s))), SchemeErrors::integrityFailure)
            << lie.entry.toStdString() << lie.body.toStdString();
    }
}

TEST_F(ListSchemeTest, retrieve_redirects_areFollowedWithinTheWebOnly)
{
    NginxServer target;
    add(target, u"run.d"_s, sample);
    NginxServer::Options options;
    options.directives
        = u"location /moved/ { return 302 %1$request_uri; } location /odd/ { return 302 "
          "ftp://127.0.0.1/x; }"_s.arg(target.url(QString()).chopped(1));
    NginxServer server(options);
    add(target, u"moved/run.d"_s, sample);

    EXPECT_EQ(contentOf(retrieve(listAt(server.url(u"moved/run.d/SHA256SUMS"_s)))), sample);
    EXPECT_EQ(failureOf(listAt(server.url(u"odd/SHA256SUMS"_s))), int(ErrorCode::OperationFailed));
}

TEST_F(ListSchemeTest, retrieveTask_canceledInTheMiddle_endsSoonAndKeepsWhatIsWhole)
{
    NginxServer::Options options;
    options.bytesPerSecond = 200'000;
    NginxServer server(options);
    const Content content { { u"a"_s, QByteArray(1000, 'a') },
                            { u"b"_s, QByteArray(20'000'000, 'b') } };
    add(server, u"run.d"_s, content);
    const auto folder = handler(listAt(server.url(u"run.d/SHA256SUMS"_s)));
    auto task = folder->retrieveAsync(ResourceHandler::AsyncProcessingType::Manual);
    ASSERT_TRUE(task.hasValue());
    QObject::connect(task.value().get(), &BaseTask::progress, task.value().get(),
                     [running = task.value().get()](int done, int) {
                         if (done > 100'000)
                             running->cancel();
                     });
    task.value()->exec();
    const Error error = task.value()->waitForAllFinished(20000);

    EXPECT_EQ(int(error.errorCode()), int(ErrorCode::Canceled))
        << error.description().toStdString();
    const auto records = StagingRecord::readAll(cache.dataDir());
    ASSERT_EQ(records.size(), 1);
    EXPECT_GT(records.first().bytes, 100'000);
    EXPECT_FALSE(QFileInfo::exists(folder->expectedPath().value()));
}

} // namespace zel
