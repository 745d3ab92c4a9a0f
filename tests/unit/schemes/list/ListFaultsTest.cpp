#include "ListSchemeFixture.h"
#include "SchemeErrors.h"
#include "ScriptedServer.h"
#include "folder/RemoteListing.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// What servers send that are broken or hostile.
class ListFaultsTest : public ListSchemeFixture
{
protected:
    static ScriptedServer::Script always(const QByteArray &body)
    {
        return
            [answer = ScriptedServer::answer("200 OK", {}, body)](const auto &, auto &connection) {
                connection.send(answer);
            };
    }
    static QByteArray pageOf(const QStringList &names, const QString &type)
    {
        QJsonArray entries;
        for (const QString &name : names)
            entries << QJsonObject { { u"name"_s, name }, { u"type"_s, type }, { u"size"_s, 1 } };
        return QJsonDocument(entries).toJson();
    }
    static QByteArray linesOf(const QStringList &names)
    {
        QByteArray lines;
        for (const QString &name : names)
            lines += QByteArray(64, '0') + "  " + name.toUtf8() + '\n';
        return lines;
    }
    static QString failureText(const QString &url, const QString &what)
    {
        return u"Unable to fetch %1: %2"_s.arg(listAt(url), what);
    }
    static QList<QByteArray> filesAskedFor(const ScriptedServer &server)
    {
        QList<QByteArray> targets;
        for (const auto &request : server.requests()) {
            if (request.method == "GET" && request.target != "/d/" && request.target != "/d/SUMS")
                targets << request.target;
        }
        return targets;
    }
};

} // namespace

TEST_F(ListFaultsTest, retrieve_namesThatNoFileMayHave_areRefused)
{
    const QList<QStringList> listings {
        { u".."_s },          { u"../a"_s },          { u"a/../../b"_s },
        { u"/etc/passwd"_s }, { u"C:\\a"_s },         { u"..\\a"_s },
        { u"a\u001b[2Jb"_s }, { QString(u"a\0b"_s) }, { QString(300, u'x') },
        { u"a"_s, u"a"_s },   { u"a"_s, u"A"_s },     { u"\u00e9"_s, u"e\u0301"_s }
    };
    for (const QStringList &names : listings) {
        for (const QByteArray &list : { linesOf(names), pageOf(names, u"file"_s) }) {
            const bool isPage = list.startsWith('[');
            ScriptedServer server(always(list));
            const Error error = errorOf(listAt(server.url(isPage ? u"d/"_s : u"d/SUMS"_s)));
            EXPECT_EQ(error.errorCode(), ErrorCode::BadData) << list.toStdString();
            EXPECT_TRUE(error.errorMessage().startsWith(u"Unable to fetch list+http://"_s));
            EXPECT_FALSE(error.errorMessage().contains(u'\u001b'));
            EXPECT_EQ(filesAskedFor(server), QList<QByteArray>()) << list.toStdString();
        }
    }
}

TEST_F(ListFaultsTest, retrieve_folderInItself_endsSoon)
{
    ScriptedServer server(always(pageOf({ u"again"_s }, u"directory"_s)));
    EXPECT_EQ(failureOf(listAt(server.url(u"d/"_s))), int(ErrorCode::BadData));
    EXPECT_LE(server.requests().size(), RemoteListing::mostLevels + 1);
}

TEST_F(ListFaultsTest, retrieve_folderIsListedTwice_isNotLookedInto)
{
    // With two more in each of them it takes more questions than anybody can ask.
    ScriptedServer server(always(pageOf({ u"again"_s, u"again"_s }, u"directory"_s)));
    EXPECT_EQ(
        errorOf(listAt(server.url(u"d/"_s))).errorMessage(),
        failureText(server.url(u"d/"_s), u"The server's listing of the folder makes no sense."_s));
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(ListFaultsTest, retrieve_manyLongPages_areTooMuchTogether)
{
    const QByteArray blanks(10'000'000, ' ');
    ScriptedServer server(always(pageOf({ u"again"_s }, u"directory"_s) + blanks));
    EXPECT_EQ(
        errorOf(listAt(server.url(u"d/"_s))).errorMessage(),
        failureText(server.url(u"d/"_s), u"The server's listings of the folders are too long."_s));
    EXPECT_EQ(server.requests().size(), 7);
}

TEST_F(ListFaultsTest, retrieve_listWithoutEnd_isBrokenOff)
{
    for (const QByteArray &part : { linesOf({ u"a"_s }), QByteArray("\n"), QByteArray("[") }) {
        ScriptedServer server([&](const auto &, auto &connection) {
            connection.send("HTTP/1.1 200 OK\r\n\r\n");
            const QByteArray piece = part.repeated(0x100000 / part.size());
            for (int i = 0; i < 200 && connection.send(piece); ++i) { }
        });
        const Error error = errorOf(listAt(server.url(u"d/SUMS"_s)));
        EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
        EXPECT_EQ(
            error.errorMessage(),
            failureText(server.url(u"d/SUMS"_s), u"The listing of the folder is too large."_s));
    }
}

TEST_F(ListFaultsTest, retrieve_listOfTooMuch_isRefusedBeforeItComes)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 9000000000000000000\r\n\r\nx");
        connection.stall();
    });
    EXPECT_EQ(errorOf(listAt(server.url(u"d/"_s))).errorMessage(),
              failureText(server.url(u"d/"_s), u"The listing of the folder is too large."_s));
}

TEST_F(ListFaultsTest, retrieve_moreLinesThanAFolderMayHold_areRefused)
{
    const QByteArray line = QByteArray(64, '0') + " a\n"; // so short that the length allows them
    ScriptedServer server(always(line.repeated(900'000)));
    EXPECT_EQ(failureOf(listAt(server.url(u"d/SUMS"_s))), int(ErrorCode::BadData));
}

TEST_F(ListFaultsTest, retrieve_serverFallsSilent_isGivenUp)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n[");
        connection.stall();
    });
    settings.giveUpSoon();
    ASSERT_EQ(registerListScheme(settings), Error());
    const Error error = errorOf(listAt(server.url(u"d/"_s)));
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().endsWith(u"the server has stopped sending"_s))
        << qPrintable(error.errorMessage());
}

TEST_F(ListFaultsTest, retrieve_sizesThatAreNone_areRefusedBeforeAnyFileComes)
{
    ScriptedServer server([](const auto &request, auto &connection) {
        if (request.method == "HEAD")
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 9000000000000000000\r\n\r\n");
        else
            connection.send(ScriptedServer::answer("200 OK", {}, linesOf({ u"a"_s, u"b"_s })));
    });
    const Error error = errorOf(listAt(server.url(u"d/SUMS"_s)));
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData) << qPrintable(error.description());
    EXPECT_TRUE(error.errorMessage().endsWith(u"the server tells of impossible sizes of files"_s));
    EXPECT_EQ(filesAskedFor(server), QList<QByteArray>());
}

TEST_F(ListFaultsTest, retrieve_moreThanTheVolumeHolds_failsBeforeTheFirstByte)
{
    ScriptedServer server(always(R"([{"name":"a","type":"file","size":9000000000000000000}])"));
    EXPECT_EQ(failureOf(listAt(server.url(u"d/"_s))), SchemeErrors::noSpace);
    EXPECT_EQ(filesAskedFor(server), QList<QByteArray>());
}

} // namespace zel
