#include "dav/DavScheme.h"

#include "DavSchemeFixture.h"
#include "NginxServer.h"
#include "ResourceCache.h"
#include "SelfSignedCertificate.h"
#include "dav/DavTasks.h"
#include "tasks/GetSiblingsTask.h"

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

class DavSchemeTest : public DavSchemeFixture
{
protected:
    /// Tells of the folder "run.d" with the file "a" of one byte.
    static void list(const ScriptedServer::Request &request, ScriptedServer::Connection &connection)
    {
        const QByteArray file = DavAnswers::file("/run.d/a", 1);
        const QByteArray inside = request.header("depth") == "0" ? QByteArray() : file;
        connection.send(DavAnswers::whole(
            request.target == "/run.d/a" ? file : DavAnswers::folder("/run.d/") + inside));
    }
};

} // namespace

TEST_F(DavSchemeTest, exists_isWhatTheServerSays)
{
    const ApacheServer server;
    server.addFile(u"run.d/a"_s, "hello");
    EXPECT_TRUE(handler(server.url(u"run.d"_s))->exists().value());
    EXPECT_TRUE(handler(server.url(u"run.d/a"_s))->exists().value());
    EXPECT_TRUE(handler(server.url(QString()))->exists().value());
    EXPECT_FALSE(handler(server.url(u"run2.d"_s))->exists().value());
}

TEST_F(DavSchemeTest, exists_noDavServer_isAFailure)
{
    ApacheServer::Options plain;
    plain.dav = false;
    const ApacheServer server(plain);
    EXPECT_EQ(handler(server.url(u"a"_s))->exists().error().errorCode(),
              ErrorCode::OperationFailed);
}

TEST_F(DavSchemeTest, retrieveMetadata_file_hasSizeAndTime)
{
    const ApacheServer server;
    server.addFile(u"my data/a b.raw"_s, "hello");
    const auto metadata = metadataOf(server.url(u"my%20data/a%20b.raw"_s));
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->metadataName(), u"a b.raw"_s);
    EXPECT_EQ(metadata->metadataPath(), u"/my data/a b.raw"_s);
    EXPECT_EQ(metadata->metadataFullPath(), server.url(u"my data/a b.raw"_s));
    EXPECT_EQ(metadata->metadataItemType(), ResourceMetadata::ItemType::File);
    EXPECT_EQ(metadata->metadataVersion(), QVersionNumber(1, 0));
    EXPECT_EQ(metadata->size(), 5);
    EXPECT_TRUE(metadata->modified().isValid());
    EXPECT_FALSE(metadata->fileCount());
    const auto again = ResourceMetadata::fromJson(metadata->toJson(), ResourceReference::WebDav);
    ASSERT_TRUE(again.hasValue());
    EXPECT_EQ(again.value()->toJson(), metadata->toJson());
}

TEST_F(DavSchemeTest, retrieveMetadata_folder_countsAllThatIsInside)
{
    const ApacheServer server;
    server.addFile(u"run.d/a"_s, "hello");
    server.addFile(u"run.d/m/b"_s, "you");
    server.addFolder(u"run.d/n"_s);
    const auto metadata = metadataOf(server.url(u"run.d/"_s));
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->metadataName(), u"run.d"_s);
    EXPECT_EQ(metadata->metadataItemType(), ResourceMetadata::ItemType::Folder);
    EXPECT_EQ(metadata->metadataType(), u"folder"_s);
    EXPECT_EQ(metadata->size(), 8);
    EXPECT_EQ(metadata->fileCount(), 2);
    EXPECT_TRUE(metadata->modified().isValid());
}

TEST_F(DavSchemeTest, retrieveMetadata_folderOfTooManyFolders_leavesTheSizeOpen)
{
    const ApacheServer server;
    for (int i = 0; i <= DavTasks::mostFoldersToCount; ++i)
        server.addFolder(u"run.d/%1"_s.arg(i));
    const auto metadata = metadataOf(server.url(u"run.d"_s));
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->metadataItemType(), ResourceMetadata::ItemType::Folder);
    EXPECT_FALSE(metadata->size());
    EXPECT_FALSE(metadata->fileCount());
}

TEST_F(DavSchemeTest, siblings_areTheOthersOfTheFolder)
{
    const ApacheServer server;
    server.addFile(u"data/a #1.raw"_s, "1");
    server.addFolder(u"data/b.d"_s);
    server.addFile(u"data/c"_s, "1");
    server.addFile(u"other"_s, "1");
    const auto task = handler(server.url(u"data/c"_s))->siblings();
    ASSERT_TRUE(task.hasValue());
    task.value()->exec();
    EXPECT_EQ(task.value()->waitForAllFinished(-1), Error());
    EXPECT_EQ(task.value()->error(), Error());
    QStringList found;
    for (const auto &sibling : task.value()->siblings())
        found << sibling->referenceText(false);
    found.sort();
    EXPECT_EQ(found,
              (QStringList { server.url(u"data/a%20%231.raw"_s), server.url(u"data/b.d"_s) }));
}

