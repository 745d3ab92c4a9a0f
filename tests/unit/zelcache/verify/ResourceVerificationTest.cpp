#include "verify/ResourceVerification.h"

#include "Printers.h"
#include "TemporaryCache.h"
#include "integrity/ContentSum.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

namespace {

constexpr qint64 blockBytes = 4;

class ResourceVerificationTest : public ::testing::Test
{
protected:
    /// A file of three blocks with its manifest.
    ResourceVerificationTest()
    {
        writeFile(path, "aaaabbbbcccc");
        ContentManifest manifest;
        manifest.id = u"1"_s;
        manifest.referenceKey = key;
        manifest.name = "run.raw";
        manifest.fetched = QDateTime::currentDateTimeUtc();
        manifest.blockBytes = blockBytes;
        BlockSums sums(blockBytes);
        sums.add("aaaabbbbcccc", 12);
        ContentManifest::File file;
        file.path = "run.raw";
        file.size = 12;
        file.sums = sums.sums();
        manifest.files = { file };
        EXPECT_FALSE(store.write(manifest).hasError());
    }

    Verdict verdictAfterReading() const
    {
        ResourceVerification verification(key, path, store);
        verification.compare();
        verification.read(false, [](qint64) { return true; });
        return verification.verdict();
    }
    ContentManifest stored() const { return *store.read(key).value(); }

    TemporaryCache cache;
    const QString key = u"share:/run.raw"_s;
    const QString path = cache.dataDir() + u"/share/folder/run.raw"_s;
    const ManifestStore store = ManifestStore::forCache(cache.dataDir());
};

} // namespace

TEST_F(ResourceVerificationTest, verdict_beforeReading_isNotReached)
{
    ResourceVerification verification(key, path, store);
    verification.compare();
    EXPECT_TRUE(verification.needsReading());
    EXPECT_EQ(verification.verdict(), Verdict::NotReached);
    EXPECT_EQ(verification.bytesToRead(false), 12);
}

TEST_F(ResourceVerificationTest, read_intact_isStored)
{
    EXPECT_EQ(verdictAfterReading(), Verdict::Intact);
    EXPECT_TRUE(stored().verified.isValid());
}

TEST_F(ResourceVerificationTest, read_longLasting_storesNowAndThenHowFarItCame)
{
    ResourceVerification verification(key, path, store, std::chrono::milliseconds(0));
    verification.compare();
    QList<qint64> seen;
    verification.read(true, [&](qint64) {
        seen.append(stored().files.first().checkedBlocks);
        return true;
    });
    EXPECT_EQ(seen, (QList<qint64> { 0, 1, 2 })) << "who is killed now loses one block";
    EXPECT_FALSE(stored().isCutShort());
}

TEST_F(ResourceVerificationTest, read_manifestOfANewerFetchMeanwhile_isLeftAlone)
{
    ResourceVerification verification(key, path, store);
    verification.compare();
    ContentManifest newer = stored();
    newer.id = u"2"_s;
    ASSERT_FALSE(store.write(newer).hasError());
    verification.read(false, [](qint64) { return true; });
    EXPECT_EQ(stored(), newer);
}

TEST_F(ResourceVerificationTest, verdict_otherName_hasNoManifest)
{
    const QString other = cache.dataDir() + u"/share/folder/other.raw"_s;
    ASSERT_TRUE(QFile::rename(path, other));
    ResourceVerification verification(key, other, store);
    verification.compare();
    EXPECT_EQ(verification.verdict(), Verdict::NoManifest);
    EXPECT_FALSE(verification.needsReading());
}

TEST_F(ResourceVerificationTest, verdict_putThereAfterTheFetch_hasNoManifestAndTheStaleOneGoes)
{
    ContentManifest manifest = stored();
    manifest.folderMade = QDateTime::currentDateTimeUtc().addDays(-1);
    ASSERT_FALSE(store.write(manifest).hasError());
    if (!QFileInfo(QFileInfo(path).path()).birthTime().isValid())
        GTEST_SKIP() << "the volume does not tell when a folder was made";
    writeFile(path, "something else");
    EXPECT_EQ(verdictAfterReading(), Verdict::NoManifest);
    EXPECT_FALSE(store.read(key).value());
}

TEST_F(ResourceVerificationTest, verdict_manifestThatIsNone_isOfItsOwnAndLeavesIt)
{
    writeFile(store.pathFor(key), "nonsense");
    EXPECT_EQ(verdictAfterReading(), Verdict::BadManifest);
    EXPECT_EQ(readFile(store.pathFor(key)), "nonsense");
}

TEST_F(ResourceVerificationTest, verdict_noPath_isIncomplete)
{
    ResourceVerification verification(key, {}, store);
    verification.compare();
    EXPECT_EQ(verification.verdict(), Verdict::Incomplete);
}

} // namespace zel::cli
