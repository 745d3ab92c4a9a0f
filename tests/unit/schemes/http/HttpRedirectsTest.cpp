#include "HttpFaultsFixture.h"

#include <QTemporaryDir>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// What is told to the servers that others lead to, and what is shown of them.
class HttpRedirectsTest : public HttpFaultsFixture
{
protected:
    HttpRedirectsTest()
    {
        settings.netrcFile = folder.filePath(u"netrc"_s);
        QFile file(settings.netrcFile);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("machine 127.0.0.1 login me password pass\n"
                   "machine localhost login me password pass\n");
    }

    static ScriptedServer::Script leadingTo(const QByteArray &address)
    {
        return [answer = ScriptedServer::answer("302 Found", "Location: " + address + "\r\n", {})](
                   const auto &, auto &connection) {
            connection.send(answer);
        };
    }
    static QByteArray addressOn(const QByteArray &host, const ScriptedServer &server)
    {
        return "http://" + host + ':' + QByteArray::number(server.port()) + '/';
    }

    QTemporaryDir folder;
};

} // namespace

TEST_F(HttpRedirectsTest, otherHostInTheClear_isSentNoPasswordAlsoIfItLeadsBack)
{
    ScriptedServer last(serveProperly);
    ScriptedServer other(leadingTo(addressOn("127.0.0.1", last)));
    ScriptedServer first(leadingTo(addressOn("localhost", other)));
    ASSERT_EQ(download(first, &sink, settings), Error());
    EXPECT_EQ(sink.content(), content);
    EXPECT_NE(first.requests().constFirst().header("authorization"), QByteArray());
    EXPECT_EQ(other.requests().constFirst().header("authorization"), QByteArray());
    EXPECT_EQ(last.requests().constFirst().header("authorization"), QByteArray());
}

TEST_F(HttpRedirectsTest, sameHost_isSentThePasswordAgain)
{
    ScriptedServer other(serveProperly);
    ScriptedServer first(leadingTo(addressOn("127.0.0.1", other)));
    ASSERT_EQ(download(first, &sink, settings), Error());
    EXPECT_NE(other.requests().constFirst().header("authorization"), QByteArray());
}

TEST_F(HttpRedirectsTest, refusalEchoesSecretsOfEitherAddress_theyAreLeftOut)
{
    ScriptedServer other([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("403 Forbidden s3cr3t", {},
                                               "Signature s3cr3t, for who had f1rst and f1rst-2."));
    });
    ScriptedServer first(leadingTo(addressOn("127.0.0.1", other) + "a?sig=s3cr3t"));
    const HttpTarget target = targetOf(first.url(u"a?sig=f1rst&token=f1rst-2"_s));
    const QString told = u"Unable to fetch the file: the server answered 403 Forbidden ...: "
                         "Signature ..., for who had ... and ...."_s;
    EXPECT_EQ(HttpClient(settings).download(target, &sink, HttpWatch()).errorMessage(), told);

    const auto probe = HttpClient(settings).probe(target, HttpWatch());
    ASSERT_TRUE(probe.hasValue());
    EXPECT_EQ(probe.value().refusal.errorMessage(), told);
}

} // namespace zel
