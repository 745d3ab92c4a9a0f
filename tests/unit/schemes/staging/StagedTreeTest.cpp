#include "staging/StagedTree.h"

#include "DiskWaits.h"
#include "FailingStep.h"
#include "TemporaryCache.h"
#include "platform/FreeSpace.h"

#include <QFileInfo>

#include <cerrno>

using namespace zel;
using namespace zel::test;

namespace fs = std::filesystem;

namespace {

class StagedTreeTest : public testing::Test
{
protected:
    StagedTreeTest() { EXPECT_FALSE(StagedTree::makeFolder(folder).hasError()); }
    ~StagedTreeTest() override { fs::remove(folder); } // which QTemporaryDir cannot

    /// The paths that a tree of so many entries waits for, of which one is the folder.
    std::vector<std::string> syncedOf(size_t entries)
    {
        const DiskWaits waits;
        StagedTree tree;
        EXPECT_FALSE(tree.begin(directory, entries).hasError());
        EXPECT_FALSE(tree.sync({ folder }).hasError());
        EXPECT_EQ(tree.goesWithVolume(), waits.volumes() == 1);
        return waits.paths();
    }

    const QTemporaryDir temporary;
    const fs::path directory = QFileInfo(temporary.path()).canonicalFilePath().toStdString();
    const fs::path folder = directory / "folder\xff"; // no valid text
};

} // namespace

TEST_F(StagedTreeTest, sync_sixteenEntries_waitsForTheFoldersAndThenForTheDirectory)
{
    EXPECT_EQ(syncedOf(16), (std::vector { folder.native(), directory.native() }));
}

TEST_F(StagedTreeTest, sync_seventeenEntries_waitsForTheVolumeOnly)
{
    EXPECT_EQ(syncedOf(17), std::vector<std::string>());
}

TEST_F(StagedTreeTest, begin_noSuchDirectory_failsWhereTheVolumeIsNeeded)
{
    StagedTree tree;
    EXPECT_FALSE(tree.begin(directory / "missing", 16).hasError());
    EXPECT_EQ(tree.begin(directory / "missing", 17).errorCode(), ErrorCode::OperationFailed);
}

TEST_F(StagedTreeTest, makeFolder_isThereAlready_isNoFault)
{
    EXPECT_FALSE(StagedTree::makeFolder(folder).hasError());
}

TEST_F(StagedTreeTest, makeFolder_noRoom_hasCode7)
{
    const FailingStep failing(directory.native(), 0, ENOSPC);
    EXPECT_EQ(int(StagedTree::makeFolder(directory / "new").errorCode()), FreeSpace::lackingCode);
    EXPECT_FALSE(fs::exists(directory / "new"));
}
