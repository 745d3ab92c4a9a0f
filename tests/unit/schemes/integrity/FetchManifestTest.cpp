#include "../staging/StagingFixture.h"

#include "integrity/ContentSum.h"
#include "integrity/ManifestStore.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FetchManifestTest : public StagingFixture
{
protected:
    FetchPlan manifestedPlan(const QString &name = u"run.raw"_s)
    {
        FetchPlan plan = planFor(u"share:/a"_s, name);
        plan.manifestDirectory = store.directory();
        plan.scheme = u"share"_s;
        return plan;
    }
    std::optional<ContentManifest> stored() const { return store.read(u"share:/a"_s).value(); }

    const ManifestStore store = ManifestStore::forCache(cache.dataDir());
};

} // namespace

TEST_F(FetchManifestTest, publish_fileWithSums_writesAManifestOfIt)
{
    const FetchPlan plan = manifestedPlan();
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    area->manifest().begin(2);
    area->manifest().advance(7);
    area->manifest().setSums("run.raw", { QByteArray(32, 'b') });
    ASSERT_FALSE(area->publish().hasError());

    const auto manifest = stored();
    ASSERT_TRUE(manifest);
    EXPECT_EQ(manifest->name, "run.raw");
    EXPECT_EQ(manifest->scheme, u"share"_s);
    EXPECT_EQ(manifest->fetchedBytes, 5);
    EXPECT_LE(manifest->fetched.msecsTo(QDateTime::currentDateTimeUtc()), 60'000);
    ASSERT_EQ(manifest->files.size(), 1);
    const ContentManifest::File file = manifest->files.first();
    EXPECT_EQ(file.path, "run.raw");
    EXPECT_EQ(file.size, 7);
    EXPECT_EQ(file.modified / 1'000'000,
              QFileInfo(plan.expectedPath).lastModified().toMSecsSinceEpoch());
    EXPECT_EQ(file.sums, QList<QByteArray> { QByteArray(32, 'b') });
}

TEST_F(FetchManifestTest, publish_withoutSums_leavesThemToTheFirstVerification)
{
    const auto area = open(manifestedPlan(), u"v1"_s);
    append(*area, "content");
    ASSERT_FALSE(area->publish().hasError());
    ASSERT_TRUE(stored());
    EXPECT_FALSE(stored()->hasAllSums());
}

TEST_F(FetchManifestTest, publish_folderAndCompanion_areListedWithLinks)
{
    const auto area = open(manifestedPlan(u"run.d"_s), u"v1"_s);
    const QString main = QString::fromStdString(area->mainPath());
    writeFile(main + u"/inner/data.bin"_s, "data");
    writeFile(main + u".scan"_s, "scan");
    ASSERT_TRUE(QFile::link(u"inner/data.bin"_s, main + u"/alias"_s));
    ASSERT_FALSE(area->publish().hasError());

    const auto manifest = stored();
    ASSERT_TRUE(manifest);
    QHash<QByteArray, ContentManifest::File> byPath;
    for (const ContentManifest::File &file : manifest->files)
        byPath.insert(file.path, file);
    ASSERT_EQ(byPath.size(), 3);
    EXPECT_EQ(byPath.value("run.d/inner/data.bin").size, 4);
    EXPECT_EQ(byPath.value("run.d.scan").size, 4);
    EXPECT_EQ(byPath.value("run.d/alias").linkTarget, QByteArray("inner/data.bin"));
}

TEST_F(FetchManifestTest, publish_manifestCannotBeWritten_isASuccessAllTheSame)
{
    writeFile(store.directory(), "in the way");
    const FetchPlan plan = manifestedPlan();
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    EXPECT_FALSE(area->publish().hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "content");
}

TEST_F(FetchManifestTest, publish_again_replacesTheManifest)
{
    QStringList ids;
    for (const QByteArray &content : { QByteArray("first"), QByteArray("second one") }) {
        const auto area = open(manifestedPlan(), u"v1"_s);
        append(*area, content);
        ASSERT_FALSE(area->publish().hasError());
        ids.append(stored()->id);
        EXPECT_EQ(stored()->files.first().size, content.size());
    }
    EXPECT_NE(ids.first(), ids.last());
}

TEST_F(FetchManifestTest, publish_resourceIsReadyAlready_leavesTheManifestOfTheOther)
{
    const FetchPlan plan = manifestedPlan();
    const auto area = open(plan, u"v1"_s);
    append(*area, "content");
    writeFile(plan.expectedPath, "of the other");
    ready << plan.referenceKey;
    ASSERT_FALSE(area->publish().hasError());
    EXPECT_FALSE(stored());
}
