#include "folder/FolderStaging.h"

#include "../staging/StagingFixture.h"
#include "FileSteps.h"

#include <QHash>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Watches what a folder is brought to the disk by.
class FolderStagingTest : public StagingFixture, private FileStepWatcher
{
protected:
    /// Brings a folder of so many files of one byte to its place.
    void bring(int files)
    {
        RemoteListing listing;
        for (int i = 0; i < files; ++i) {
            RemoteFile file;
            file.path = u"file %1"_s.arg(i);
            ASSERT_FALSE(listing.addFile(file).hasError());
        }
        const FetchPlan plan = planFor(u"dav:/run.d"_s, u"run.d"_s);
        FolderStaging staging(open(plan, u"v1"_s), listing);
        watchFileSteps(this);
        EXPECT_FALSE(staging.prepare({}).hasError());
        for (const auto &[path, file] : listing.files())
            bringFile(staging, file);
        EXPECT_FALSE(staging.checkWhole().hasError());
        EXPECT_FALSE(staging.publish().hasError());
        watchFileSteps(nullptr);
        EXPECT_EQ(readFile(plan.expectedPath + u"/file 0"_s), "x");
    }

    int fileSyncs = 0; ///< of the files of the folder
    int volumeSyncs = 0;
    int volumeOpened = 0; ///< the step at which that was opened which the last of them was made by
    int firstWrite = 0; ///< the step that brought the first byte

private:
    void bringFile(FolderStaging &staging, const RemoteFile &file)
    {
        auto part = staging.openPart(file.path, u"state"_s);
        ASSERT_TRUE(part.hasValue());
        EXPECT_FALSE(part.value()->append("x", 1).hasError());
        EXPECT_FALSE(staging.finish(file, u"state"_s, {}, {}).hasError());
    }

    int before(const FileStep &step) override
    {
        ++steps;
        if (step.kind == FileStep::Kind::Write && firstWrite == 0)
            firstWrite = steps;
        if (step.kind == FileStep::Kind::Sync && pathOf(step).find("/run.d/") != std::string::npos)
            ++fileSyncs;
        if (step.kind == FileStep::Kind::SyncFileSystem) {
            ++volumeSyncs;
            volumeOpened = opened.value(step.descriptor);
        }
        return 0;
    }
    void after(const FileStep &step, ssize_t result) override
    {
        if (step.kind == FileStep::Kind::Open && result >= 0)
            opened[int(result)] = steps;
    }

    int steps = 0;
    QHash<int, int> opened; ///< the step that opened a descriptor last
};

} // namespace

TEST_F(FolderStagingTest, publish_fewFiles_waitsForEachOfThem)
{
    bring(3);
    EXPECT_EQ(fileSyncs, 3);
    EXPECT_EQ(volumeSyncs, 0);
}

// Whoever opens the volume later is not told of bytes that did not arrive, if another program was
// told before.
TEST_F(FolderStagingTest, publish_manyFiles_waitsForTheVolumeThatWasOpenBeforeTheFirstByte)
{
    bring(40);
    EXPECT_EQ(fileSyncs, 0);
    EXPECT_EQ(volumeSyncs, 1);
    EXPECT_GT(volumeOpened, 0);
    EXPECT_LT(volumeOpened, firstWrite);
}
