#include "FileLooks.h"
#include "TemporaryCache.h"
#include "doctor/Checks.h"
#include "verify/ResourceVerification.h"

using namespace zel;
using namespace zel::cli;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int resources = 10;
constexpr int filesOfEach = 50;
constexpr int files = resources * filesOfEach;
/// However many files there are: of the data directory itself and of what lies beside it.
constexpr int fewLooks = 12;

/// What an examination asks of the file system, counted: it has to cost about what listing the
/// tree costs.
class ExaminationCostTest : public testing::Test
{
protected:
    ExaminationCostTest()
    {
        all.settings.cachePath.setBaseDirPath(cache.baseDir());
        all.condition.metadataRows = 1;
        for (int i = 0; i < resources; ++i)
            add(u"share:/run%1"_s.arg(i), dataPath(u"share/%1/run"_s.arg(i)));
    }

    QString dataPath(const QString &place) const { return cache.dataDir() + u'/' + place; }

    void add(const QString &reference, const QString &path)
    {
        for (int i = 0; i < filesOfEach; ++i)
            writeFile(path + u"/%1.bin"_s.arg(i), "12345");
        ResourceCacheReader::Resource row;
        row.reference = reference;
        row.path = path;
        row.size = filesOfEach * 5;
        row.status = ResourceStatus::Ready;
        all.snapshot.resources.append(row);
    }
    FileLooks looksOfInventory()
    {
        startCounting();
        all.data = DataInventory::of(cache.dataDir(), all.snapshot.resources);
        return stopCounting();
    }
    /// A manifest of the first resource as it is.
    ManifestStore manifestOfFirst() const
    {
        ContentManifest manifest;
        manifest.id = u"1"_s;
        manifest.referenceKey = all.snapshot.resources.first().reference;
        manifest.name = "run";
        manifest.fetched = QDateTime::currentDateTimeUtc();
        for (int i = 0; i < filesOfEach; ++i) {
            ContentManifest::File file;
            file.path = "run/" + QByteArray::number(i) + ".bin";
            file.size = 5;
            file.sums = { QByteArray() };
            manifest.files.append(file);
        }
        const ManifestStore store = ManifestStore::forCache(cache.dataDir());
        EXPECT_FALSE(store.write(manifest).hasError());
        return store;
    }

    TemporaryCache cache;
    Examination all;
};

} // namespace

TEST_F(ExaminationCostTest, inventory_everyFile_isLookedAtOnce)
{
    const FileLooks looks = looksOfInventory();
    constexpr int folders = 1 + 2 * resources; // "share", and in it one around each "run"
    EXPECT_EQ(looks.entries, files + folders);
    EXPECT_GE(looks.states, files);
    EXPECT_LE(looks.states, files + fewLooks);
    EXPECT_LE(looks.resolutions, 1);
}

TEST_F(ExaminationCostTest, rows_goodOrder_noFileIsLookedAtAgain)
{
    looksOfInventory();
    Findings findings;
    startCounting();
    checks::rows(all, findings);
    checks::disk(all, findings);
    const FileLooks looks = stopCounting();
    EXPECT_TRUE(findings.isEmpty());
    EXPECT_EQ(looks.entries + looks.states, 0);
    EXPECT_LE(looks.resolutions, 1);
}

TEST_F(ExaminationCostTest, inventory_rowsWithoutData_areNotLookedAtOneByOne)
{
    for (int i = 0; i < files; ++i) {
        ResourceCacheReader::Resource row;
        row.reference = u"share:/gone%1"_s.arg(i);
        row.path = dataPath(u"share/gone%1/run.raw"_s.arg(i));
        row.status = ResourceStatus::Ready;
        all.snapshot.resources.append(row);
    }
    EXPECT_LE(looksOfInventory().states, files + fewLooks);
}

TEST_F(ExaminationCostTest, compare_everyFile_isLookedAtOnce)
{
    const ManifestStore store = manifestOfFirst();
    const auto &row = all.snapshot.resources.first();
    startCounting();
    ResourceVerification verification(row.reference, row.path, store);
    verification.compare();
    const FileLooks looks = stopCounting();
    EXPECT_TRUE(verification.findings().isEmpty());
    EXPECT_TRUE(verification.needsReading());
    EXPECT_EQ(looks.entries, filesOfEach);
    EXPECT_GE(looks.states, filesOfEach);
    EXPECT_LE(looks.states, filesOfEach + fewLooks);
}

TEST_F(ExaminationCostTest, compare_resourceOfOneFile_isLookedAtOnce)
{
    const QString path = dataPath(u"share/single/run.bin"_s);
    writeFile(path, "12345");
    ContentManifest manifest;
    manifest.name = "run.bin";
    ContentManifest::File &file = manifest.files.emplace_back();
    file.path = manifest.name;
    file.size = 5;
    ContentVerifier verifier(manifest, QFileInfo(path).path());
    startCounting();
    verifier.compare();
    const FileLooks looks = stopCounting();
    EXPECT_TRUE(verifier.findings().isEmpty());
    EXPECT_EQ(looks.entries, 0);
    EXPECT_EQ(looks.states, 1);
}
