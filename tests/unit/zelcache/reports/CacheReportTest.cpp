#include "reports/CacheReport.h"

#include "Printers.h"
#include "output/Format.h"

#include <QElapsedTimer>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Life = Liveness;

ResourceCacheReader::Resource resource(const QString &reference, ResourceStatus status, qint64 size)
{
    ResourceCacheReader::Resource made;
    made.reference = reference;
    made.status = status;
    made.size = size;
    made.policy = ResourceCleanupPolicy::OnDemand;
    made.lastAccess = 1'700'000'000'000;
    return made;
}

ResourceCacheReader::Snapshot busyCache()
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.resources.append(resource(u"http://a/b.raw"_s, ResourceStatus::Ready, 1536));
    snapshot.resources.last().path = u"/c/b.raw"_s;
    snapshot.resources.last().version = QVersionNumber(2, 1);
    snapshot.resources.append(resource(u"http://a/c.raw"_s, ResourceStatus::Acquiring, 0));
    snapshot.usages.append({ u"http://a/b.raw"_s, 1, 100 });
    snapshot.usages.append({ u"http://a/b.raw"_s, 2, 200 });
    snapshot.clients.append({ 1, 100, 1'700'000'000'000 });
    snapshot.clients.append({ 2, 200, 1'700'000'000'000 - 45'000 });
    snapshot.acquiringTasks.append({ u"http://a/c.raw"_s, 1, 100, 45 });
    snapshot.acquiringTasks.append({ u"http://a/c.raw"_s, 2, 200, std::nullopt });
    snapshot.currentSize = 1536;
    return snapshot;
}

Board busyBoard()
{
    Board board;
    board.baseDirectory = u"/c"_s;
    board.now = 1'700'000'000'000;
    board.limits = { 10'737'418'240, 21'474'836'480 };
    board.currentSize = 1536;
    board.freeBytes = 2048;
    board.resourceCounts = { { ResourceStatus::Ready, 1 }, { ResourceStatus::Acquiring, 1 } };
    const BoardParty viewer { 100, u"viewer"_s, Life::Alive, board.now, board.now, true };
    const qint64 before = board.now - 45'000;
    const BoardParty silent { 200, {}, Life::Silent, before, before, false };
    const BoardParty reused { 300, {}, Life::Reused, before, before, false };
    const BoardParty dead { 400, {}, Life::Dead, before, before, false };
    board.clients = { viewer, silent, reused, dead };
    board.fetches.append({ u"http://a/c.raw"_s, viewer, 45, 450, 1000, 10.0, {} });
    board.fetches.append({ u"http://a/d.raw"_s, dead, 1, {}, {}, {}, {} });
    board.waiters.append({ u"http://a/c.raw"_s, silent, board.now });
    return board;
}

StatusReport busyReport()
{
    StatusReport report;
    report.path.setBaseDirPath(u"/c"_s);
    report.board = busyBoard();
    return report;
}

} // namespace

TEST(CacheReportTest, listLines_resources_areAligned)
{
    const QString time = timeText(1'700'000'000'000);
    const auto cache = busyCache();
    const TextAt lines = listLines(cache);
    EXPECT_EQ(lines(0), u"Ready      1.5 KiB  "_s + time + u"  http://a/b.raw"_s);
    EXPECT_EQ(lines(1), u"Acquiring      0 B  "_s + time + u"  http://a/c.raw"_s);
}

TEST(CacheReportTest, listJson_eachResource_isWhatResourceJsonGives)
{
    auto cache = busyCache();
    cache.resources[0].path = u"/c/\u00e4 \"x\" \\ \x1b.raw"_s;
    cache.resources[0].version = QVersionNumber(3); // others have none, the last another one
    const TextAt texts = listJson(cache);
    for (qsizetype i = 0; i < cache.resources.size(); ++i) {
        const auto document = QJsonDocument::fromJson(texts(i).toUtf8());
        EXPECT_EQ(document.object(), resourceJson(cache, cache.resources.at(i)));
        EXPECT_FALSE(texts(i).contains(u'\x1b'));
    }
    EXPECT_TRUE(texts(0).contains(u"\"usages\":2"_s)) << qPrintable(texts(0));
}

