#include "support/CacheFixture.h"

#include <QRegularExpression>

#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceCacheUseTest : public CacheFixture
{
protected:
    void SetUp() override { openCache(); }

    std::unique_ptr<ResourceCache::InUseHandle> use(const QString &reference)
    {
        auto handle = cache.useResource(reference);
        EXPECT_TRUE(handle.hasValue());
        return std::move(handle).value();
    }
    bool isOnDisk(const QString &relativePath) const
    {
        return QFileInfo::exists(dataPath(relativePath));
    }
};

} // namespace

TEST_F(ResourceCacheUseTest, useResource_unknownReference_entersItAndMarksIt)
{
    const auto handle = use(u"test:a"_s);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(cache.readCleanupPolicy(u"test:a"_s).value(), ResourceCleanupPolicy::OnDemand);
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
    EXPECT_TRUE(cache.inUse(u"test:a"_s).value());
}

TEST_F(ResourceCacheUseTest, useResource_rowGoesAsItComes_failsAndMarksNothing)
{
    database().run(u"CREATE TRIGGER gone AFTER INSERT ON CachedResources BEGIN "
                   "DELETE FROM CachedResources WHERE id = NEW.id; END"_s);
    const LogCapture log;
    const auto handle = cache.useResource(u"test:a"_s);
    ASSERT_FALSE(handle.hasValue());
    EXPECT_EQ(handle.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(handle.error().errorMessage(),
              u"Resource that is not added in database cannot be used"_s);
    EXPECT_TRUE(
        log.contains(QtCriticalMsg, u"\"test:a\" is not in database while marking in use"_s));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
}

TEST_F(ResourceCacheUseTest, release_handle_removesItsRowOnly)
{
    auto first = use(u"test:a"_s);
    const auto second = use(u"test:a"_s);
    first.reset();
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 1);
    EXPECT_TRUE(cache.inUse(u"test:a"_s).value());
}

TEST_F(ResourceCacheUseTest, useResource_missingInAFullCache_makesRoomFirst)
{
    addReady(u"test:old"_s, u"s/old/f"_s, 100);
    cache.close();
    openCache({ 50, 1000 });
    const auto handle = use(u"test:new"_s);
    EXPECT_EQ(database().status(u"test:old"_s), u"Missing"_s);
}

TEST_F(ResourceCacheUseTest, useResource_knownMissingInAFullCache_makesRoomFirst)
{
    ASSERT_FALSE(cache.add(u"test:new"_s, ResourceCleanupPolicy::OnDemand).hasError());
    addReady(u"test:old"_s, u"s/old/f"_s, 100);
    cache.close();
    openCache({ 50, 1000 });
    const auto handle = use(u"test:new"_s);
    EXPECT_EQ(database().status(u"test:old"_s), u"Missing"_s);
}

TEST_F(ResourceCacheUseTest, useResource_presentInAFullCache_purgesNothing)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 100);
    addReady(u"test:b"_s, u"s/b/f"_s, 100);
    cache.close();
    openCache({ 50, 1000 });
    const auto handle = use(u"test:a"_s);
    EXPECT_EQ(database().status(u"test:b"_s), u"Ready"_s);
}

TEST_F(ResourceCacheUseTest, useResource_statusUnreadable_countsAsMissingAndMakesRoom)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10);
    addReady(u"test:old"_s, u"s/old/f"_s, 100, 1);
    database().run(u"UPDATE CachedResources SET status = 'nonsense' WHERE reference = 'test:a'"_s);
    cache.close();
    openCache({ 50, 1000 });
    const auto handle = use(u"test:a"_s);
    EXPECT_EQ(database().status(u"test:old"_s), u"Missing"_s);
}

TEST_F(ResourceCacheUseTest, useResource_purgeFails_isUsedAllTheSame)
{
    ASSERT_FALSE(cache.add(u"test:new"_s, ResourceCleanupPolicy::OnDemand).hasError());
    addReady(u"test:old"_s, u"s/old/f"_s, 100);
    ASSERT_FALSE(cache.saveLocalPath(u"test:old"_s, u"/proc/self/status"_s, 100).hasError());
    cache.close();
    openCache({ 10, 20 });
    ASSERT_TRUE(cache.purgeCacheIfNeeded(0).hasError());
    const auto handle = use(u"test:new"_s);
    EXPECT_TRUE(cache.inUse(u"test:new"_s).value());
}

