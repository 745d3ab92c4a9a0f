#include "../SchemeManagerFixture.h"
#include "FailingStep.h"
#include "HttpTestSupport.h"
#include "ScriptedServer.h"
#include "http/HttpScheme.h"
#include "list/ListScheme.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QFileInfo>

#include <atomic>
#include <cerrno>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// The schemes that go on from staged bytes, and what of theirs is fetched.
struct Fetched
{
    friend void PrintTo(const Fetched &fetched, std::ostream *out) { *out << fetched.name; }

    const char *name;
    bool isFolder;
};

/// Bytes that an earlier attempt has staged are wrong, as the checksum tells at the end, and they
/// cannot be dropped.
class EmptyingFaultsTest : public SchemeManagerFixture, public testing::WithParamInterface<Fetched>
{
protected:
    EmptyingFaultsTest()
    {
        settings.retries = 0;
        EXPECT_EQ(registerHttpScheme(settings), Error());
        EXPECT_EQ(registerListScheme(settings), Error());
    }

    static QByteArray sum()
    {
        return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
    }

    QString referenceText() const
    {
        return GetParam().isFolder
            ? u"list+"_s + server.url(u"run.d/SUMS"_s)
            : server.url(u"run.d/a"_s) + u"#sha256="_s + QString::fromLatin1(sum());
    }

    QByteArray fetchedBytes(const ResourceHandler &fetched) const
    {
        const QString path = fetched.expectedPath().value();
        return readFile(GetParam().isFolder ? path + u"/a"_s : path);
    }

    void answer(const ScriptedServer::Request &request, ScriptedServer::Connection &connection)
    {
        const QByteArray etag = "ETag: \"one\"\r\n";
        if (request.target == "/run.d/SUMS") {
            connection.send(ScriptedServer::answer("200 OK", {}, sum() + "  a\n"));
        } else if (request.method == "HEAD") {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + etag + "\r\n");
        } else if (request.header("range") == "bytes=4-") {
            connection.send(ScriptedServer::answer(
                "206 Part", etag + "Content-Range: bytes 4-9/10\r\n", content.mid(4)));
        } else if (wholes++ == 0) {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + etag + "\r\nwxyz");
        } else {
            connection.send(ScriptedServer::answer("200 OK", etag, content));
        }
    }

    static inline const QByteArray content = "0123456789";
    QuickSettings settings;
    std::atomic<int> wholes = 0; ///< how often the file was asked for from its beginning
    ScriptedServer server { [this](const auto &request, auto &connection) {
        answer(request, connection);
    } };
};

} // namespace

TEST_P(EmptyingFaultsTest, retrieve_wrongBytesCannotBeDropped_endsWithThatAndPublishesNothing)
{
    const auto fetched = handler(referenceText());
    ASSERT_TRUE(fetched->retrieve().hasError());
    ASSERT_EQ(wholes, 1);
    const QString staging = QFileInfo(cache.baseDir() + u"/Staging"_s).canonicalFilePath();
    {
        const FailingStep failing(staging.toStdString(), 0, EIO, FailingStep::Lasting::FromThereOn,
                                  FileStep::Kind::Resize);
        const Error error = fetched->retrieve();
        EXPECT_TRUE(failing.hasFailed());
        EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
        EXPECT_TRUE(error.errorMessage().contains(u"Input/output error"_s))
            << qPrintable(error.errorMessage());
    }
    EXPECT_FALSE(QFileInfo::exists(fetched->expectedPath().value()));
    EXPECT_EQ(wholes, 2); // to see that the file is still the same, and not once more

    // Nobody goes on from them later, either.
    EXPECT_EQ(fetched->retrieve(), Error());
    EXPECT_EQ(fetchedBytes(*fetched), content);
}

INSTANTIATE_TEST_SUITE_P(Of, EmptyingFaultsTest,
                         testing::Values(Fetched { "file", false }, Fetched { "folder", true }),
                         [](const auto &fetched) { return fetched.param.name; });

} // namespace zel
