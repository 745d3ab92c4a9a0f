#include "http/HttpTasks.h"

#include "HttpTestSupport.h"
#include "NginxServer.h"
#include "SchemeErrors.h"
#include "SchemeMetadata.h"
#include "ScriptedServer.h"
#include "TemporaryCache.h"
#include "staging/StagingArea.h"
#include "staging/StagingFolder.h"
#include "staging/StagingRecord.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

constexpr int limitMs = 20000;
const QByteArray content = "0123456789";
const QByteArray etag = "ETag: \"one\"\r\n";

QSharedPointer<UrlReference> referenceOf(const QString &url)
{
    const auto reference = UrlReference::parse(ResourceReference::Http, url);
    EXPECT_TRUE(reference.hasValue()) << qPrintable(reference.error().errorMessage());
    return reference.value().dynamicCast<UrlReference>();
}

Error run(Task *task)
{
    task->exec();
    return task->waitForAllFinished(limitMs);
}

/// Of a task that `make` makes anew for each of its runs.
testing::AssertionResult endsSoonOnceCanceled(const std::function<std::unique_ptr<Task>()> &make,
                                              const ScriptedServer &server)
{
    std::unique_ptr<Task> task;
    const auto start = [&] {
        task = make();
        task->exec();
    };
    const auto cancel = [&] {
        task->cancel();
        EXPECT_EQ(task->waitForAllFinished(limitMs).errorCode(), ErrorCode::Canceled);
    };
    return test::endsSoonOnceCanceled({ start, cancel }, server);
}

/// Announces ten bytes and sends four.
QByteArray cutAnswer()
{
    return "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + etag + "\r\n" + content.left(4);
}

class HttpTasksTest : public ::testing::Test
{
protected:
    HttpTasksTest()
    {
        settings.retries = 0;
        EXPECT_TRUE(QDir().mkpath(QFileInfo(expectedPath()).path()));
    }

    QString dataDirectory() const { return folder.filePath(u"Cache"_s); }
    QString expectedPath() const { return dataDirectory() + u"/http/folder/a.raw"_s; }

    FetchPlan planOf(const UrlReference &reference)
    {
        FetchPlan plan;
        plan.referenceKey = reference.referenceText(false);
        plan.displayText = reference.referenceText(true);
        plan.expectedPath = expectedPath();
        plan.stagingDirectory = StagingFolder::stagingDirectoryFor(dataDirectory());
        plan.isReady = [this](const QString &) {
            return isReady.load();
        };
        return plan;
    }

    std::unique_ptr<Task> retrieveTask(const QString &url)
    {
        const auto reference = referenceOf(url);
        return HttpTasks::retrieve(reference, planOf(*reference), settings);
    }

    Error retrieve(const QString &url) { return run(retrieveTask(url).get()); }

    QList<StagingRecord> staged() const { return StagingRecord::readAll(dataDirectory()); }

    QTemporaryDir folder;
    QuickSettings settings;
    std::atomic<bool> isReady = false;
};

TEST_F(HttpTasksTest, exists_tellsWhetherTheFileIsThere)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, content);
    for (const bool there : { true, false }) {
        const QString name = there ? u"a.raw"_s : u"b.raw"_s;
        const auto task = HttpTasks::exists(referenceOf(server.url(name)), settings);
        EXPECT_TRUE(task->isIdle());
        ASSERT_EQ(run(task.get()), Error());
        EXPECT_EQ(task->result<bool>().value(), there);
    }
}

TEST_F(HttpTasksTest, exists_serverInTrouble_isAFailure)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("500 Broken", {}, {}));
    });
    const auto task = HttpTasks::exists(referenceOf(server.url(u"a"_s)), settings);
    EXPECT_EQ(run(task.get()).errorCode(), ErrorCode::OperationFailed);
}

TEST_F(HttpTasksTest, exists_canceledWhileWaiting_endsSoon)
{
    ScriptedServer server([](const auto &, auto &connection) { connection.stall(); });
    const auto make = [&] {
        return HttpTasks::exists(referenceOf(server.url(u"a"_s)), settings);
    };
    EXPECT_TRUE(endsSoonOnceCanceled(make, server));
}

