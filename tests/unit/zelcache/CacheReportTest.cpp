#include "CacheReport.h"

#include "Format.h"
#include "Printers.h"

#include <QElapsedTimer>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

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

StatusReport busyReport()
{
    StatusReport report;
    report.path.setBaseDirPath(u"/c"_s);
    const ResourceCacheReader::Snapshot cache = busyCache();
    report.activity.acquiringTasks = cache.acquiringTasks;
    report.activity.clients = cache.clients;
    report.activity.resourceCounts
        = { { ResourceStatus::Ready, 1 }, { ResourceStatus::Acquiring, 1 } };
    report.activity.currentSize = cache.currentSize;
    report.freeBytes = 2048;
    report.now = 1'700'000'000'000;
    TransferReport transfer;
    transfer.receivedBytes = 450;
    transfer.totalBytes = 1000;
    transfer.bytesPerSecond = 10;
    report.transfers.insert(u"http://a/c.raw"_s, transfer);
    return report;
}

} // namespace

TEST(CacheReport, listLines_resources_areAligned)
{
    const QString time = timeText(1'700'000'000'000);
    const auto cache = busyCache();
    const TextAt lines = listLines(cache);
    EXPECT_EQ(lines(0), u"Ready      1.5 KiB  "_s + time + u"  http://a/b.raw"_s);
    EXPECT_EQ(lines(1), u"Acquiring      0 B  "_s + time + u"  http://a/c.raw"_s);
}

TEST(CacheReport, listJson_eachResource_isWhatResourceJsonGives)
{
    auto cache = busyCache();
    cache.resources[0].path = u"/c/\u00e4 \"x\" \\ \x1b.raw"_s;
    const TextAt texts = listJson(cache);
    for (qsizetype i = 0; i < cache.resources.size(); ++i) {
        const auto document = QJsonDocument::fromJson(texts(i).toUtf8());
        EXPECT_EQ(document.object(), resourceJson(cache, cache.resources.at(i)));
        EXPECT_FALSE(texts(i).contains(u'\x1b'));
    }
    EXPECT_TRUE(texts(0).contains(u"\"usages\":2"_s)) << qPrintable(texts(0));
}

TEST(CacheReport, listJson_manyResourcesAllInUse_isCountedInOnePass)
{
    ResourceCacheReader::Snapshot snapshot;
    for (int i = 0; i < 40'000; ++i) {
        snapshot.resources.append(
            resource(u"share:/mnt/run%1.raw"_s.arg(i), ResourceStatus::Ready, i));
        snapshot.usages.append({ snapshot.resources.last().reference, 1, 100 });
    }
    QElapsedTimer time;
    time.start();
    const TextAt texts = listJson(snapshot);
    for (qsizetype i = 0; i < snapshot.resources.size(); ++i)
        EXPECT_FALSE(texts(i).isEmpty());
    // Comparing each with each takes 1.6 thousand million comparisons.
    EXPECT_LT(time.elapsed(), 5000);
}

TEST(CacheReport, resourceJson_readyResource_tellsAll)
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

TEST(CacheReport, resourceJson_unknownValues_areNull)
{
    const auto snapshot = busyCache();
    const QJsonObject object = resourceJson(snapshot, snapshot.resources.constLast());
    EXPECT_TRUE(object.value(u"path"_s).isNull());
    EXPECT_TRUE(object.value(u"version"_s).isNull());
}

TEST(CacheReport, statusLines_busyCache_tellsWhoFetchesAndHowFar)
{
    const QString text = statusLines(busyReport()).join(u'\n');
    EXPECT_TRUE(text.contains(u"Cache:        /c\n"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"1.5 KiB of 10.0 GiB, at most 20.0 GiB"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"1 ready, 1 being fetched, 0 missing"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"process 100, process 200 (silent for 0:45)"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"45%     process 100  http://a/c.raw  450 B of 1000 B  10 B/s"_s))
        << qPrintable(text);
    EXPECT_TRUE(text.contains(u"waiting  process 200  http://a/c.raw"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"Last count:   never"_s)) << qPrintable(text);
}

TEST(CacheReport, statusJson_busyCache_hasAllParts)
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
    EXPECT_FALSE(fetches.at(1).toObject().value(u"fetching"_s).toBool(true));
}

TEST(CacheReport, statusJson_volumeUnknown_isNull)
{
    StatusReport report = busyReport();
    report.freeBytes.reset();
    EXPECT_TRUE(statusJson(report).value(u"sizes"_s).toObject().value(u"free"_s).isNull());
}

} // namespace zel::cli
