#include "share/ShareRetrieval.h"

#include "../staging/StagingFixture.h"
#include "DiskWaits.h"
#include "Task.h"
#include "integrity/ManifestStore.h"

#include <QDir>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Each sync is a wait for the disk: counts them, and tells what of.
class ShareRetrievalCostTest : public StagingFixture
{
protected:
    ShareRetrievalCostTest() { QDir().mkpath(schemeFolder()); }

    void fetch(const QString &name)
    {
        plan = planFor(u"share:/"_s + name, name);
        plan.manifestDirectory = ManifestStore::forCache(cache.dataDir()).directory();
        Task task(nullptr);
        const DiskWaits waits("/content/");
        const Error error = ShareRetrieval(&task, plan, share(name), {}).run();
        EXPECT_FALSE(error.hasError()) << error.description().toStdString();
        for (const std::string &path : waits.paths())
            synced << QString::fromStdString(path);
        volumes = waits.volumes();
        wasVolumeOpenInTime = waits.wasVolumeOpenInTime();
    }
    QString share(const QString &name) const { return cache.outside(u"share/"_s + name); }
    QString schemeFolder() const { return cache.dataDir() + u"/share"_s; }
    /// The folder that the resource is put into.
    QString folder() const { return QFileInfo(plan.expectedPath).path(); }

    QStringList synced; ///< paths, in their order
    int volumes = 0; ///< synced as a whole
    bool wasVolumeOpenInTime = false; ///< before the first byte of the resource
    FetchPlan plan;
};

} // namespace

// Or a power cut could leave a row that says Ready without its data.
TEST_F(ShareRetrievalCostTest, run_file_waitsForItsDataForItsNamesAndForTheManifest)
{
    writeFile(share(u"run.raw"_s), "content");
    fetch(u"run.raw"_s);
    ASSERT_EQ(synced.size(), 5) << synced.join(u'\n').toStdString();
    EXPECT_TRUE(synced.at(0).startsWith(plan.stagingDirectory)) << synced.at(0).toStdString();
    EXPECT_EQ(QFileInfo(synced.at(0)).fileName(), u"run.raw"_s);
    EXPECT_EQ(synced.at(1), QFileInfo(synced.at(0)).path());
    EXPECT_EQ(synced.at(2), folder());
    EXPECT_EQ(synced.at(3), QFileInfo(folder()).path());
    EXPECT_TRUE(synced.at(4).startsWith(plan.manifestDirectory)) << synced.at(4).toStdString();
    EXPECT_EQ(volumes, 0);
}

TEST_F(ShareRetrievalCostTest, run_firstOfItsScheme_waitsForTheFoldersThatItMakesAsWell)
{
    ASSERT_TRUE(QDir().rmdir(schemeFolder()) && QDir().rmdir(cache.dataDir()));
    writeFile(share(u"run.raw"_s), "content");
    fetch(u"run.raw"_s);
    ASSERT_EQ(synced.size(), 7) << synced.join(u'\n').toStdString();
    EXPECT_EQ(synced.at(4), cache.dataDir());
    EXPECT_EQ(synced.at(5), cache.baseDir());
}

TEST_F(ShareRetrievalCostTest, run_smallFolder_waitsForItsFilesAndFolders)
{
    for (const QString &name : { u"run.d/a"_s, u"run.d/b/c"_s })
        writeFile(share(name), "content");
    fetch(u"run.d"_s);
    // Two files and two folders, the two folders around it here and there, and the manifest.
    EXPECT_EQ(synced.size(), 8) << synced.join(u'\n').toStdString();
    EXPECT_EQ(volumes, 0);
}

TEST_F(ShareRetrievalCostTest, run_largeFolder_waitsForTheVolumeOnce)
{
    for (int i = 0; i < 100; ++i)
        writeFile(share(u"run.d/%1"_s.arg(i)), "content");
    fetch(u"run.d"_s);
    EXPECT_EQ(volumes, 1);
    EXPECT_EQ(synced.size(), 3) << synced.join(u'\n').toStdString();
}

// Whoever opens the volume later is not told of bytes that did not arrive, if another program was
// told before.
TEST_F(ShareRetrievalCostTest, run_largeFolder_hasTheVolumeOpenBeforeTheFirstByte)
{
    for (int i = 0; i < 100; ++i)
        writeFile(share(u"run.d/%1"_s.arg(i)), "content");
    fetch(u"run.d"_s);
    EXPECT_TRUE(wasVolumeOpenInTime);
}
