#include "folder/FolderStaging.h"

#include "../staging/StagingFixture.h"
#include "DiskWaits.h"
#include "SchemeErrors.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Watches what a folder is brought to the disk by.
class FolderStagingTest : public StagingFixture
{
protected:
    /// Of one byte.
    static void bringFile(FolderStaging &staging, const RemoteFile &file)
    {
        auto part = staging.openPart(file.path, u"state"_s);
        ASSERT_TRUE(part.hasValue());
        EXPECT_FALSE(part.value()->append("x", 1).hasError());
        EXPECT_FALSE(staging.finish(file, u"state"_s, {}, {}).hasError());
    }

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
        const DiskWaits waits;
        EXPECT_FALSE(staging.prepare({}).hasError());
        for (const auto &[path, file] : listing.files())
            bringFile(staging, file);
        EXPECT_FALSE(staging.checkWhole().hasError());
        EXPECT_FALSE(staging.publish().hasError());
        fileSyncs = waits.countOf("/run.d/");
        volumeSyncs = waits.volumes();
        wasVolumeOpenInTime = waits.wasVolumeOpenInTime();
        EXPECT_EQ(readFile(plan.expectedPath + u"/file 0"_s), "x");
    }

    int fileSyncs = 0; ///< of the files of the folder
    int volumeSyncs = 0;
    bool wasVolumeOpenInTime = false; ///< before the first byte
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
    EXPECT_TRUE(wasVolumeOpenInTime);
}

TEST_F(FolderStagingTest, prepare_fileOfUnknownSizeIsHere_isToBeFetchedAgain)
{
    const FetchPlan plan = planFor(u"dav:/run.d"_s, u"run.d"_s);
    RemoteListing listing;
    for (const QString &path : { u"known"_s, u"unknown"_s }) {
        RemoteFile file;
        file.path = path;
        ASSERT_FALSE(listing.addFile(file).hasError());
    }
    {
        FolderStaging staging(open(plan, u"v1"_s), listing);
        ASSERT_FALSE(staging.prepare({}).hasError());
        for (const auto &[path, file] : listing.files())
            bringFile(staging, file);
    }

    FolderStaging again(open(plan, u"v1"_s), listing);
    ASSERT_FALSE(again.prepare({ { u"known"_s, 1 } }).hasError());
    EXPECT_EQ(again.wholeSize(u"known"_s), 1);
    EXPECT_EQ(again.wholeSize(u"unknown"_s), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(again.area().mainPath() / "unknown"));
}

TEST_F(FolderStagingTest, checkWhole_fileIsNotAsLongAsItWasToBe_nothingIsStagedAnyMore)
{
    RemoteListing listing;
    RemoteFile file;
    file.path = u"file"_s;
    ASSERT_FALSE(listing.addFile(file).hasError());
    FolderStaging staging(open(planFor(u"dav:/run.d"_s, u"run.d"_s), u"v1"_s), listing);
    ASSERT_FALSE(staging.prepare({ { file.path, 2 } }).hasError());
    bringFile(staging, file);

    EXPECT_EQ(int(staging.checkWhole().errorCode()), SchemeErrors::integrityFailure);
    EXPECT_TRUE(std::filesystem::is_empty(staging.area().contentDirectory()));
}