TEST_F(ResourceCacheUseTest, release_twoHandlesOnClose_removesAtTheLast)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    auto first = use(u"test:a"_s);
    auto second = use(u"test:a"_s);
    first.reset();
    EXPECT_TRUE(isOnDisk(u"s/a/f"_s));
    second.reset();
    EXPECT_FALSE(isOnDisk(u"s/a/f"_s));
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 0);
}

TEST_F(ResourceCacheUseTest, release_lastOnClose_tellsHowLongOthersHaveWaited)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    auto first = use(u"test:a"_s);
    auto second = use(u"test:a"_s);
    const LogCapture log;
    const QRegularExpression length(u"^Deleted a resource after its last use in [0-9]+ ms$"_s);
    first.reset();
    EXPECT_EQ(log.texts(QtDebugMsg).filter(length).size(), 0);
    second.reset();
    EXPECT_EQ(log.texts(QtDebugMsg).filter(length).size(), 1);
}

TEST_F(ResourceCacheUseTest, release_lastOnCloseWithoutData_tellsOfNoDeletion)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    ASSERT_TRUE(QFile::remove(dataPath(u"s/a/f"_s)));
    const LogCapture log;
    use(u"test:a"_s).reset();
    EXPECT_EQ(log.texts(QtDebugMsg).filter(u"after its last use"_s), QStringList());
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
}

TEST_F(ResourceCacheUseTest, release_lastOnCloseCannotBeDeleted_tellsHowLongItTried)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    ASSERT_FALSE(cache.saveLocalPath(u"test:a"_s, u"/proc/self/status"_s, 10).hasError());
    const LogCapture log;
    use(u"test:a"_s).reset();
    const QRegularExpression length(
        u"^Unable to delete a resource after its last use, in [0-9]+ ms$"_s);
    EXPECT_EQ(log.texts(QtDebugMsg).filter(length).size(), 1);
    EXPECT_EQ(log.texts(QtDebugMsg).filter(u"Deleted a resource"_s), QStringList());
}

TEST_F(ResourceCacheUseTest, release_onCloseWhileAcquiring_removesNothing)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Acquiring).hasError());
    use(u"test:a"_s).reset();
    EXPECT_TRUE(isOnDisk(u"s/a/f"_s));
}

TEST_F(ResourceCacheUseTest, release_neverAndOnDemand_removeNothing)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::Never);
    addReady(u"test:b"_s, u"s/b/f"_s, 10, 1000, ResourceCleanupPolicy::OnDemand);
    use(u"test:a"_s).reset();
    use(u"test:b"_s).reset();
    EXPECT_TRUE(isOnDisk(u"s/a/f"_s));
    EXPECT_TRUE(isOnDisk(u"s/b/f"_s));
}

TEST_F(ResourceCacheUseTest, release_usageRowAlreadyGone_isLoggedAndDropped)
{
    auto handle = use(u"test:a"_s);
    database().run(u"DELETE FROM ResourceUsages"_s);
    const LogCapture log;
    handle.reset();
    EXPECT_TRUE(log.contains(QtCriticalMsg, u"Invalid removed rows: 0 for \"test:a\""_s));
    EXPECT_TRUE(log.contains(QtWarningMsg, u"Releasing usage of reference failed"_s));
}

TEST_F(ResourceCacheUseTest, release_removalOfDataFails_usageIsGoneAndRowUnchanged)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    auto handle = use(u"test:a"_s);
    // What no removal can take.
    ASSERT_FALSE(cache.saveLocalPath(u"test:a"_s, u"/proc/self/status"_s, 10).hasError());
    const LogCapture log;
    handle.reset();
    EXPECT_TRUE(log.contains(QtWarningMsg, u"Unable to remove resource."_s));
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    EXPECT_EQ(rowValue(u"cachedPath"_s, u"test:a"_s).toString(), u"/proc/self/status"_s);
}

