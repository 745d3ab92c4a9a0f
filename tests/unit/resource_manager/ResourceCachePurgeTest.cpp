#include "support/PurgeFixture.h"

#include <QRegularExpression>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceCachePurgeTest : public PurgeFixture
{
protected:
    QStringList warnings(const LogCapture &log) const
    {
        return log.texts(QtWarningMsg).filter(u"could not free enough"_s);
    }
};

} // namespace

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_aboveOptimal_goesToNineTenths)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 30, 1);
    addReady(u"test:2"_s, u"s/2/f"_s, 30, 2);
    addReady(u"test:3"_s, u"s/3/f"_s, 30, 3);
    addReady(u"test:4"_s, u"s/4/f"_s, 60, 4);
    limitTo(100, 200);

    // 150 in all, 60 above the target of 90: two of 30 reach it exactly, so a third one goes.
    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    const QRegularExpression length(u"^Made room by removing 3 resources in [0-9]+ ms$"_s);
    EXPECT_EQ(log.texts(QtDebugMsg).filter(length).size(), 1);
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:2"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:3"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:4"_s), u"Ready"_s);
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_TRUE(isOnDisk(u"s/4/f"_s));
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 60);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_exactlyOptimal_removesNothing)
{
    open(100, 200);
    addReady(u"test:1"_s, u"s/1/f"_s, 100);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_extraSize_countsAsIfThere)
{
    open(100, 200);
    addReady(u"test:1"_s, u"s/1/f"_s, 60);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(41).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_extraSizeBeyondNumbers_removesAll)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 60);
    addReady(u"test:2"_s, u"s/2/f"_s, 60);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(std::numeric_limits<qint64>::max()).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_EQ(status(u"test:2"_s), u"Missing"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_everythingInUse_removesNothingAndSucceeds)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    const auto handle = cache.useResource(u"test:1"_s);
    limitTo(100, 200);
    const auto again = cache.useResource(u"test:1"_s);
    EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_policyNever_isTakenAllTheSame)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500, 1, ResourceCleanupPolicy::Never);
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_EQ(cache.readCleanupPolicy(u"test:1"_s).value(), ResourceCleanupPolicy::Never);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_fileVanished_mendsTheRow)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    ASSERT_TRUE(QDir(dataPath(u"s/1"_s)).removeRecursively());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_TRUE(rowValue(u"cachedPath"_s, u"test:1"_s).isNull());
    EXPECT_TRUE(rowValue(u"fileSize"_s, u"test:1"_s).isNull());
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_folderResource_goesWithItsContent)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/data.d/analysis.baf"_s, 500);
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, dataPath(u"s/1/data.d"_s), 500).hasError());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_cannotRemove_isAnErrorOnlyAboveTheMaximum)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 150);
    // The row claims a path that no removal can take: the root of a pseudo file system.
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, u"/proc/self/status"_s, 150).hasError());
    limitTo(100, 200);

    const LogCapture log;
    EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
    EXPECT_TRUE(log.contains(QtWarningMsg, u"Unable to remove dir"_s));

    const Error error = cache.purgeCacheIfNeeded(100);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), u"Unable to remove resource."_s);
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_secondRemovalFails_takesTheFirstRowBackToo)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 50, 1);
    addReady(u"test:2"_s, u"s/2/f"_s, 100, 2);
    ASSERT_FALSE(cache.saveLocalPath(u"test:2"_s, u"/proc/self/status"_s, 100).hasError());
    limitTo(100, 200);

    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 150);

    // The next removal of that row mends it.
    const auto handle = cache.useResource(u"test:2"_s);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
}

