#include "CacheDatabase.h"
#include "CacheProcess.h"
#include "TemporaryCache.h"

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What one process does is what the others see.
class SharedCacheTest : public testing::Test
{
protected:
    SharedCacheTest()
        : one(cache.baseDir())
        , other(cache.baseDir())
    {
    }

    QString data() const { return cache.dataDir() + u"/test/a/data"_s; }

    /// A resource with four bytes of data, used by nobody.
    void makeReady()
    {
        ASSERT_EQ(one.ask(u"add test:a"_s), u"ok"_s);
        ASSERT_EQ(one.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
        ASSERT_EQ(one.ask(u"writeData test:a data"_s), u"true"_s);
        ASSERT_EQ(one.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
        ASSERT_EQ(one.ask(u"dropHandle test:a"_s), u"true"_s);
    }

    TemporaryCache cache;
    CacheProcess one;
    CacheProcess other;
};

} // namespace

TEST_F(SharedCacheTest, add_byOneProcess_isKnownToTheOther)
{
    EXPECT_EQ(one.ask(u"add test:a"_s), u"ok"_s);
    EXPECT_TRUE(other.ask(u"add test:a"_s).startsWith(u"error 1"_s));
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"CachedResources"_s), 1);
}

TEST_F(SharedCacheTest, finalizeRetrieve_byOneProcess_otherHasPathAndSize)
{
    makeReady();
    EXPECT_EQ(other.ask(u"readStatus test:a"_s), u"Ready"_s);
    EXPECT_EQ(other.ask(u"readLocalPath test:a"_s), data());
    EXPECT_EQ(other.ask(u"readCurrentCacheSize"_s), u"4"_s);
}

TEST_F(SharedCacheTest, purge_resourceUsedByAnotherProcess_staysUntilItLetsGo)
{
    makeReady();
    EXPECT_EQ(other.ask(u"useResource test:a"_s), u"ok"_s);
    EXPECT_EQ(one.ask(u"inUse test:a"_s), u"true"_s);
    EXPECT_EQ(one.ask(u"setSizes 1 1"_s), u"ok"_s);
    EXPECT_TRUE(QFile::exists(data()));

    EXPECT_EQ(other.ask(u"release test:a"_s), u"true"_s);
    EXPECT_EQ(one.ask(u"purgeCacheIfNeeded 0"_s), u"ok"_s);
    EXPECT_FALSE(QFile::exists(data()));
    EXPECT_EQ(other.ask(u"readStatus test:a"_s), u"Missing"_s);
    EXPECT_EQ(other.ask(u"readCurrentCacheSize"_s), u"0"_s);
}

TEST_F(SharedCacheTest, release_onCloseResourceUsedByTwoProcesses_goesWithTheLast)
{
    ASSERT_EQ(one.ask(u"add test:a OnClose"_s), u"ok"_s);
    ASSERT_EQ(one.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(other.ask(u"useResource test:a"_s), u"ok"_s);
    ASSERT_EQ(one.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    ASSERT_EQ(one.ask(u"writeData test:a data"_s), u"true"_s);
    ASSERT_EQ(one.ask(u"finalizeRetrieve test:a"_s), u"ok"_s);
    ASSERT_EQ(one.ask(u"dropHandle test:a"_s), u"true"_s);

    EXPECT_EQ(one.ask(u"release test:a"_s), u"true"_s);
    EXPECT_TRUE(QFile::exists(data()));
    EXPECT_EQ(other.ask(u"release test:a"_s), u"true"_s);
    EXPECT_FALSE(QFile::exists(data()));
}

TEST_F(SharedCacheTest, close_ofOneProcess_leavesTheOtherAtWork)
{
    EXPECT_EQ(one.ask(u"close"_s), u"ok"_s);
    EXPECT_EQ(other.ask(u"add test:a"_s), u"ok"_s);
    EXPECT_EQ(one.ask(u"open"_s), u"ok"_s);
    EXPECT_EQ(one.ask(u"readStatus test:a"_s), u"Missing"_s);
}
