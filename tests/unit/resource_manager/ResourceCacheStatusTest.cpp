#include "support/CacheFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceCacheStatusTest : public CacheFixture
{
protected:
    void SetUp() override { openCache(); }

    void addWithPath(const QString &reference, qint64 size)
    {
        ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
        ASSERT_FALSE(cache.saveLocalPath(reference, u"/data/x"_s, size).hasError());
    }
};

} // namespace

TEST_F(ResourceCacheStatusTest, readStatus_unknownReference_isMissingAndMakesNoRow)
{
    const Result<ResourceStatus> status = cache.readStatus(u"test:a"_s);
    ASSERT_TRUE(status.hasValue());
    EXPECT_EQ(status.value(), ResourceStatus::Missing);
    EXPECT_EQ(database().count(u"CachedResources"_s), 0);
}

TEST_F(ResourceCacheStatusTest, readStatus_unknownText_fails)
{
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    database().run(u"UPDATE CachedResources SET status = 'nonsense'"_s);
    const Result<ResourceStatus> status = cache.readStatus(u"test:a"_s);
    ASSERT_FALSE(status.hasValue());
    EXPECT_EQ(status.error().errorMessage(), u"Unknown resource status."_s);
}

TEST_F(ResourceCacheStatusTest, add_newReference_isMissingWithPolicyAndWriter)
{
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnClose).hasError());
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(cache.readCleanupPolicy(u"test:a"_s).value(), ResourceCleanupPolicy::OnClose);
    EXPECT_TRUE(rowValue(u"cachedPath"_s, u"test:a"_s).isNull());
    EXPECT_TRUE(rowValue(u"fileSize"_s, u"test:a"_s).isNull());
    EXPECT_GE(rowValue(u"lastAccessDateTime"_s, u"test:a"_s).toLongLong(), before);
    EXPECT_EQ(rowValue(u"lastStatusUpdateClientId"_s, u"test:a"_s).toLongLong(), 1);
    EXPECT_TRUE(cache.existsInDb(u"test:a"_s).value());
    EXPECT_FALSE(cache.existsInDb(u"test:b"_s).value());
}

TEST_F(ResourceCacheStatusTest, add_knownReference_failsAndChangesNothing)
{
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnClose).hasError());
    EXPECT_TRUE(cache.add(u"test:a"_s, ResourceCleanupPolicy::Never).hasError());
    EXPECT_EQ(cache.readCleanupPolicy(u"test:a"_s).value(), ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(database().count(u"CachedResources"_s), 1);
}

TEST_F(ResourceCacheStatusTest, saveStatus_readyWithoutPath_failsAndChangesNothing)
{
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    const LogCapture log;
    const Error error = cache.saveStatus(u"test:a"_s, ResourceStatus::Ready);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(error.errorMessage(), u"Resource status cannot be updated properly."_s);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_TRUE(log.contains(QtCriticalMsg,
                             u"Marking resource that does not have local path set is not valid. "
                             "Please add local path first."_s));
}

TEST_F(ResourceCacheStatusTest, saveStatus_missingOverPath_keepsPathButCannotBeRead)
{
    addWithPath(u"test:a"_s, 5);
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Ready).hasError());
    EXPECT_EQ(cache.readLocalPath(u"test:a"_s).value().toString(), u"/data/x"_s);

    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Missing).hasError());
    EXPECT_EQ(rowValue(u"cachedPath"_s, u"test:a"_s).toString(), u"/data/x"_s);
    EXPECT_EQ(rowValue(u"fileSize"_s, u"test:a"_s).toLongLong(), 5);
    const auto path = cache.readLocalPath(u"test:a"_s);
    ASSERT_FALSE(path.hasValue());
    EXPECT_EQ(path.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(path.error().errorMessage(), u"Unable to get local path for missing resource."_s);
}

TEST_F(ResourceCacheStatusTest, saveStatus_any_isAnAccess)
{
    addWithPath(u"test:a"_s, 5);
    database().run(u"UPDATE CachedResources SET lastAccessDateTime = 1"_s);
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Acquiring).hasError());
    EXPECT_GT(rowValue(u"lastAccessDateTime"_s, u"test:a"_s).toLongLong(), 1000000);
}

TEST_F(ResourceCacheStatusTest, saveStatus_otherClient_becomesTheLastWriter)
{
    addWithPath(u"test:a"_s, 5);
    const auto other = otherClient();
    ASSERT_FALSE(other->saveStatus(u"test:a"_s, ResourceStatus::Acquiring).hasError());
    EXPECT_EQ(rowValue(u"lastStatusUpdateClientId"_s, u"test:a"_s).toLongLong(), 2);
}

TEST_F(ResourceCacheStatusTest, saveStatus_scheduledFromOutside_isAccepted)
{
    addWithPath(u"test:a"_s, 5);
    EXPECT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::ScheduledForAcquire).hasError());
    EXPECT_EQ(cache.readStatus(u"test:a"_s).value(), ResourceStatus::ScheduledForAcquire);
}

TEST_F(ResourceCacheStatusTest, readLocalPath_unknownReference_failsAndLogs)
{
    const LogCapture log;
    const auto path = cache.readLocalPath(u"test:a"_s);
    ASSERT_FALSE(path.hasValue());
    EXPECT_EQ(path.error().errorMessage(), u"Unable to get local path for missing resource."_s);
    EXPECT_TRUE(log.contains(QtCriticalMsg, u"is missing."_s));
}

TEST_F(ResourceCacheStatusTest, readLocalPath_acquiringWithPath_givesIt)
{
    addWithPath(u"test:a"_s, 5);
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Acquiring).hasError());
    const auto path = cache.readLocalPath(u"test:a"_s);
    ASSERT_TRUE(path.hasValue());
    EXPECT_EQ(path.value().kind, 2);
}

TEST_F(ResourceCacheStatusTest, saveLocalPath_again_changesTheSumByTheDifference)
{
    addWithPath(u"test:a"_s, 100);
    addWithPath(u"test:b"_s, 10);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 110);
    ASSERT_FALSE(cache.saveLocalPath(u"test:a"_s, u"/data/y"_s, 70).hasError());
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 80);
}

TEST_F(ResourceCacheStatusTest, saveCleanupPolicy_known_isRead)
{
    addWithPath(u"test:a"_s, 1);
    ASSERT_FALSE(cache.saveCleanupPolicy(u"test:a"_s, ResourceCleanupPolicy::Never).hasError());
    cache.setCleanupPolicyRestriction(ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(cache.readCleanupPolicy(u"test:a"_s).value(), ResourceCleanupPolicy::Never);
}

TEST_F(ResourceCacheStatusTest, updateVersion_known_isStoredAsText)
{
    addWithPath(u"test:a"_s, 1);
    ASSERT_FALSE(cache.updateVersion(u"test:a"_s, QVersionNumber(1, 9)).hasError());
    EXPECT_EQ(rowValue(u"version"_s, u"test:a"_s).toString(), u"1.9"_s);
}
