#include "DavClientFixture.h"

#include "ApacheServer.h"
#include "NginxServer.h"
#include "SelfSignedCertificate.h"

#include <QFileInfo>

#include <atomic>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

using DavClientTest = DavClientFixture;

TEST_F(DavClientTest, describe_fileAndFolder_areToldApart)
{
    const ApacheServer server;
    server.addFile(u"run 1.d/a.bin"_s, "hello");

    const DavResource folder = describe(server.webUrl(u"run%201.d"_s)).resource;
    EXPECT_TRUE(folder.isFolder);
    EXPECT_TRUE(describe(server.webUrl(u"run%201.d/"_s)).resource.isFolder);

    const DavProbe probe = describe(server.webUrl(u"run%201.d/a.bin"_s));
    EXPECT_TRUE(probe.exists);
    EXPECT_FALSE(probe.resource.isFolder);
    EXPECT_EQ(probe.resource.state.size, 5);
    EXPECT_FALSE(probe.resource.state.etag.isEmpty());
    EXPECT_EQ(probe.resource.state.modified().toSecsSinceEpoch(),
              QFileInfo(server.root() + u"/run 1.d/a.bin"_s).lastModified().toSecsSinceEpoch());
}

TEST_F(DavClientTest, list_oddNames_areDecoded)
{
    const ApacheServer server;
    const QStringList names { u"a b"_s, u"ü.raw"_s,   u"#1"_s,    u"100%"_s,
                              u"a+b"_s, u"50%25.x"_s, u"what?"_s, u"&<>'\""_s,
                              u"..."_s, u".hidden"_s, u"日本語"_s };
    for (const QString &name : names)
        server.addFile(u"d/"_s + name, "x");
    server.addFolder(u"d/e m p t y"_s);
    QStringList expected = names;
    expected << u"e m p t y/"_s;
    expected.sort();
    EXPECT_EQ(namesIn(server.webUrl(u"d"_s)), expected) << server.errorLog().toStdString();
}

TEST_F(DavClientTest, list_members_haveTheAddressesOfTheirBytes)
{
    const ApacheServer server;
    server.addFile(u"d/a #%b"_s, "x");
    server.addFolder(u"d/sub"_s);
    const auto members = list(server.webUrl(u"d"_s));
    ASSERT_TRUE(members.hasValue());
    ASSERT_EQ(members.value().size(), 2U);
    for (const DavResource &member : members.value()) {
        EXPECT_EQ(QString::fromLatin1(member.url.text()),
                  server.webUrl(member.isFolder ? u"d/sub/"_s : u"d/a%20%23%25b"_s));
        EXPECT_EQ(describe(QString::fromLatin1(member.url.text())).resource.isFolder,
                  member.isFolder);
    }
}

TEST_F(DavClientTest, describe_absent_isNoFailure)
{
    const ApacheServer server;
    const DavProbe probe = describe(server.webUrl(u"nothing.d"_s));
    EXPECT_FALSE(probe.exists);
    EXPECT_EQ(probe.refusal.errorMessage(),
              begin + u"the server answered 404 Not Found: nothing lies there"_s);
    EXPECT_EQ(listFailure(server.webUrl(u"nothing.d"_s)), probe.refusal);
}

TEST_F(DavClientTest, describe_serverWithoutDav_saysSo)
{
    ApacheServer::Options plain;
    plain.dav = false;
    const ApacheServer server(plain);
    server.addFile(u"d/a"_s, "x");
    EXPECT_EQ(
        describeFailure(server.webUrl(u"d/a"_s)).errorMessage(),
        begin + u"the server answered 405 Method Not Allowed: it does not speak WebDAV there"_s);
}

TEST_F(DavClientTest, describe_wantsAPassword_namesWhereItBelongs)
{
    ApacheServer::Options withUser;
    withUser.user = u"lab"_s;
    withUser.password = u"geheim"_s;
    const ApacheServer server(withUser);
    server.addFile(u"d/a"_s, "x");
    const DavProbe refused = describe(server.webUrl(u"d/a"_s));
    EXPECT_FALSE(refused.exists);
    EXPECT_EQ(refused.refusal.errorMessage(),
              begin
                  + u"the server answered 401 Unauthorized: it asks for a user name and a "
                    "password, which belong into ~/.netrc"_s);

    const QTemporaryDir home;
    QFile netrc(home.filePath(u"netrc"_s));
    ASSERT_TRUE(netrc.open(QIODevice::WriteOnly));
    netrc.write("machine 127.0.0.1 login lab password geheim\n");
    netrc.close();
    settings.netrcFile = netrc.fileName();
    DavClient known(settings, u"the folder"_s, {});
    const auto probe = known.describe(url(server.webUrl(u"d/a"_s)));
    ASSERT_TRUE(probe.hasValue()) << probe.error().description().toStdString();
    EXPECT_TRUE(probe.value().exists) << server.errorLog().toStdString();
}

TEST_F(DavClientTest, describe_forbidden_saysSo)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("403 Forbidden", {}, "<p>secret words</p>"));
    });
    EXPECT_EQ(describe(server.url(u"d"_s)).refusal.errorMessage(),
              begin + u"the server answered 403 Forbidden: it does not permit this"_s);
}

