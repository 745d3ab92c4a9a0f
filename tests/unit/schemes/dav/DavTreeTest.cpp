#include "dav/DavTree.h"

#include "../http/HttpTestSupport.h"
#include "ApacheServer.h"
#include "DavTestSupport.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

class DavTreeTest : public ::testing::Test
{
protected:
    DavTreeTest()
        : client(settings, u"the folder"_s, {})
    {
        settings.retries = 0;
    }

    static DavResource folderAt(const QString &url)
    {
        DavResource folder;
        folder.url = HttpUrl::parse(url.toUtf8()).value();
        folder.isFolder = true;
        return folder;
    }

    Result<RemoteListing> list(const QString &url) { return DavTree(&client).list(folderAt(url)); }
    RemoteListing listing(const QString &url)
    {
        const auto found = list(url);
        EXPECT_TRUE(found.hasValue()) << found.error().description().toStdString();
        return found.hasValue() ? found.value() : RemoteListing();
    }
    Error failure(const QString &url)
    {
        const auto found = list(url);
        return found.hasValue() ? Error() : found.error();
    }

    QuickSettings settings;
    DavClient client;
};

const QString begin = u"Unable to fetch the folder: "_s;

} // namespace

TEST_F(DavTreeTest, list_tree_hasAllFilesAndFoldersBelowIt)
{
    const ApacheServer server;
    server.addFile(u"run.d/a.bin"_s, "12345");
    server.addFile(u"run.d/m n/ü #1/b%.bin"_s, "1");
    server.addFile(u"run.d/m n/empty.bin"_s, {});
    server.addFolder(u"run.d/nothing/at all"_s);
    server.addFile(u"beside.bin"_s, "1");

    const RemoteListing found = listing(server.webUrl(u"run.d"_s));
    QStringList files;
    for (const auto &[path, file] : found.files()) {
        files << path;
        EXPECT_EQ(file.path, path);
        EXPECT_FALSE(file.etag.isEmpty());
        EXPECT_TRUE(file.modified.isValid());
    }
    EXPECT_EQ(files, (QStringList { u"a.bin"_s, u"m n/empty.bin"_s, u"m n/ü #1/b%.bin"_s }));
    EXPECT_EQ(found.folders(),
              (std::set<QString> { u"m n"_s, u"m n/ü #1"_s, u"nothing"_s, u"nothing/at all"_s }));
    EXPECT_EQ(found.totalBytes(), 6);
    EXPECT_EQ(QString::fromLatin1(found.files().at(u"m n/ü #1/b%.bin"_s).url.text()),
              server.webUrl(u"run.d/m%20n/%C3%BC%20%231/b%25.bin"_s));
}

TEST_F(DavTreeTest, list_asksEachFolderOnce)
{
    const ApacheServer server;
    server.addFolder(u"d/a/b"_s);
    server.addFolder(u"d/c"_s);
    listing(server.webUrl(u"d"_s));
    QStringList asked;
    for (const LoggedRequest &request : server.waitForRequests(4))
        asked << request.method + u' ' + request.path;
    asked.sort();
    EXPECT_EQ(asked,
              (QStringList { u"PROPFIND /d/"_s, u"PROPFIND /d/a/"_s, u"PROPFIND /d/a/b/"_s,
                             u"PROPFIND /d/c/"_s }));
}

TEST_F(DavTreeTest, list_twice_isTheSameState)
{
    const ApacheServer server;
    server.addFile(u"d/a"_s, "1");
    const QString before = listing(server.webUrl(u"d"_s)).validator();
    EXPECT_EQ(listing(server.webUrl(u"d"_s)).validator(), before);
    server.addFile(u"d/a"_s, "12");
    EXPECT_NE(listing(server.webUrl(u"d"_s)).validator(), before);
}

TEST_F(DavTreeTest, list_folderInItself_ends)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        connection.send(DavAnswers::whole(DavAnswers::folder(request.target)
                                          + DavAnswers::folder(request.target + "again/")));
    });
    EXPECT_EQ(failure(server.url(u"d"_s)).errorCode(), ErrorCode::BadData);
    EXPECT_LE(server.requests().size(), RemoteListing::mostLevels + 1);
}

TEST_F(DavTreeTest, list_folderThatListsItsParent_isRefused)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        connection.send(DavAnswers::whole(DavAnswers::folder("/d/")
                                          + DavAnswers::folder(request.target + "a/")));
    });
    const Error error = failure(server.url(u"d"_s));
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
    EXPECT_TRUE(error.errorMessage().startsWith(begin + u"the server lists \"/d/\""_s))
        << qPrintable(error.errorMessage());
}

TEST_F(DavTreeTest, list_subfolderRefused_isNoSmallerList)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        if (request.target == "/d/secret/")
            connection.send(ScriptedServer::answer("403 Forbidden", {}, {}));
        else
            connection.send(DavAnswers::whole(DavAnswers::folder("/d/")
                                              + DavAnswers::file("/d/a", 1)
                                              + DavAnswers::folder("/d/secret/")));
    });
    EXPECT_EQ(failure(server.url(u"d"_s)).errorMessage(),
              begin + u"the server answered 403 Forbidden: it does not permit this"_s);
}

TEST_F(DavTreeTest, list_nameThatNoFileMayHave_isRefusedWithTheResourcesName)
{
    for (const char *const name : { "a%5Cb", "A" }) {
        ScriptedServer server([name](const auto &, auto &connection) {
            connection.send(DavAnswers::whole(DavAnswers::file("/d/a", 1)
                                              + DavAnswers::file(QByteArray("/d/") + name, 1)));
        });
        const Error error = failure(server.url(u"d"_s));
        EXPECT_EQ(error.errorCode(), ErrorCode::BadData) << name;
        EXPECT_TRUE(error.errorMessage().startsWith(begin)) << qPrintable(error.errorMessage());
    }
}

TEST_F(DavTreeTest, listSmall_moreFolders_givesUpInTime)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        QByteArray all = DavAnswers::folder(request.target);
        for (int i = 0; i < 100; ++i)
            all += DavAnswers::folder(request.target + QByteArray::number(i) + '/');
        connection.send(DavAnswers::whole(all));
    });
    const auto found = DavTree(&client).listSmall(folderAt(server.url(u"d"_s)), 5);
    ASSERT_TRUE(found.hasValue()) << found.error().description().toStdString();
    EXPECT_FALSE(found.value());
    EXPECT_EQ(server.requests().size(), 6);
}

} // namespace zel
