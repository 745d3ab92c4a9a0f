#include "Compilations.h"
#include "FileLooks.h"
#include "FileSteps.h"
#include "RemovalRange.h"
#include "WalFile.h"
#include "support/CacheFixture.h"

#include <atomic>

#include <fcntl.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Counts how often this process opens folders below this one.
class FolderOpenings final : public FileStepWatcher
{
public:
    explicit FolderOpenings(const QString &folder)
        : folder(folder.toStdString() + '/')
    {
        watchFileSteps(this);
    }
    FolderOpenings(const FolderOpenings &) = delete;
    FolderOpenings &operator=(const FolderOpenings &) = delete;
    ~FolderOpenings() override { watchFileSteps(nullptr); }

    std::atomic<int> count = 0;

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Open && (step.flags & O_DIRECTORY) != 0
            && pathOf(step).starts_with(folder))
            ++count;
        return 0;
    }

    const std::string folder;
};

/// What a purge asks of the file system and of the database, counted: the number of resources that
/// stay must not make the removal of one dearer.
class ResourceCachePurgeCostTest : public CacheFixture
{
protected:
    /// Resources of ten bytes in folders side by side, "test:0" unused for longest.
    void fill(int count)
    {
        openCache({ 10 * count, 100 * count });
        waitForScan(); // asks and looks, too
        for (int i = 0; i < count; ++i)
            writeFile(dataPath(u"s/all/%1/f"_s.arg(i)), QByteArray(10, 'x'));
        database().run(
            u"WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < ?) "
            "INSERT INTO CachedResources(reference, cachedPath, fileSize, status, cleanupPolicy, "
            "lastAccessDateTime, lastStatusUpdateClientId, version) SELECT 'test:' || i, "
            "? || '/s/all/' || i || '/f', 10, 'Ready', 'OnDemand', i, 1, '1' FROM n"_s,
            { count, directory.dataDir() });
        database().value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    }
    /// Removes one half.
    void purgeHalf(int count)
    {
        // The goal is 9 * count, so 5 * count - 5 are above it and count / 2 resources have to go.
        ASSERT_FALSE(cache.purgeCacheIfNeeded(4 * count - 5).hasError());
        ASSERT_EQ(missing(), count / 2);
    }
    FileLooks looksOfPurge(int count)
    {
        fill(count);
        startCounting();
        purgeHalf(count);
        return stopCounting();
    }
    int missing() const
    {
        return database()
            .value(u"SELECT COUNT(*) FROM CachedResources WHERE status = 'Missing'"_s)
            .toInt();
    }
};

} // namespace

TEST_F(ResourceCachePurgeCostTest, purgeCacheIfNeeded_manySiblings_looksAtAFewOnly)
{
    const FileLooks looks = looksOfPurge(1000);
    EXPECT_EQ(looks.glances, 500);
    EXPECT_LE(looks.entriesAtGlances, 50 * 500);
    // The file goes before its own folder is read, and the folder around them is never read.
    EXPECT_EQ(looks.entries, 0);
    EXPECT_EQ(looks.resolutions, 0);
}

TEST_F(ResourceCachePurgeCostTest, purgeCacheIfNeeded_singleFiles_doesNotOpenTheirEmptiedFolders)
{
    fill(100);
    const FolderOpenings openings(directory.dataDir());
    purgeHalf(100);
    // The folder around both, once to see how far the removal reaches and once to remove from it.
    EXPECT_EQ(openings.count, 2 * 50);
}

TEST_F(ResourceCachePurgeCostTest, removalRange_usualPlace_isToldByItsSpelling)
{
    writeFile(dataPath(u"s/1/f"_s), "x");
    startCounting();
    const QDir range
        = RemovalRange(directory.dataDir()).foldersOf(dataPath(u"s/1/f"_s)).constLast();
    const FileLooks looks = stopCounting();
    EXPECT_EQ(range.absolutePath(), dataPath(u"s/1"_s));
    EXPECT_EQ(looks.entries + looks.glances + looks.states + looks.resolutions, 0);
}

TEST_F(ResourceCachePurgeCostTest, removalRange_rootThroughALink_isResolved)
{
    const QString link = directory.outside(u"link"_s);
    ASSERT_TRUE(QFile::link(directory.dataDir(), link));
    writeFile(dataPath(u"s/1/f"_s), "x");
    startCounting();
    const QDir range = RemovalRange(link).foldersOf(dataPath(u"s/1/f"_s)).constLast();
    EXPECT_GT(stopCounting().resolutions, 0);
    EXPECT_EQ(range.absolutePath(), dataPath(u"s/1"_s));
}

TEST_F(ResourceCachePurgeCostTest, removalRange_firstEntriesSayNothing_readsTwoEntries)
{
    writeFile(dataPath(u"s/all/0/f"_s), "x");
    for (int i = 1; i < 200; ++i)
        ASSERT_TRUE(QFile::link(directory.baseDir(), dataPath(u"s/all/%1"_s.arg(i))));
    startCounting();
    const QDir range
        = RemovalRange(directory.dataDir()).foldersOf(dataPath(u"s/all/0/f"_s)).constLast();
    EXPECT_LE(stopCounting().entries, 2);
    EXPECT_EQ(range.absolutePath(), dataPath(u"s/all/0"_s));
}

TEST_F(ResourceCachePurgeCostTest, purgeCacheIfNeeded_tenTimesTheSiblings_looksNoMoreAtEach)
{
    const FileLooks few = looksOfPurge(100);
    cache.close();
    ASSERT_TRUE(QDir(directory.baseDir()).removeRecursively());
    ASSERT_TRUE(QDir().mkpath(directory.baseDir()));
    const FileLooks many = looksOfPurge(1000);
    EXPECT_EQ(many.entries, 10 * few.entries);
    EXPECT_EQ(many.glances, 10 * few.glances);
    EXPECT_LE(many.entriesAtGlances, 50 * many.glances);
    EXPECT_EQ(many.states, 10 * few.states);
    EXPECT_GT(few.states, 0);
}

TEST_F(ResourceCachePurgeCostTest, purgeCacheIfNeeded_manyResources_isOneTransaction)
{
    fill(1000);
    purgeHalf(1000);
    EXPECT_EQ(commitsInJournal(directory.databasePath()), 1);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), 5000);
    EXPECT_EQ(QDir(dataPath(u"s/all"_s)).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 500);
    EXPECT_FALSE(QFileInfo::exists(dataPath(u"s/all/499"_s)));
    EXPECT_TRUE(QFileInfo::exists(dataPath(u"s/all/500/f"_s)));
}

TEST_F(ResourceCachePurgeCostTest, purgeCacheIfNeeded_tenTimesTheResources_compilesNoMoreStatements)
{
    const auto compilationsOfPurge = [this](int count) {
        fill(count);
        startCountingCompilations();
        purgeHalf(count);
        return stopCountingCompilations();
    };
    const int few = compilationsOfPurge(10);
    EXPECT_GT(few, 0);
    cache.close();
    database().run(u"DELETE FROM CachedResources"_s);
    EXPECT_EQ(compilationsOfPurge(100), few);
}