TEST_F(DavClientTest, describe_overTls_checksTheCertificate)
{
    const QTemporaryDir folder;
    const SelfSignedCertificate certificate(folder.path());
    ApacheServer::Options options;
    options.certificate = certificate.certificate;
    options.certificateKey = certificate.key;
    const ApacheServer server(options);
    server.addFile(u"d/a"_s, "x");
    EXPECT_EQ(describeFailure(server.webUrl(u"d"_s)).errorCode(), ErrorCode::OperationFailed);
    settings.caFile = certificate.certificate;
    DavClient trusting(settings, u"the folder"_s, {});
    const auto probe = trusting.describe(url(server.webUrl(u"d"_s)));
    ASSERT_TRUE(probe.hasValue()) << probe.error().description().toStdString();
    EXPECT_TRUE(probe.value().resource.isFolder);
}

TEST_F(DavClientTest, ask_sendsDepthAndTheWantedProperties)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(DavAnswers::whole(DavAnswers::folder("/d/")));
    });
    describe(server.url(u"d"_s));
    namesIn(server.url(u"d"_s));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[0].method, "PROPFIND");
    EXPECT_EQ(requests[0].target, "/d");
    EXPECT_EQ(requests[0].header("depth"), "0");
    EXPECT_TRUE(requests[0].header("content-type").startsWith("application/xml"));
    EXPECT_TRUE(requests[0].body.contains("<propfind xmlns=\"DAV:\">"));
    EXPECT_TRUE(requests[0].body.contains("<getcontentlength/>"));
    EXPECT_EQ(requests[1].header("depth"), "1");
    EXPECT_EQ(requests[1].target, "/d/");
}

TEST_F(DavClientTest, describe_redirect_isFollowedWithTheSameQuestion)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        if (request.target == "/old")
            connection.send(ScriptedServer::answer("301 Moved", "Location: /new/\r\n", {}));
        else
            connection.send(DavAnswers::whole(DavAnswers::folder("/new/")));
    });
    const DavProbe probe = describe(server.url(u"old"_s));
    EXPECT_TRUE(probe.resource.isFolder);
    EXPECT_EQ(QString::fromLatin1(probe.resource.url.text()), server.url(u"new/"_s));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[1].method, "PROPFIND");
    EXPECT_EQ(requests[1].body, requests[0].body);
}

TEST_F(DavClientTest, describe_redirectElsewhere_isNotFollowed)
{
    for (const char *const location : { "file:///etc/passwd", "ftp://h/a", "/d" }) {
        ScriptedServer server([&](const auto &, auto &connection) {
            connection.send(ScriptedServer::answer(
                "302 Found", QByteArray("Location: ") + location + "\r\n", {}));
        });
        EXPECT_EQ(describeFailure(server.url(u"d"_s)).errorCode(), ErrorCode::OperationFailed);
        EXPECT_LE(server.requests().size(), settings.redirects + 1);
    }
}

TEST_F(DavClientTest, ask_redirectFromTlsToPlain_isRefused)
{
    ScriptedServer plain([](const auto &, auto &connection) {
        connection.send(DavAnswers::whole(DavAnswers::folder("/d/")));
    });
    const QTemporaryDir folder;
    const SelfSignedCertificate certificate(folder.path());
    NginxServer::Options options;
    options.certificate = certificate.certificate;
    options.certificateKey = certificate.key;
    options.directives = u"location /d/ { return 302 %1; }"_s.arg(plain.url(u"d/"_s));
    const NginxServer encrypted(options);
    settings.caFile = certificate.certificate;
    settings.staysEncrypted = true;
    DavClient trusting(settings, u"the folder"_s, {});

    const HttpUrl start = url(encrypted.url(u"d/"_s));
    const Error described = trusting.describe(start).error();
    const Error listed = trusting.list(DavCollection::at(start).value()).error();
    for (const Error &error : { described, listed }) {
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_EQ(error.errorMessage(),
                  begin + u"the server leads to an address without encryption"_s);
    }
    EXPECT_TRUE(plain.requests().isEmpty());
}

TEST_F(DavClientTest, list_passingTrouble_isAskedAgain)
{
    settings.retries = 2;
    std::atomic<int> asked = 0;
    ScriptedServer server([&](const auto &, auto &connection) {
        const int time = ++asked;
        if (time == 1)
            connection.send(ScriptedServer::answer("503 Busy", {}, {}));
        else if (time == 2)
            connection.send("HTTP/1.1 207 Multi-Status\r\nContent-Length: 1000\r\n\r\n"
                            "<D:multistatus xmlns:D=\"DAV:\">");
        else
            connection.send(
                DavAnswers::whole(DavAnswers::folder("/d/") + DavAnswers::file("/d/a", 1)));
    });
    EXPECT_EQ(namesIn(server.url(u"d"_s)), QStringList { u"a"_s });
    EXPECT_EQ(settings.waits->size(), 2U);
}

} // namespace zel
