#include "support/PurgeFixture.h"

#include "AsAnybody.h"
#include "FileSteps.h"
#include "SemaphoreSets.h"

#include <atomic>

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What goes with a resource, however its path and the cache's are spelled and named.
class ResourceCachePurgePathsTest : public PurgeFixture
{
protected:
    /// Adds a resource at the path and has it purged.
    void purge(const QString &relativePath)
    {
        addReady(u"test:1"_s, relativePath, 500);
        limitTo(100, 200);
        ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
        ASSERT_EQ(status(u"test:1"_s), u"Missing"_s);
    }
};

/// Makes a file, with the folders around it, right before a folder is removed.
class ArrivalBeforeRemoval final : public FileStepWatcher
{
public:
    ArrivalBeforeRemoval(const QString &removed, const QString &arriving)
        : removed(removed.toStdString())
        , arriving(arriving)
    {
        watchFileSteps(this);
    }
    ArrivalBeforeRemoval(const ArrivalBeforeRemoval &) = delete;
    ArrivalBeforeRemoval &operator=(const ArrivalBeforeRemoval &) = delete;
    ~ArrivalBeforeRemoval() override { watchFileSteps(nullptr); }

    std::atomic<bool> hasArrived = false;

private:
    int before(const FileStep &step) override
    {
        if (!hasArrived && step.kind == FileStep::Kind::RemoveFolder && pathOf(step) == removed) {
            hasArrived = true;
            writeFile(arriving, "fetched so far");
        }
        return 0;
    }

    const std::string removed;
    const QString arriving;
};

} // namespace

TEST_F(ResourceCachePurgePathsTest,
       purgeCacheIfNeeded_twoLevelsDeep_takesTheFolderAndLeavesItsParent)
{
    open(1000, 2000);
    purge(u"a/b/file"_s);
    EXPECT_TRUE(isOnDisk(u"a"_s));
    EXPECT_FALSE(isOnDisk(u"a/b"_s));
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_deeperAndAlone_takesTheLonelyFoldersAlong)
{
    open(1000, 2000);
    purge(u"a/b/c/d/file"_s);
    EXPECT_TRUE(isOnDisk(u"a"_s));
    EXPECT_FALSE(isOnDisk(u"a/b"_s));
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_hiddenEntriesInLonelyFolders_goAlong)
{
    open(1000, 2000);
    writeFile(dataPath(u"a/b/c/.left/f"_s), "x");
    ASSERT_TRUE(QFile::link(u"nowhere"_s, dataPath(u"a/b/broken"_s)));
    purge(u"a/b/c/d/file"_s);
    EXPECT_TRUE(isOnDisk(u"a"_s));
    EXPECT_FALSE(isOnDisk(u"a/b"_s));
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_fetchBeginsInALonelyFolder_leavesItsData)
{
    open(1000, 2000);
    const ArrivalBeforeRemoval fetch(dataPath(u"a/b/c"_s), dataPath(u"a/b/other/file"_s));
    purge(u"a/b/c/file"_s);
    EXPECT_TRUE(fetch.hasArrived);
    EXPECT_EQ(readFile(dataPath(u"a/b/other/file"_s)), "fetched so far");
    EXPECT_FALSE(isOnDisk(u"a/b/c"_s));
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_deeperInCompany_leavesTheCompany)
{
    open(1000, 2000);
    writeFile(dataPath(u"a/b/other"_s), "x");
    purge(u"a/b/c/file"_s);
    EXPECT_TRUE(isOnDisk(u"a/b/other"_s));
    EXPECT_FALSE(isOnDisk(u"a/b/c"_s));
}

TEST_F(ResourceCachePurgePathsTest,
       purgeCacheIfNeeded_pathOutside_takesTheFoldersUpToTheFirstInCompany)
{
    open(1000, 2000);
    writeFile(directory.outside(u"o/p/file"_s), "x");
    addReady(u"test:1"_s, u"s/1/f"_s, 500);
    ASSERT_FALSE(
        cache.saveLocalPath(u"test:1"_s, directory.outside(u"o/p/file"_s), 500).hasError());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(QFileInfo::exists(directory.outside(u"o"_s)));
    EXPECT_TRUE(isOnDisk(u"s/1/f"_s));
}