TEST(CacheReportTest, listJson_manyResourcesAllInUse_isCountedInOnePass)
{
    ResourceCacheReader::Snapshot snapshot;
    for (int i = 0; i < 40'000; ++i) {
        snapshot.resources.append(
            resource(u"share:/mnt/run%1.raw"_s.arg(i), ResourceStatus::Ready, i));
        for (int user = 1; user <= 5; ++user)
            snapshot.usages.append({ snapshot.resources.last().reference, user, 100 });
    }
    QElapsedTimer time;
    time.start();
    const TextAt texts = listJson(snapshot);
    for (qsizetype i = 0; i < snapshot.resources.size(); ++i)
        EXPECT_FALSE(texts(i).isEmpty());
    // Comparing each with each takes 8 thousand million comparisons.
    EXPECT_LT(time.elapsed(), 15'000);
}

TEST(CacheReportTest, resourceJson_readyResource_tellsAll)
{
    const auto snapshot = busyCache();
    const QJsonObject object = resourceJson(snapshot, snapshot.resources.constFirst());
    EXPECT_EQ(object.value(u"reference"_s).toString(), u"http://a/b.raw"_s);
    EXPECT_EQ(object.value(u"status"_s).toString(), u"Ready"_s);
    EXPECT_EQ(object.value(u"size"_s).toInteger(), 1536);
    EXPECT_EQ(object.value(u"path"_s).toString(), u"/c/b.raw"_s);
    EXPECT_EQ(object.value(u"version"_s).toString(), u"2.1"_s);
    EXPECT_EQ(object.value(u"cleanupPolicy"_s).toString(), u"OnDemand"_s);
    EXPECT_EQ(object.value(u"lastAccess"_s).toInteger(), 1'700'000'000'000);
    EXPECT_EQ(object.value(u"usages"_s).toInt(), 2);
}

TEST(CacheReportTest, resourceJson_unknownValues_areNull)
{
    const auto snapshot = busyCache();
    const QJsonObject object = resourceJson(snapshot, snapshot.resources.constLast());
    EXPECT_TRUE(object.value(u"path"_s).isNull());
    EXPECT_TRUE(object.value(u"version"_s).isNull());
}

TEST(CacheReportTest, statusLines_busyCache_tellsWhoFetchesAndHowFar)
{
    const QString text = statusLines(busyReport()).join(u'\n');
    EXPECT_TRUE(text.contains(u"Cache:        /c\n"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"1.5 KiB of 10.0 GiB, at most 20.0 GiB"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"1 ready, 1 being fetched, 0 missing"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(
        u"process 100 (viewer), process 200 (silent for 0:45), "
        "process 300 (dead, its number is another program's now, last seen 0:45 ago), "
        "process 400 (dead or not to be seen from here, last seen 0:45 ago)\n"_s))
        << qPrintable(text);
    EXPECT_TRUE(text.contains(
        u" 45%     process 100 (viewer)  http://a/c.raw  450 B of 1000 B  10 B/s\n"_s))
        << qPrintable(text);
    EXPECT_TRUE(text.contains(u"  1%     process 400 (dead or not to be seen from here, "
                              "last seen 0:45 ago)  http://a/d.raw\n"_s))
        << qPrintable(text);
    EXPECT_TRUE(text.contains(u"waiting  process 200 (silent for 0:45)  http://a/c.raw"_s))
        << qPrintable(text);
    EXPECT_TRUE(text.contains(u"Last count:   never"_s)) << qPrintable(text);
}

TEST(CacheReportTest, statusJson_busyCache_hasAllParts)
{
    const QJsonObject status = statusJson(busyReport());
    EXPECT_EQ(status.value(u"baseDirectory"_s).toString(), u"/c"_s);
    EXPECT_EQ(status.value(u"database"_s).toString(), u"/c/ResourceCache.db"_s);
    EXPECT_EQ(status.value(u"sizes"_s).toObject().value(u"maximum"_s).toInteger(), 21474836480);
    EXPECT_EQ(status.value(u"resources"_s).toObject().value(u"Ready"_s).toInt(), 1);
    const QJsonArray clients = status.value(u"clients"_s).toArray();
    EXPECT_TRUE(clients.at(0).toObject().value(u"alive"_s).toBool());
    EXPECT_FALSE(clients.at(1).toObject().value(u"alive"_s).toBool(true));
    const QJsonArray fetches = status.value(u"fetches"_s).toArray();
    EXPECT_EQ(fetches.at(0).toObject().value(u"process"_s).toInt(), 100);
    EXPECT_EQ(fetches.at(0).toObject().value(u"receivedBytes"_s).toInt(), 450);
    EXPECT_EQ(fetches.at(1).toObject().value(u"state"_s).toString(), u"dead"_s);
    EXPECT_FALSE(fetches.at(2).toObject().value(u"fetching"_s).toBool(true));
}

TEST(CacheReportTest, statusJson_volumeUnknown_isNull)
{
    StatusReport report = busyReport();
    report.board.freeBytes.reset();
    EXPECT_TRUE(statusJson(report).value(u"sizes"_s).toObject().value(u"free"_s).isNull());
}

} // namespace zel::cli