TEST_F(ResourceCachePurgeTest, add_purgeFails_addsAllTheSame)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, u"/proc/self/status"_s, 500).hasError());
    limitTo(10, 20);
    EXPECT_FALSE(cache.add(u"test:2"_s, ResourceCleanupPolicy::OnDemand).hasError());
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_usedResourcesPinTheSpace_warnsOnceWithTheirUsers)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 300);
    addReady(u"test:2"_s, u"s/2/f"_s, 200);
    addReady(u"test:3"_s, u"s/3/f"_s, 50);
    limitTo(100, 200);
    database().run(u"INSERT INTO Clients(id, processId, lastPingTime) VALUES (50, 4000050, ?)"_s,
                   { QDateTime::currentMSecsSinceEpoch() });
    database().run(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES "
                   "(1, 50), (1, 50), (2, 50), (2, 60)"_s);
    database().run(
        u"INSERT INTO AcquiringTasks(resourceId, progress, clientId) VALUES (2, 5, 50)"_s);

    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:3"_s), u"Missing"_s);
    EXPECT_EQ(
        warnings(log),
        QStringList(u"The purge could not free enough: 410 bytes stay above the goal of 90 "
                    "bytes (0 bytes asked for in addition). In use: 500 bytes in 2 resources, "
                    "200 bytes in 1 of them being fetched. Largest users: client 50 (process "
                    "4000050) 500 bytes in 2 resources, client 60 (process gone) 200 bytes in "
                    "1 resources"_s));
}

TEST_F(ResourceCachePurgeTest, add_nothingHasChangedInTheFullCache_doesNotWarnAgain)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 300);
    addReady(u"test:2"_s, u"s/2/f"_s, 200);
    limitTo(100, 200);
    const auto handle = cache.useResource(u"test:1"_s);
    auto other = cache.useResource(u"test:2"_s).value();
    const LogCapture log;
    for (int i = 3; i < 6; ++i)
        ASSERT_FALSE(cache.add(u"test:%1"_s.arg(i), ResourceCleanupPolicy::OnDemand).hasError());
    EXPECT_EQ(warnings(log).size(), 1);

    other.reset();
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(warnings(log).size(), 2);
    EXPECT_TRUE(warnings(log).last().contains(u"In use: 300 bytes in 1 resources"_s));
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_goalReachedMeanwhile_warnsAgain)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 60);
    limitTo(50, 200);
    auto handle = cache.useResource(u"test:1"_s).value();
    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(warnings(log).size(), 1);

    handle.reset();
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(warnings(log).size(), 1);
    addReady(u"test:2"_s, u"s/2/f"_s, 60);
    handle = cache.useResource(u"test:2"_s).value();
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(warnings(log).size(), 2);
    EXPECT_EQ(warnings(log).first(), warnings(log).last());
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_openedAnewMeanwhile_warnsAgain)
{
    open(100, 200);
    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(500).hasError());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(500).hasError());
    EXPECT_EQ(warnings(log).size(), 2);
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_goalReachedToTheByte_doesNotWarn)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 90);
    addReady(u"test:2"_s, u"s/2/f"_s, 60);
    limitTo(100, 200);
    database().run(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (1, 50)"_s);
    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:2"_s), u"Missing"_s);
    EXPECT_EQ(warnings(log), QStringList());
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_roomAskedForIsTooMuch_saysSo)
{
    open(100, 200);
    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(500).hasError());
    ASSERT_EQ(warnings(log).size(), 1);
    EXPECT_TRUE(warnings(log).first().contains(
        u"410 bytes stay above the goal of 90 bytes (500 bytes asked for in addition). In use: 0 "
        "bytes in 0 resources, 0 bytes in 0 of them being fetched. Largest users: none"_s));
}

TEST_F(ResourceCachePurgeTest, purgeCacheIfNeeded_reportCannotBeMade_succeedsAllTheSame)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    addReady(u"test:2"_s, u"s/2/f"_s, 500);
    limitTo(100, 200);
    // Sizes that no sum can hold.
    database().run(u"UPDATE CachedResources SET fileSize = 9223372036854775000"_s);
    database().run(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (1, 50), (2, 50)"_s);
    database().run(u"UPDATE CacheMetadata SET currentSize = 1000"_s);
    const LogCapture log;
    EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(warnings(log), QStringList());
    EXPECT_TRUE(log.contains(QtWarningMsg, u"Going on after"_s));
}
