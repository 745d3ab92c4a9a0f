#include "FileLooks.h"
#include "MsDataAssociatedResourcesProvider.h"
#include "MsFileTypes.h"
#include "WalFile.h"
#include "support/FileSizesFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What a count of all sizes asks of the file system and of the database, counted.
class ResourceCacheFileSizesCostTest : public FileSizesFixture
{
protected:
    void addMany(int count)
    {
        openQuietly();
        for (int i = 0; i < count; ++i)
            addReady(u"test:%1"_s.arg(i), u"s/%1/a.txt"_s.arg(i), 3);
    }
    /// A resource that is a folder of so many folders of so many files, its size known.
    void addFolder(int folders, int filesInEach)
    {
        openQuietly();
        addReady(u"test:folder"_s, u"s/a/run.d/0/0"_s, 3);
        for (int folder = 0; folder < folders; ++folder) {
            for (int file = 0; file < filesInEach; ++file)
                writeFile(dataPath(u"s/a/run.d/%1/%2"_s.arg(folder).arg(file)), "123");
        }
        ASSERT_FALSE(cache.saveLocalPath(u"test:folder"_s, dataPath(u"s/a/run.d"_s), 1).hasError());
        ASSERT_FALSE(cache.updateFileSizes().hasError());
        ASSERT_EQ(cache.readCurrentCacheSize().value(), 3 * folders * filesInEach);
    }
    FileLooks looksOfScan()
    {
        startCounting();
        EXPECT_FALSE(cache.updateFileSizes().hasError());
        return stopCounting();
    }
};

} // namespace

TEST_F(ResourceCacheFileSizesCostTest, updateFileSizes_nothingChanged_isOneTransaction)
{
    addMany(100);
    database().value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(commitsInJournal(directory.databasePath()), 1);
}

TEST_F(ResourceCacheFileSizesCostTest, updateFileSizes_files_readsNoFolder)
{
    addMany(100);
    const FileLooks looks = looksOfScan();
    EXPECT_EQ(looks.entries, 0);
    EXPECT_EQ(looks.glances, 0);
    EXPECT_EQ(looks.resolutions, 0);
}

TEST_F(ResourceCacheFileSizesCostTest, updateFileSizes_folder_readsEachEntryOnceAndLooksAtFilesOnly)
{
    addFolder(10, 20);
    const FileLooks looks = looksOfScan();
    EXPECT_EQ(looks.entries, 10 + 10 * 20);
    EXPECT_EQ(looks.states, 10 * 20);
}

// While it lasts nobody else gets at the cache.
TEST_F(ResourceCacheFileSizesCostTest, updateFileSizes_dataWithoutSideFiles_readsNamesOnly)
{
    cache.registerAssociatedResourcesProvider(
        msreader::MsFileTypes::ms, std::make_unique<MsDataAssociatedResourcesProvider>());
    openQuietly();
    addReady(u"test:a"_s, u"s/a/a.raw"_s, 3);
    const FileLooks looks = looksOfScan();
    EXPECT_EQ(looks.entries, 0);
    EXPECT_EQ(looks.states, 0);
    EXPECT_EQ(looks.entriesAtGlances, 3); // the data, "." and ".."
}