TEST_F(DavSchemeTest, siblings_ofTheRoot_areNone)
{
    const ApacheServer server;
    const auto task = handler(server.url(QString()))->siblings();
    ASSERT_TRUE(task.hasValue());
    task.value()->exec();
    EXPECT_EQ(task.value()->waitForAllFinished(-1), Error());
    EXPECT_EQ(task.value()->error(), Error());
    EXPECT_TRUE(task.value()->siblings().isEmpty());
}

TEST_F(DavSchemeTest, retrieve_file_isReadyUnderItsOwnName)
{
    const ApacheServer server;
    const QByteArray bytes = pattern(300'000);
    server.addFile(u"data/a b.raw"_s, bytes);
    const QString path = retrieve(server.url(u"data/a%20b.raw"_s));
    EXPECT_EQ(readFile(path), bytes);
    EXPECT_TRUE(path.startsWith(cache.dataDir() + u"/webdav/"_s));
    EXPECT_EQ(QFileInfo(path).fileName(), u"a b.raw"_s);
    EXPECT_EQ(retrieve(server.url(u"data/a%20b.raw/"_s)), path);
    EXPECT_EQ(server.waitForSentFiles(1).size(), 1);
}

TEST_F(DavSchemeTest, retrieve_fileWithAnotherChecksum_isRefused)
{
    const ApacheServer server;
    server.addFile(u"a.raw"_s, "hello");
    const QString url = server.url(u"a.raw#sha256="_s) + QString(64, u'0');
    EXPECT_EQ(int(handler(url)->retrieve().errorCode()), 6);
    expectNothingPublished(url);
}

TEST_F(DavSchemeTest, retrieve_absent_tellsWhatTheServerSaid)
{
    const ApacheServer server;
    const QString url = server.url(u"a.d"_s);
    const Error error = handler(url)->retrieve();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(
        error.errorMessage(),
        u"Unable to fetch %1: the server answered 404 Not Found: nothing lies there"_s.arg(url));
    expectNothingPublished(url);
}

TEST_F(DavSchemeTest, retrieve_folderWithAChecksum_isBadArgument)
{
    const ApacheServer server;
    server.addFile(u"run.d/a"_s, "x");
    const QString url = server.url(u"run.d#size=1"_s);
    EXPECT_EQ(handler(url)->retrieve().errorCode(), ErrorCode::BadArgument);
    expectNothingPublished(url);
}

TEST_F(DavSchemeTest, retrieve_overTls_checksTheCertificate)
{
    const QTemporaryDir folder;
    const SelfSignedCertificate certificate(folder.path());
    ApacheServer::Options options;
    options.certificate = certificate.certificate;
    options.certificateKey = certificate.key;
    const ApacheServer server(options);
    server.addFile(u"run.d/a"_s, "hello");
    EXPECT_EQ(handler(server.url(u"run.d/"_s))->retrieve().errorCode(), ErrorCode::OperationFailed);

    settings.caFile = certificate.certificate;
    ASSERT_EQ(registerDavScheme(settings), Error());
    const QString path = retrieve(server.url(u"run.d"_s));
    EXPECT_EQ(treeAt(path), treeAt(server.root() + u"/run.d"_s));
}

TEST_F(DavSchemeTest, retrieve_overTlsButFilesLieInTheClear_isRefused)
{
    const ScriptedServer files([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("200 OK", {}, "x"));
    });
    const ScriptedServer lists(&DavSchemeTest::list);
    const QTemporaryDir folder;
    const SelfSignedCertificate certificate(folder.path());
    NginxServer::Options options;
    options.certificate = certificate.certificate;
    options.certificateKey = certificate.key;
    options.directives = u"location /run.d { if ($request_method = GET) { return 302 %1; } "
                         "proxy_pass http://127.0.0.1:%2; }"_s.arg(files.url(u"a"_s),
                                                                   QString::number(lists.port()));
    const NginxServer server(options);
    settings.caFile = certificate.certificate;
    ASSERT_EQ(registerDavScheme(settings), Error());

    const QString url = u"davs://127.0.0.1:%1/run.d"_s.arg(server.port());
    for (const QString &resource : { url, url + u"/a"_s }) {
        const Error error = handler(resource)->retrieve();
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(
            error.errorMessage().endsWith(u": the server leads to an address without encryption"_s))
            << qPrintable(error.description()) << qPrintable(server.errorLog());
        expectNothingPublished(resource);
    }
    EXPECT_TRUE(files.requests().isEmpty());
}

TEST_F(DavSchemeTest, retrieve_secretInThePath_isSentAndNeitherKeptNorShown)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        const QByteArray answer = "<D:response><D:href>" + request.target
            + "</D:href><D:status>HTTP/1.1 403 " + request.target + "</D:status></D:response>";
        connection.send(DavAnswers::whole(answer));
    });
    const QString url = u"dav"_s + server.url(u"data;token=geheim/run.d"_s).mid(4);
    const Error error = handler(url)->retrieve();
    EXPECT_TRUE(error.hasError());
    EXPECT_FALSE(error.description().contains(u"geheim"_s)) << qPrintable(error.description());
    EXPECT_FALSE(reference(url)->referenceText(false).contains(u"geheim"_s));
    EXPECT_EQ(server.requests().constFirst().target, "/data;token=geheim/run.d");
}

} // namespace zel
