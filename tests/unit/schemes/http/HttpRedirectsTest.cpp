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

} // namespace zel