TEST_F(HttpTasksTest, metadata_tellsWhatTheServerTells)
{
    NginxServer server;
    server.addFile(u"data/a b.raw"_s, content);
    const auto task = HttpTasks::metadata(referenceOf(server.url(u"data/a%20b.raw"_s)), settings);
    ASSERT_EQ(run(task.get()), Error());
    const auto result = task->result<QSharedPointer<ResourceMetadata>>();
    ASSERT_TRUE(result.hasValue());
    const auto metadata = result.value().dynamicCast<SchemeMetadata>();
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->metadataName(), u"a b.raw"_s);
    EXPECT_EQ(metadata->metadataPath(), u"/data/a b.raw"_s);
    EXPECT_TRUE(metadata->metadataFullPath().endsWith(u"/data/a b.raw"_s));
    EXPECT_EQ(metadata->metadataType(), u"application/octet-stream"_s);
    EXPECT_EQ(metadata->metadataItemType(), ResourceMetadata::ItemType::File);
    EXPECT_EQ(metadata->size(), 10);
    EXPECT_LT(std::abs(metadata->modified().secsTo(QDateTime::currentDateTimeUtc())), 60);
}

TEST_F(HttpTasksTest, metadata_missingFile_fails)
{
    NginxServer server;
    const auto task = HttpTasks::metadata(referenceOf(server.url(u"none"_s)), settings);
    const Error error = run(task.get());
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u"404"_s));
}

TEST_F(HttpTasksTest, retrieve_file_liesAtTheExpectedPathAndNothingElseIsLeft)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, pattern(3'000'000));
    const auto task = retrieveTask(server.url(u"a.raw"_s));
    ASSERT_EQ(run(task.get()), Error());
    EXPECT_EQ(readFile(expectedPath()), pattern(3'000'000));
    EXPECT_TRUE(staged().isEmpty());
    EXPECT_EQ(task->progressValue(), task->progressMaximum());
    EXPECT_GT(task->progressMaximum(), 0);
}

TEST_F(HttpTasksTest, retrieve_emptyFile_liesAtTheExpectedPath)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, {});
    ASSERT_EQ(retrieve(server.url(u"a.raw"_s)), Error());
    EXPECT_EQ(readFile(expectedPath()), QByteArray());
}

TEST_F(HttpTasksTest, retrieve_staleStagingOfOthers_isRemovedFirst)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, content);
    const FetchPlan done = planOf(*referenceOf(server.url(u"done.raw"_s)));
    ASSERT_TRUE(StagingArea::open(done, u"v1"_s).hasValue());
    ASSERT_EQ(staged().size(), 1);

    const auto reference = referenceOf(server.url(u"a.raw"_s));
    FetchPlan plan = planOf(*reference);
    plan.isReady = [&done](const QString &asked) {
        return asked == done.referenceKey;
    };
    ASSERT_EQ(run(HttpTasks::retrieve(reference, plan, settings).get()), Error());
    EXPECT_EQ(readFile(expectedPath()), content);
    EXPECT_TRUE(staged().isEmpty());
}

TEST_F(HttpTasksTest, retrieve_failedBefore_goesOnFromTheStagedBytes)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        const int turn = asked++;
        if (turn == 2) {
            connection.send(ScriptedServer::answer(
                "206 Part", etag + "Content-Range: bytes 4-9/10\r\n", content.mid(4)));
        } else {
            connection.send(cutAnswer());
        }
    });
    EXPECT_EQ(int(retrieve(server.url(u"a.raw"_s)).errorCode()), SchemeErrors::integrityFailure);
    EXPECT_FALSE(QFileInfo::exists(expectedPath()));
    ASSERT_EQ(staged().size(), 1);
    EXPECT_EQ(staged().constFirst().bytes, 4);
    EXPECT_EQ(staged().constFirst().totalBytes, 10);

    ASSERT_EQ(retrieve(server.url(u"a.raw"_s)), Error());
    EXPECT_EQ(readFile(expectedPath()), content);
    EXPECT_EQ(server.requests()[2].header("range"), QByteArray("bytes=4-"));
    EXPECT_EQ(server.requests()[2].header("if-range"), QByteArray("\"one\""));
}

TEST_F(HttpTasksTest, retrieve_fileChangedSinceTheFailure_isFetchedAnew)
{
    std::atomic<int> asked = 0;
    ScriptedServer server([&asked](const auto &, auto &connection) {
        connection.send(asked++ == 0
                            ? cutAnswer()
                            : ScriptedServer::answer("200 OK", "ETag: \"two\"\r\n", "abc"));
    });
    EXPECT_TRUE(retrieve(server.url(u"a.raw"_s)).hasError());
    ASSERT_EQ(retrieve(server.url(u"a.raw"_s)), Error());
    EXPECT_EQ(readFile(expectedPath()), QByteArray("abc"));
    EXPECT_TRUE(staged().isEmpty());
}

