#include "share/ShareRetrieval.h"

#include "../staging/StagingFixture.h"
#include "FileSteps.h"
#include "Task.h"
#include "integrity/ManifestStore.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Each sync is a wait for the disk: counts them, and tells what of.
class ShareRetrievalCostTest : public StagingFixture, private FileStepWatcher
{
protected:
    void fetch(const QString &name)
    {
        plan = planFor(u"share:/"_s + name, name);
        plan.manifestDirectory = ManifestStore::forCache(cache.dataDir()).directory();
        Task task(nullptr);
        watchFileSteps(this);
        const Error error = ShareRetrieval(&task, plan, share(name), {}).run();
        watchFileSteps(nullptr);
        EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    }
    QString share(const QString &name) const { return cache.outside(u"share/"_s + name); }
    /// The folder that the resource is put into.
    QString folder() const { return QFileInfo(plan.expectedPath).path(); }

    QStringList synced; ///< paths, in their order
    int volumes = 0; ///< synced as a whole
    FetchPlan plan;

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Sync)
            synced << QString::fromStdString(pathOf(step));
        volumes += step.kind == FileStep::Kind::SyncFileSystem;
        return 0;
    }
};

} // namespace

TEST_F(ShareRetrievalCostTest, run_file_waitsForItsDataForItsFolderAndForTheManifest)
{
    writeFile(share(u"run.raw"_s), "content");
    fetch(u"run.raw"_s);
    ASSERT_EQ(synced.size(), 3) << synced.join(u'\n').toStdString();
    EXPECT_TRUE(synced.at(0).startsWith(plan.stagingDirectory)) << synced.at(0).toStdString();
    EXPECT_EQ(QFileInfo(synced.at(0)).fileName(), u"run.raw"_s);
    EXPECT_EQ(synced.at(1), folder());
    EXPECT_TRUE(synced.at(2).startsWith(plan.manifestDirectory)) << synced.at(2).toStdString();
    EXPECT_EQ(volumes, 0);
}

TEST_F(ShareRetrievalCostTest, run_smallFolder_waitsForItsFilesAndFolders)
{
    for (const QString &name : { u"run.d/a"_s, u"run.d/b/c"_s })
        writeFile(share(name), "content");
    fetch(u"run.d"_s);
    // Two files and two folders, where they come to, and the manifest.
    EXPECT_EQ(synced.size(), 6) << synced.join(u'\n').toStdString();
    EXPECT_EQ(volumes, 0);
}

TEST_F(ShareRetrievalCostTest, run_largeFolder_waitsForTheVolumeOnce)
{
    for (int i = 0; i < 100; ++i)
        writeFile(share(u"run.d/%1"_s.arg(i)), "content");
    fetch(u"run.d"_s);
    EXPECT_EQ(volumes, 1);
    EXPECT_EQ(synced.size(), 2) << synced.join(u'\n').toStdString();
}