TEST_F(ResourceCachePurgePathsTest,
       purgeCacheIfNeeded_pathDirectlyInTheDataDirectory_takesThatDirectory)
{
    open(1000, 2000);
    writeFile(dataPath(u"other/f"_s), "x");
    purge(u"file"_s);
    EXPECT_FALSE(QFileInfo::exists(directory.dataDir()));
    EXPECT_TRUE(QFileInfo::exists(directory.databasePath()));
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_oddNames_go)
{
    open(1000, 2000);
    writeFile(dataPath(u"a/keep/f"_s), "x");
    const QByteArray inside = QFile::encodeName(dataPath(u"a/new\nline/-rf/..x"_s));
    ASSERT_TRUE(QDir().mkpath(QFile::decodeName(inside)));
    for (const QByteArray &name : { QByteArray("no\xff\xfetext"), QByteArray(255, 'n') }) {
        const QByteArray path = inside + '/' + name;
        ASSERT_EQ(::mkdir(path.constData(), 0755), 0);
        ASSERT_EQ(::mkdir((path + "/shut").constData(), 0555), 0);
        ASSERT_EQ(::chmod(path.constData(), 0555), 0);
    }
    purge(u"a/new\nline/-rf/..x/"_s + QString(255, u'f'));
    EXPECT_FALSE(isOnDisk(u"a/new\nline"_s));
    EXPECT_TRUE(isOnDisk(u"a/keep/f"_s));
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_folderThatStays_isReportedWithItsName)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"a/new\nline/f"_s, 500);
    limitTo(100, 200);
    QFile::setPermissions(dataPath(u"a"_s),
                          QFileDevice::ReadOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
                              | QFileDevice::ExeOther);
    const LogCapture log;
    Error error;
    {
        const AsAnybody anybody;
        if (!anybody.canReach(dataPath(u"a/new\nline/f"_s)))
            GTEST_SKIP() << "the folder of temporary files is closed to others";
        error = cache.purgeCacheIfNeeded(0);
    }
    QFile::setPermissions(dataPath(u"a"_s),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(error.errorMessage(), u"Unable to remove resource."_s);
    EXPECT_EQ(status(u"test:1"_s), u"Ready"_s);
    const QStringList said = log.texts(QtWarningMsg).filter(u"Unable to remove dir"_s);
    ASSERT_EQ(said.size(), 1);
    EXPECT_TRUE(said.first().contains(u"new\\nline\" referenced by \"test:1\""_s))
        << qPrintable(said.first());
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_parentIsALink_leavesWhatItLeadsTo)
{
    open(1000, 2000);
    writeFile(directory.outside(u"elsewhere/other/f"_s), "x");
    writeFile(dataPath(u"b/f"_s), "x");
    ASSERT_TRUE(QFile::link(directory.outside(u"elsewhere"_s), dataPath(u"a"_s)));
    purge(u"a/b/file"_s);
    EXPECT_FALSE(isOnDisk(u"a/b"_s));
    EXPECT_TRUE(isOnDisk(u"a/other/f"_s));
    EXPECT_TRUE(QFileInfo(dataPath(u"a"_s)).isSymLink());
    EXPECT_TRUE(isOnDisk(u"b/f"_s));
}

// The rows have the paths as they were spelled when the data came.
TEST_F(ResourceCachePurgePathsTest,
       purgeCacheIfNeeded_baseDirectorySpelledAnew_losesNoMoreThanTheResource)
{
    const QString base = directory.baseDir();
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(base + u"/.."_s));
    ASSERT_TRUE(QFile::link(base, directory.outside(u"link"_s)));
    const QStringList spellings { base + u'/',
                                  u'/' + base,
                                  QString(base).replace(u"/base"_s, u"//base//"_s),
                                  base + u"/../base"_s,
                                  base + u"/Cache/.."_s,
                                  u"base"_s,
                                  u"./base/../base/"_s,
                                  directory.outside(u"link"_s),
                                  directory.outside(u"link/"_s) };
    open(1000, 2000);
    for (qsizetype i = 0; i < spellings.size(); ++i) {
        const QString reference = u"test:%1"_s.arg(i);
        addReady(reference, u"s/%1/f"_s.arg(i), 500);
        cache.close();
        ASSERT_FALSE(cache.open(pathOf(spellings.at(i)), { 400, 2000 }).hasError());
        EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
        cache.close();
        removeSystemSemaphoreAtEnd(TemporaryCache::semaphoreKey(spellings.at(i)));
        EXPECT_EQ(status(reference), u"Missing"_s) << qPrintable(spellings.at(i));
        EXPECT_FALSE(isOnDisk(u"s/%1"_s.arg(i))) << qPrintable(spellings.at(i));
        EXPECT_TRUE(isOnDisk(u"s"_s)) << qPrintable(spellings.at(i));
        open(1000, 2000);
    }
    QDir::setCurrent(before);
}

