#include "RemoteResourceHandler.h"

#include "DiskWaits.h"
#include "FileLooks.h"
#include "HeldSteps.h"
#include "UnsyncedFolders.h"
#include "WalFile.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What it takes to copy into the cache, counted.
class RemoteResourceHandlerCostTest : public ManagerFixture
{
protected:
    static constexpr int folders = 10;
    static constexpr int filesInEach = 20;

    QString makeFile() const
    {
        writeFile(directory.outside(u"file"_s), QByteArray(100'000, 'x'));
        return directory.outside(u"file"_s);
    }
    QString makeTree() const
    {
        for (int folder = 0; folder < folders; ++folder) {
            for (int file = 0; file < filesInEach; ++file)
                writeFile(directory.outside(u"tree/%1/%2"_s.arg(folder).arg(file)), "content");
        }
        return directory.outside(u"tree"_s);
    }
    RemoteResourceHandlerCostTest() { makeSchemeFolder(); }

    QString schemeFolder() const { return directory.dataDir() + u"/test"_s; }
    /// Made by the first resource of its scheme.
    void makeSchemeFolder() const { ASSERT_TRUE(QDir().mkpath(schemeFolder())); }

    void add(const QString &source)
    {
        ASSERT_TRUE(succeeds(remote->addToCache(PathImpl<PathType::Unknown>(source))));
    }

    const QSharedPointer<RemoteTestHandler> remote = handler(u"a"_s);
};

} // namespace

TEST_F(RemoteResourceHandlerCostTest, addToCache_folder_waitsForTheDiskOnce)
{
    const QString tree = makeTree();
    const DiskWaits waits;
    add(tree);
    EXPECT_EQ(waits.volumes(), 1);
    EXPECT_EQ(waits.countOf({}), 0);
}

// For its bytes, its name on the way and at its place, and the name of its folder.
TEST_F(RemoteResourceHandlerCostTest, addToCache_file_waitsForItsBytesAndNames)
{
    const QString file = makeFile();
    const DiskWaits waits;
    add(file);
    EXPECT_EQ(waits.volumes(), 0);
    EXPECT_EQ(waits.countOf({}), 4);
}

TEST_F(RemoteResourceHandlerCostTest, addToCache_firstOfItsScheme_allNewFoldersAreOnTheDisk)
{
    for (const QString &source : { makeFile(), makeTree() }) {
        ASSERT_TRUE(QDir(directory.dataDir()).removeRecursively());
        const UnsyncedFolders folders(directory.baseDir().toStdString());
        add(source);
        EXPECT_EQ(folders.now(), std::set<std::string>());
    }
}

TEST_F(RemoteResourceHandlerCostTest, addToCache_ownCopier_allNewFoldersButItsOwnAreOnTheDisk)
{
    ASSERT_TRUE(QDir(directory.dataDir()).removeRecursively());
    const UnsyncedFolders folders(directory.baseDir().toStdString());
    ASSERT_TRUE(succeeds(remote->addToCache([] { return Error(); })));
    EXPECT_EQ(folders.now(), std::set<std::string> { (schemeFolder() + u"/a"_s).toStdString() });
}

TEST_F(RemoteResourceHandlerCostTest, retrieveTask_schemeHasItsFolder_waitsForNothing)
{
    const DiskWaits waits;
    EXPECT_TRUE(remote->retrieveTask().has_value());
    EXPECT_EQ(waits.volumes() + waits.countOf({}), 0);
}

TEST_F(RemoteResourceHandlerCostTest, addToCache_folder_readsItOnceToCopyAndTheCopyOnceToCount)
{
    const QString tree = makeTree();
    startCounting();
    add(tree);
    EXPECT_EQ(stopCounting().entries, 2 * (folders + folders * filesInEach));
}

TEST_F(RemoteResourceHandlerCostTest, addToCache_folder_isThreeTransactions)
{
    const QString tree = makeTree();
    database().value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    add(tree);
    // Path with size, version, and Ready behind both.
    EXPECT_EQ(commitsInJournal(directory.databasePath()), 3);
}

TEST_F(RemoteResourceHandlerCostTest, addToCache_anything_isNeitherCopiedNorCountedUnderAHold)
{
    for (const QString &source : { makeFile(), makeTree() }) {
        ASSERT_TRUE(QDir(schemeFolder()).removeRecursively());
        const HeldSteps steps(directory.dataDir().toStdString());
        add(source);
        EXPECT_EQ(steps.count(), 0);
    }
}