TEST_F(HttpTasksTest, retrieve_wrongChecksum_isIntegrityFailureAndNothingIsKept)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, content);
    const QString url = server.url(u"a.raw"_s) + u"#md5="_s + QString(32, u'0');
    EXPECT_EQ(int(retrieve(url).errorCode()), SchemeErrors::integrityFailure);
    EXPECT_FALSE(QFileInfo::exists(expectedPath()));
    for (const StagingRecord &record : staged())
        EXPECT_EQ(record.bytes, 0);
}

TEST_F(HttpTasksTest, retrieve_rightChecksum_isFetched)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, content);
    const QByteArray digest = QCryptographicHash::hash(content, QCryptographicHash::Sha256);
    const QString url
        = server.url(u"a.raw"_s) + u"#sha256="_s + QString::fromLatin1(digest.toHex());
    ASSERT_EQ(retrieve(url), Error());
    EXPECT_EQ(readFile(expectedPath()), content);
}

TEST_F(HttpTasksTest, retrieve_running_nobodySeesAPartOfIt)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(cutAnswer());
        connection.stall();
    });
    const auto task = retrieveTask(server.url(u"a.raw"_s));
    task->exec();
    server.waitForRequests(1);
    EXPECT_FALSE(QFileInfo::exists(expectedPath()));
    task->cancel();
    EXPECT_EQ(task->waitForAllFinished(limitMs).errorCode(), ErrorCode::Canceled);
    EXPECT_FALSE(QFileInfo::exists(expectedPath()));
}

TEST_F(HttpTasksTest, retrieve_canceledWhileRunning_endsSoon)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(cutAnswer());
        connection.stall();
    });
    const auto make = [&] {
        return retrieveTask(server.url(u"a.raw"_s));
    };
    EXPECT_TRUE(endsSoonOnceCanceled(make, server));
}

TEST_F(HttpTasksTest, retrieve_readyMeanwhile_dropsItsOwn)
{
    NginxServer server;
    server.addFile(u"a.raw"_s, content);
    writeFile(expectedPath(), "of another process");
    isReady = true;
    ASSERT_EQ(retrieve(server.url(u"a.raw"_s)), Error());
    EXPECT_EQ(readFile(expectedPath()), QByteArray("of another process"));
    EXPECT_TRUE(staged().isEmpty());
}

TEST_F(HttpTasksTest, retrieve_moreThanTheVolumeHolds_failsBeforeTheFirstByte)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000000000000000\r\n\r\nx");
        connection.stall();
    });
    EXPECT_EQ(int(retrieve(server.url(u"a.raw"_s)).errorCode()), SchemeErrors::noSpace);
    EXPECT_FALSE(QFileInfo::exists(expectedPath()));
}

TEST_F(HttpTasksTest, retrieve_signedAddress_signatureIsSentAndNeverShown)
{
    ScriptedServer server([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("403 Forbidden", {}, "Bad signature s3cr3t."));
    });
    const Error error = retrieve(server.url(u"a.raw?X-Amz-Signature=s3cr3t"_s));
    EXPECT_TRUE(server.requests().constFirst().target.endsWith("s3cr3t"));
    EXPECT_TRUE(error.errorMessage().contains(u"403 Forbidden: Bad signature"_s));
    EXPECT_FALSE(error.description().contains(u"s3cr3t"_s));
}

TEST_F(HttpTasksTest, retrieve_twoAtOnce_bothSucceed)
{
    std::mutex mutex;
    std::condition_variable changed;
    int asked = 0;
    ScriptedServer server([&](const auto &, auto &connection) {
        {
            std::unique_lock lock(mutex);
            ++asked;
            changed.notify_all();
            changed.wait_for(lock, std::chrono::seconds(10), [&asked] { return asked == 2; });
        }
        connection.send(ScriptedServer::answer("200 OK", etag, content));
    });
    const auto one = retrieveTask(server.url(u"a.raw"_s));
    const auto other = retrieveTask(server.url(u"a.raw"_s));
    one->exec();
    other->exec();
    EXPECT_EQ(one->waitForAllFinished(limitMs), Error());
    EXPECT_EQ(other->waitForAllFinished(limitMs), Error());
    EXPECT_EQ(readFile(expectedPath()), content);
    EXPECT_TRUE(staged().isEmpty());
}

} // namespace
} // namespace zel
