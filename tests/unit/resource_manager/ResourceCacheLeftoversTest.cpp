#include "support/CacheFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceCacheLeftoversTest : public CacheFixture
{
protected:
    void SetUp() override { openCache(); }

    ResourceCache::Leftovers move(const QString &reference, const QString &relativePath)
    {
        const auto leftovers = cache.moveLeftoversAside(
            reference, PathImpl<PathType::Unknown>(dataPath(relativePath)));
        EXPECT_TRUE(leftovers.hasValue());
        return leftovers.hasValue() ? leftovers.value() : ResourceCache::Leftovers();
    }
    bool isThere(const QString &relativePath) const
    {
        return QFileInfo::exists(dataPath(relativePath));
    }
};

} // namespace

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_file_isMovedWholeIntoTheSameFolder)
{
    writeFile(dataPath(u"s/a/file"_s), "rest");
    const auto leftovers = move(u"test:a"_s, u"s/a/file"_s);
    EXPECT_FALSE(leftovers.isPublished);
    EXPECT_FALSE(isThere(u"s/a/file"_s));
    EXPECT_EQ(QFileInfo(leftovers.movedTo).path(), dataPath(u"s/a"_s));
    EXPECT_TRUE(QFileInfo(leftovers.movedTo).fileName().startsWith(u'.'));
    EXPECT_EQ(readFile(leftovers.movedTo), "rest");
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_folder_isMovedWithAllInIt)
{
    writeFile(dataPath(u"s/a/folder/deep/file"_s), "rest");
    const auto leftovers = move(u"test:a"_s, u"s/a/folder"_s);
    EXPECT_FALSE(isThere(u"s/a/folder"_s));
    EXPECT_EQ(readFile(leftovers.movedTo + u"/deep/file"_s), "rest");
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_twice_takesAnotherName)
{
    writeFile(dataPath(u"s/a/file"_s), "first");
    const auto first = move(u"test:a"_s, u"s/a/file"_s);
    writeFile(dataPath(u"s/a/file"_s), "second");
    const auto second = move(u"test:a"_s, u"s/a/file"_s);
    EXPECT_EQ(readFile(first.movedTo), "first");
    EXPECT_EQ(readFile(second.movedTo), "second");
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_nothingThere_movesNothing)
{
    const auto leftovers = move(u"test:a"_s, u"s/a/file"_s);
    EXPECT_FALSE(leftovers.isPublished);
    EXPECT_TRUE(leftovers.movedTo.isEmpty());
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_somebodyFetches_leavesItsData)
{
    writeFile(dataPath(u"s/a/file"_s), "half");
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::Acquiring).hasError());
    const auto leftovers = move(u"test:a"_s, u"s/a/file"_s);
    EXPECT_FALSE(leftovers.isPublished);
    EXPECT_TRUE(leftovers.movedTo.isEmpty());
    EXPECT_EQ(readFile(dataPath(u"s/a/file"_s)), "half");
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_publishedMeanwhile_saysSoAndKeepsIt)
{
    addReady(u"test:a"_s, u"s/a/file"_s, 10);
    const auto leftovers = move(u"test:a"_s, u"s/a/file"_s);
    EXPECT_TRUE(leftovers.isPublished);
    EXPECT_TRUE(leftovers.movedTo.isEmpty());
    EXPECT_TRUE(isThere(u"s/a/file"_s));
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_readyButDeletedByHand_becomesMissing)
{
    addReady(u"test:a"_s, u"s/a/file"_s, 10);
    ASSERT_TRUE(QFile::remove(dataPath(u"s/a/file"_s)));
    EXPECT_FALSE(move(u"test:a"_s, u"s/a/file"_s).isPublished);
    EXPECT_EQ(database().status(u"test:a"_s), u"Missing"_s);
    EXPECT_TRUE(rowValue(u"cachedPath"_s, u"test:a"_s).isNull());
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 0);
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_readyAtAnotherPath_staysReady)
{
    addReady(u"test:a"_s, u"s/a/file"_s, 10);
    EXPECT_FALSE(move(u"test:a"_s, u"s/elsewhere/file"_s).isPublished);
    EXPECT_EQ(database().status(u"test:a"_s), u"Ready"_s);
    EXPECT_TRUE(isThere(u"s/a/file"_s));
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_scheduledOnly_isMoved)
{
    writeFile(dataPath(u"s/a/file"_s), "rest");
    ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
    ASSERT_FALSE(cache.saveStatus(u"test:a"_s, ResourceStatus::ScheduledForAcquire).hasError());
    EXPECT_FALSE(move(u"test:a"_s, u"s/a/file"_s).movedTo.isEmpty());
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_linkToAFolder_movesTheLink)
{
    writeFile(directory.outside(u"folder/kept"_s), "x");
    ASSERT_TRUE(QDir().mkpath(dataPath(u"s/a"_s)));
    ASSERT_TRUE(QFile::link(directory.outside(u"folder"_s), dataPath(u"s/a/link"_s)));
    const auto leftovers = move(u"test:a"_s, u"s/a/link"_s);
    EXPECT_TRUE(QFileInfo(leftovers.movedTo).isSymLink());
    EXPECT_TRUE(QFileInfo::exists(directory.outside(u"folder/kept"_s)));
}

TEST_F(ResourceCacheLeftoversTest, moveLeftoversAside_closedCache_failsAndMovesNothing)
{
    writeFile(dataPath(u"s/a/file"_s), "perhaps somebody's");
    cache.close();
    EXPECT_FALSE(
        cache.moveLeftoversAside(u"test:a"_s, PathImpl<PathType::Unknown>(dataPath(u"s/a/file"_s)))
            .hasValue());
    EXPECT_TRUE(isThere(u"s/a/file"_s));
}

TEST_F(ResourceCacheLeftoversTest, removalOfTheResource_afterACrash_takesTheMovedRestAlong)
{
    writeFile(dataPath(u"s/a/file"_s), "rest");
    const auto leftovers = move(u"test:a"_s, u"s/a/file"_s); // and then the process died
    addReady(u"test:a"_s, u"s/a/file"_s, 10);
    ASSERT_FALSE(cache.setSizes({ 1, 2 }).hasError());
    EXPECT_FALSE(QFileInfo::exists(leftovers.movedTo));
}