// And the other way round: data that came under an odd spelling goes under the plain one.
TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_pathSpelledOddly_losesNoMoreThanTheResource)
{
    const QString base = directory.baseDir();
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(base + u"/.."_s));
    ASSERT_TRUE(QFile::link(base, directory.outside(u"link"_s)));
    const QStringList spellings { u'/' + base, base + u"/Cache/.."_s, u"base"_s, u"./base/"_s,
                                  directory.outside(u"link"_s) };
    open(1000, 2000);
    for (qsizetype i = 0; i < spellings.size(); ++i) {
        const QString reference = u"test:%1"_s.arg(i);
        addReady(reference, u"s/%1/f"_s.arg(i), 500);
        const QString path = spellings.at(i) + u"/Cache/s//%1/f"_s.arg(i);
        ASSERT_FALSE(cache.saveLocalPath(reference, path, 500).hasError());
        limitTo(400, 2000);
        EXPECT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
        EXPECT_EQ(status(reference), u"Missing"_s) << qPrintable(path);
        EXPECT_FALSE(isOnDisk(u"s/%1"_s.arg(i))) << qPrintable(path);
        EXPECT_TRUE(isOnDisk(u"s"_s)) << qPrintable(path);
        limitTo(1000, 2000);
    }
    QDir::setCurrent(before);
}

TEST_F(ResourceCachePurgePathsTest,
       purgeCacheIfNeeded_baseDirectoryThroughALink_losesNoMoreThanTheResource)
{
    const QString link = directory.addBaseDir(u"link"_s);
    ASSERT_TRUE(QFile::link(directory.baseDir(), link));
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/f"_s, 500, 1);
    addReady(u"test:2"_s, u"s2/2/f"_s, 50, 2);
    cache.close();
    ASSERT_FALSE(cache.open(pathOf(link), { 400, 2000 }).hasError());
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_TRUE(isOnDisk(u"s"_s));
    EXPECT_TRUE(isOnDisk(u"s2/2/f"_s));
    cache.close();
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_readOnlyFolderInside_isRemoved)
{
    open(1000, 2000);
    addReady(u"test:1"_s, u"s/1/data.d/sub/f"_s, 500);
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, dataPath(u"s/1/data.d"_s), 500).hasError());
    QFile::setPermissions(dataPath(u"s/1/data.d/sub"_s),
                          QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
}

TEST_F(ResourceCachePurgePathsTest,
       purgeCacheIfNeeded_resourceIsALinkToAFolder_leavesTheFolderAlone)
{
    open(1000, 2000);
    writeFile(directory.outside(u"precious/f"_s), "precious");
    addReady(u"test:1"_s, u"s/1/other"_s, 500);
    ASSERT_TRUE(QFile::link(directory.outside(u"precious"_s), dataPath(u"s/1/data.d"_s)));
    ASSERT_FALSE(cache.saveLocalPath(u"test:1"_s, dataPath(u"s/1/data.d"_s), 500).hasError());
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(isOnDisk(u"s/1"_s));
    EXPECT_EQ(readFile(directory.outside(u"precious/f"_s)), "precious");
}

TEST_F(ResourceCachePurgePathsTest, purgeCacheIfNeeded_dataThatADeadPurgeMovedAside_goesWithTheRow)
{
    open(1000, 2000);
    const QString aside = u"a/b/.leftover-"_s + QString(32, u'5');
    writeFile(dataPath(aside + u"/file"_s), "x");
    writeFile(dataPath(u"a/b/.leftover-of-somebody"_s), "x");
    addReady(u"test:1"_s, u"a/b/file"_s, 500);
    ASSERT_TRUE(QFile::remove(dataPath(u"a/b/file"_s)));
    limitTo(100, 200);
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_EQ(status(u"test:1"_s), u"Missing"_s);
    EXPECT_FALSE(isOnDisk(aside));
    EXPECT_TRUE(isOnDisk(u"a/b/.leftover-of-somebody"_s));
}
