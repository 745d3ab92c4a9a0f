#include "http/HttpScheme.h"

#include "../SchemeManagerFixture.h"
#include "CacheDatabase.h"
#include "HttpTestSupport.h"
#include "NginxServer.h"
#include "ResourceCache.h"
#include "ScriptedServer.h"
#include "integrity/ContentSum.h"
#include "integrity/ManifestStore.h"
#include "references/UrlReference.h"
#include "staging/StagingRecord.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QUrl>

#include <atomic>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// The scheme with settings that give up at the first fault.
class HttpSchemeTest : public SchemeManagerFixture
{
protected:
    HttpSchemeTest()
    {
        settings.retries = 0;
        EXPECT_EQ(registerHttpScheme(settings), Error());
    }

    static QString pathOf(const ResourceHandler &handler) { return handler.expectedPath().value(); }

    QString statusOf(const QString &url) const
    {
        return CacheDatabase(cache.databasePath()).status(reference(url)->referenceText(false));
    }

    QuickSettings settings;
};

TEST_F(HttpSchemeTest, fromString_bothPrefixes_areOfThisScheme)
{
    for (const QString &url : { u"http://h/a.raw"_s, u"HTTPS://H:443/a.raw"_s }) {
        const auto parsed = reference(url);
        EXPECT_EQ(parsed->scheme(), ResourceReference::Http);
        EXPECT_EQ(parsed->referenceVersion(), QVersionNumber(1, 0));
        EXPECT_EQ(*reference(parsed->referenceText(false)), *parsed);
    }
    EXPECT_EQ(ResourceReference::schemeFriendlyName(ResourceReference::Http), u"http"_s);
}

TEST_F(HttpSchemeTest, exists_isWhatTheServerSays)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, "hello");
    EXPECT_TRUE(handler(server.url(u"a.raw"_s))->exists().value());
    EXPECT_FALSE(handler(server.url(u"b.raw"_s))->exists().value());
}

TEST_F(HttpSchemeTest, retrieve_file_isReadyUnderItsOwnNameInAFolderOfItsOwn)
{
    NginxServer server;
    server.addFile(u"data/a.raw"_s, "hello");
    server.addFile(u"other/a.raw"_s, "there");
    const QString url = server.url(u"data/a.raw"_s);
    const auto file = handler(url);
    const auto other = handler(server.url(u"other/a.raw"_s));
    EXPECT_FALSE(file->isAvailableLocally());
    EXPECT_EQ(file->retrieve(), Error());
    EXPECT_EQ(other->retrieve(), Error());

    EXPECT_TRUE(file->isAvailableLocally());
    EXPECT_EQ(readFile(pathOf(*file)), QByteArray("hello"));
    EXPECT_EQ(readFile(pathOf(*other)), QByteArray("there"));
    EXPECT_EQ(statusOf(url), u"Ready"_s);
    EXPECT_TRUE(pathOf(*file).startsWith(cache.dataDir() + u"/http/"_s));
    EXPECT_EQ(QFileInfo(pathOf(*file)).fileName(), u"a.raw"_s);
    EXPECT_NE(QFileInfo(pathOf(*file)).path(), QFileInfo(pathOf(*other)).path());
}

TEST_F(HttpSchemeTest, retrieve_file_leavesAManifestWithItsSumAndNoSecret)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, "hello");
    const auto file = handler(server.url(u"a.raw?token=geheim123"_s));
    ASSERT_EQ(file->retrieve(), Error());

    const ManifestStore store = ManifestStore::forCache(cache.dataDir());
    const auto manifest = store.read(file->reference()->referenceText(false)).value();
    ASSERT_TRUE(manifest);
    EXPECT_EQ(manifest->scheme, u"http"_s);
    EXPECT_EQ(manifest->host, QUrl(server.url(u"a.raw"_s)).authority());
    EXPECT_EQ(manifest->fetchedBytes, 5);
    ASSERT_EQ(manifest->files.size(), 1);
    ContentSum sum;
    sum.add("hello", 5);
    EXPECT_EQ(manifest->files.first().sums, QList<QByteArray> { sum.value() });
    EXPECT_FALSE(readFile(store.pathFor(manifest->referenceKey)).contains("geheim123"));
}

TEST_F(HttpSchemeTest, retrieve_twoSpellingsOfOneFile_isFetchedOnce)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, "hello");
    const QString url = server.url(u"a.raw"_s);
    EXPECT_EQ(handler(url)->retrieve(), Error());
    EXPECT_EQ(handler(server.url(u"x/../%61.raw"_s).replace(u"http:"_s, u"HTTP:"_s))->retrieve(),
              Error());
    EXPECT_EQ(server.waitForRequests(1).size(), 1);
}

TEST_F(HttpSchemeTest, retrieve_refused_tellsWhatTheServerSaidAndIsMissing)
{
    NginxServer server;
    const QString url = server.url(u"a.raw"_s);
    const auto file = handler(url);
    const Error error = file->retrieve();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().startsWith(
        u"Unable to fetch %1: the server answered 404 Not Found"_s.arg(url)))
        << qPrintable(error.errorMessage());
    EXPECT_EQ(statusOf(url), u"Missing"_s);
    EXPECT_FALSE(QFileInfo::exists(pathOf(*file)));
}

TEST_F(HttpSchemeTest, retrieve_handlerOfAnOldSignature_asksWithTheNewestOne)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        const bool isValid = request.target.contains("token=new");
        connection.send(ScriptedServer::answer(isValid ? "200 OK" : "403 Forbidden", {}, "hello"));
    });
    const auto held = handler(server.url(u"a.raw?token=old"_s));
    EXPECT_EQ(held->retrieve().errorCode(), ErrorCode::OperationFailed);

    const auto again = handler(server.url(u"a.raw?token=new"_s));
    EXPECT_EQ(again, held);
    EXPECT_EQ(again->retrieve(), Error());
    EXPECT_EQ(readFile(pathOf(*held)), QByteArray("hello"));
}

TEST_F(HttpSchemeTest, retrieve_afterABreak_goesOnFromTheBytesThatAreHere)
{
    std::atomic<int> asked = 0;
    const QByteArray etag = "ETag: \"one\"\r\n";
    ScriptedServer server([&](const auto &request, auto &connection) {
        ++asked;
        if (request.header("range").isEmpty())
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + etag + "\r\n0123");
        else
            connection.send(ScriptedServer::answer(
                "206 Part", etag + "Content-Range: bytes 4-9/10\r\n", "456789"));
    });
    const auto file = handler(server.url(u"a.raw"_s));
    EXPECT_TRUE(file->retrieve().hasError());
    ASSERT_EQ(StagingRecord::readAll(cache.dataDir()).size(), 1);
    EXPECT_EQ(file->retrieve(), Error());
    EXPECT_EQ(readFile(pathOf(*file)), QByteArray("0123456789"));
    EXPECT_TRUE(StagingRecord::readAll(cache.dataDir()).isEmpty());
}

TEST_F(HttpSchemeTest, retrieveMetadata_survivesItsJsonForm)
{
    NginxServer server;
    server.addFile(u"data/a.raw"_s, "hello");
    const auto metadata = handler(server.url(u"data/a.raw"_s))->retrieveMetadata();
    ASSERT_TRUE(metadata.hasValue());
    const QJsonObject json = metadata.value()->toJson();
    EXPECT_EQ(json.value(kName).toString(), u"a.raw"_s);
    const auto again = ResourceMetadata::fromJson(json, ResourceReference::Http);
    ASSERT_TRUE(again.hasValue());
    EXPECT_EQ(again.value()->toJson(), json);
}

} // namespace
} // namespace zel