TEST_F(ResourceCacheUseTest, release_policyUnreadable_usageIsGoneAndDataStays)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    auto handle = use(u"test:a"_s);
    database().run(u"UPDATE CachedResources SET cleanupPolicy = 'nonsense'"_s);
    handle.reset();
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    EXPECT_TRUE(isOnDisk(u"s/a/f"_s));
}

TEST_F(ResourceCacheUseTest, release_otherClientStillUses_removesNothing)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, ResourceCleanupPolicy::OnClose);
    const auto other = otherClient();
    const auto otherHandle = other->useResource(u"test:a"_s);
    ASSERT_TRUE(otherHandle.hasValue());
    use(u"test:a"_s).reset();
    EXPECT_TRUE(isOnDisk(u"s/a/f"_s));
}

TEST_F(ResourceCacheUseTest, release_onAnotherThread_works)
{
    auto handle = use(u"test:a"_s);
    std::thread([&] { handle.reset(); }).join();
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
}

TEST_F(ResourceCacheUseTest, release_afterCloseAndReopening_touchesNobodysRow)
{
    auto stale = use(u"test:a"_s);
    cache.close();
    const TemporaryCache elsewhere;
    ASSERT_FALSE(cache.open(pathOf(elsewhere.baseDir()), {}).hasError());
    const auto fresh = use(u"test:b"_s); // has the number that the stale one had
    stale.reset();
    EXPECT_EQ(CacheDatabase(elsewhere.databasePath()).count(u"ResourceUsages"_s), 1);
    cache.close();
}

TEST_F(ResourceCacheUseTest, release_afterTheCacheDied_doesNothing)
{
    auto mortal = otherClient();
    auto handle = mortal->useResource(u"test:a"_s);
    ASSERT_TRUE(handle.hasValue());
    mortal.reset();
    std::move(handle).value().reset();
}

TEST_F(ResourceCacheUseTest, useResource_databaseUnreadable_fails)
{
    database().run(u"DROP TABLE ResourceUsages"_s);
    EXPECT_FALSE(cache.useResource(u"test:a"_s).hasValue());
}

struct PolicyCase
{
    const char *name;
    ResourceCleanupPolicy restriction;
    ResourceCleanupPolicy stored;
    bool isRemoved;
};

void PrintTo(const PolicyCase &policyCase, std::ostream *out)
{
    *out << policyCase.name;
}

class ResourceCacheUsePolicyTest : public ResourceCacheUseTest,
                                   public testing::WithParamInterface<PolicyCase>
{
};

TEST_P(ResourceCacheUsePolicyTest, release_restrictedPolicy_decidesRemoval)
{
    addReady(u"test:a"_s, u"s/a/f"_s, 10, 1000, GetParam().stored);
    cache.setCleanupPolicyRestriction(GetParam().restriction);
    use(u"test:a"_s).reset();
    EXPECT_EQ(isOnDisk(u"s/a/f"_s), !GetParam().isRemoved);
}

using Policy = ResourceCleanupPolicy;

INSTANTIATE_TEST_SUITE_P(
    Restrictions, ResourceCacheUsePolicyTest,
    testing::Values(PolicyCase { "invalid_onDemand", Policy::Invalid, Policy::OnDemand, false },
                    PolicyCase { "never_onDemand", Policy::Never, Policy::OnDemand, false },
                    PolicyCase { "never_onClose", Policy::Never, Policy::OnClose, true },
                    PolicyCase { "onClose_onDemand", Policy::OnClose, Policy::OnDemand, true },
                    PolicyCase { "onClose_never", Policy::OnClose, Policy::Never, false },
                    PolicyCase { "onDemand_onDemand", Policy::OnDemand, Policy::OnDemand, false },
                    PolicyCase { "onDemand_onClose", Policy::OnDemand, Policy::OnClose, true },
                    PolicyCase { "unknown_onClose", static_cast<Policy>(9), Policy::OnClose,
                                 false }),
    [](const auto &tested) { return std::string(tested.param.name); });
