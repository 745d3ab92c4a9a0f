#include "ShareRetrievalFixture.h"

#include "integrity/ContentSum.h"
#include "integrity/ManifestStore.h"

#include <QSemaphore>

#include <sys/resource.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace fs = std::filesystem;

using ShareRetrievalTest = ShareRetrievalFixture;

TEST_F(ShareRetrievalTest, run_file_arrivesWithItsTime)
{
    const QByteArray content = largeContent();
    writeFile(source(u"run.raw"_s), content);
    const auto time
        = fs::last_write_time(source(u"run.raw"_s).toStdString()) - std::chrono::hours(100);
    fs::last_write_time(source(u"run.raw"_s).toStdString(), time);

    const Error error = retrieve(plan, u"run.raw"_s);
    ASSERT_FALSE(error.hasError()) << error.description().toStdString();
    EXPECT_EQ(readFile(plan.expectedPath), content);
    EXPECT_EQ(fs::last_write_time(plan.expectedPath.toStdString()), time);
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(ShareRetrievalTest, run_emptyFile_arrives)
{
    writeFile(source(u"run.raw"_s), "");
    ASSERT_FALSE(retrieve(plan, u"run.raw"_s).hasError());
    EXPECT_TRUE(QFileInfo::exists(plan.expectedPath));
}

TEST_F(ShareRetrievalTest, run_folderInsideIsNamedByNoText_arrives)
{
    const FetchPlan folder = planFor(u"share:/run.d"_s, u"run.d"_s);
    writeFile(source(u"run.d/file"_s), "content");
    const fs::path inside = source(u"run.d"_s).toStdString() + "/\xff";
    fs::create_directory(inside);
    fs::rename(source(u"run.d/file"_s).toStdString(), inside / "file");

    const Error error = retrieve(folder, u"run.d"_s);
    EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    const fs::path arrived = folder.expectedPath.toStdString() + "/\xff";
    EXPECT_TRUE(fs::exists(arrived / "file"));
    for (const fs::path &path : { inside, arrived })
        fs::remove_all(path); // which QTemporaryDir cannot
}

TEST_F(ShareRetrievalTest, run_folder_arrivesWithAllInIt)
{
    const FetchPlan folder = planFor(u"share:/run.d"_s, u"run.d"_s);
    writeFile(source(u"run.d/a/b"_s), "deep");
    writeFile(source(u"run.d/read only"_s), "content");
    ASSERT_TRUE(QFile::setPermissions(source(u"run.d/read only"_s), QFile::ReadOwner));
    ASSERT_TRUE(QDir().mkpath(source(u"run.d/empty"_s)));
    fs::create_symlink("a/b", source(u"run.d/link"_s).toStdString());
    fs::create_symlink("/etc/passwd", source(u"run.d/out"_s).toStdString());

    const Error error = retrieve(folder, u"run.d"_s);
    ASSERT_FALSE(error.hasError()) << error.description().toStdString();
    EXPECT_EQ(error.warnings().size(), 1);
    EXPECT_EQ(readFile(folder.expectedPath + u"/a/b"_s), "deep");
    EXPECT_EQ(readFile(folder.expectedPath + u"/read only"_s), "content");
    EXPECT_TRUE(QFile::permissions(folder.expectedPath + u"/read only"_s) & QFile::WriteOwner);
    EXPECT_TRUE(QFileInfo(folder.expectedPath + u"/empty"_s).isDir());
    EXPECT_EQ(fs::read_symlink((folder.expectedPath + u"/link"_s).toStdString()), "a/b");
    EXPECT_FALSE(QFileInfo(folder.expectedPath + u"/out"_s).isSymLink());
}

TEST_F(ShareRetrievalTest, run_wiff_arrivesWithItsScan)
{
    const FetchPlan wiff = planFor(u"share:/x.wiff"_s, u"x.wiff"_s);
    writeFile(source(u"x.wiff"_s), "wiff");
    writeFile(source(u"x.wiff.scan"_s), "scan");
    ASSERT_FALSE(retrieve(wiff, u"x.wiff"_s).hasError());
    EXPECT_EQ(readFile(wiff.expectedPath), "wiff");
    EXPECT_EQ(readFile(wiff.expectedPath + u".scan"_s), "scan");
    EXPECT_EQ(namesBeside(wiff), (QStringList { u"x.wiff"_s, u"x.wiff.scan"_s }));
}

TEST_F(ShareRetrievalTest, run_missingSource_hasCode1AndLeavesNothing)
{
    EXPECT_EQ(retrieve(plan, u"run.raw"_s).errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath));
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(ShareRetrievalTest, run_rightChecksum_arrives)
{
    const QByteArray content = largeContent();
    writeFile(source(u"run.raw"_s), content);
    EXPECT_FALSE(retrieve(plan, u"run.raw"_s, checksumOf(content)).hasError());
    EXPECT_EQ(readFile(plan.expectedPath), content);
}

TEST_F(ShareRetrievalTest, run_wrongChecksum_hasCode6AndPublishesNothing)
{
    writeFile(source(u"run.raw"_s), "content");
    const Error error = retrieve(plan, u"run.raw"_s, checksumOf("other"));
    EXPECT_EQ(int(error.errorCode()), 6);
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath));
}

TEST_F(ShareRetrievalTest, run_wrongSize_hasCode6BeforeTheFirstByte)
{
    writeFile(source(u"run.raw"_s), "content");
    ExpectedContent expected;
    expected.size = 8;
    EXPECT_EQ(int(retrieve(plan, u"run.raw"_s, expected).errorCode()), 6);
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(ShareRetrievalTest, run_checksumOfFolder_hasCode2)
{
    writeFile(source(u"run.d/a"_s), "content");
    EXPECT_EQ(retrieve(plan, u"run.d"_s, checksumOf("x")).errorCode(), ErrorCode::BadArgument);
}

TEST_F(ShareRetrievalTest, run_canceledAtAnyStep_hasCode20AndTheNextOneGoesOn)
{
    const QByteArray content = largeContent();
    writeFile(source(u"run.raw"_s), content);
    SteppedTask whole;
    const FetchPlan other = planFor(u"share:/other"_s, u"other"_s);
    ASSERT_FALSE(retrieve(whole, other, u"run.raw"_s).hasError());

    for (int step = 1; step <= whole.steps; ++step) {
        const FetchPlan stepPlan = planFor(u"share:/%1"_s.arg(step), u"%1.raw"_s.arg(step));
        SteppedTask task;
        task.atStep = step;
        task.action = [&] {
            task.setCanceled(true);
        };
        EXPECT_EQ(retrieve(task, stepPlan, u"run.raw"_s).errorCode(), ErrorCode::Canceled) << step;
        EXPECT_FALSE(QFileInfo::exists(stepPlan.expectedPath));

        SteppedTask again;
        ASSERT_FALSE(retrieve(again, stepPlan, u"run.raw"_s, checksumOf(content)).hasError());
        EXPECT_EQ(readFile(stepPlan.expectedPath), content);
    }
}

TEST_F(ShareRetrievalTest, run_afterACancel_readsOnlyTheRest)
{
    writeFile(source(u"run.raw"_s), largeContent());
    SteppedTask canceled;
    canceled.atStep = 5;
    canceled.action = [&] {
        canceled.setCanceled(true);
    };
    ASSERT_EQ(retrieve(canceled, plan, u"run.raw"_s).errorCode(), ErrorCode::Canceled);
    const qint64 staged = StagingRecord::readAll(cache.dataDir()).value(0).bytes;
    EXPECT_GT(staged, 0);

    SteppedTask task;
    QSignalSpy told(&task, &Task::progress);
    ASSERT_FALSE(retrieve(task, plan, u"run.raw"_s).hasError());
    EXPECT_EQ(told.first().at(0).toInt(), staged);
}

TEST_F(ShareRetrievalTest, run_folderGoesOn_progressNeverGoesBack)
{
    const FetchPlan folder = planFor(u"share:/run.d"_s, u"run.d"_s);
    writeFile(source(u"run.d/a"_s), largeContent());
    writeFile(source(u"run.d/b"_s), largeContent());
    SteppedTask canceled;
    canceled.atStep = 12;
    canceled.action = [&] {
        canceled.setCanceled(true);
    };
    ASSERT_EQ(retrieve(canceled, folder, u"run.d"_s).errorCode(), ErrorCode::Canceled);

    Task task(nullptr);
    QSignalSpy told(&task, &Task::progress);
    ASSERT_FALSE(retrieve(task, folder, u"run.d"_s).hasError());
    EXPECT_GT(told.first().at(0).toInt(), 0);
    EXPECT_EQ(told.last().at(0).toInt(), 2 * largeContent().size());
    for (int i = 1; i < told.size(); ++i)
        EXPECT_GE(told.at(i).at(0).toInt(), told.at(i - 1).at(0).toInt());
}

TEST_F(ShareRetrievalTest, run_sourceContainsTheCache_hasCode2)
{
    Task task(nullptr);
    const Error error = ShareRetrieval(&task, plan, cache.outside({}), {}).run();
    EXPECT_EQ(error.errorCode(), ErrorCode::BadArgument);
}

TEST_F(ShareRetrievalTest, run_staleStagingOfOthers_isRemovedFirst)
{
    append(*open(planFor(u"share:/done"_s), u"v"_s), "staged");
    ready << u"share:/done"_s;
    writeFile(source(u"run.raw"_s), "content");
    ASSERT_FALSE(retrieve(plan, u"run.raw"_s).hasError());
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(ShareRetrievalTest, run_sparseFileLargerThanTheVolume_hasCode7BeforeTheFirstByte)
{
    writeFile(source(u"run.raw"_s), "");
    std::error_code code;
    fs::resize_file(source(u"run.raw"_s).toStdString(), uintmax_t(1) << 43, code);
    if (code)
        GTEST_SKIP() << "no files of that size here";
    EXPECT_EQ(int(retrieve(plan, u"run.raw"_s).errorCode()), 7);
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath));
    EXPECT_EQ(StagingRecord::readAll(cache.dataDir()).value(0).bytes, 0);
}

TEST_F(ShareRetrievalTest, run_largeFile_needsLittleMemory)
{
    writeFile(source(u"run.raw"_s), "");
    fs::resize_file(source(u"run.raw"_s).toStdString(), 256 * 1024 * 1024);
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    ASSERT_FALSE(retrieve(plan, u"run.raw"_s).hasError());
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 * 1024);
}

TEST_F(ShareRetrievalTest, cancel_fromAnotherThread_endsSoon)
{
    writeFile(source(u"run.raw"_s), "");
    constexpr qint64 size = 2ll * 1024 * 1024 * 1024;
    fs::resize_file(source(u"run.raw"_s).toStdString(), size);
    Task task(nullptr);
    task.setFunction([&](Task *running) { return retrieve(*running, plan, u"run.raw"_s); });
    task.setExecutionMode(Task::ExecutionMode::Asynchronous);
    int told = 0; // on the worker, which waits at the second time
    QSemaphore isUnderWay;
    QSemaphore mayGoOn;
    const auto waitUnderWay = [&] {
        if (++told != 2)
            return;
        isUnderWay.release();
        EXPECT_TRUE(mayGoOn.tryAcquire(1, 40'000));
    };
    QObject::connect(&task, &Task::progress, &task, waitUnderWay, Qt::DirectConnection);
    task.exec();
    ASSERT_TRUE(isUnderWay.tryAcquire(1, 30'000));
    task.cancel();
    mayGoOn.release();
    const Error error = task.waitForAllFinished(-1);
    EXPECT_EQ(error.errorCode(), ErrorCode::Canceled);
    const qint64 staged = StagingRecord::readAll(cache.dataDir()).value(0).bytes;
    EXPECT_GT(staged, 0);
    EXPECT_LT(staged, size / 2);
}

TEST_F(ShareRetrievalTest, run_folder_writesAManifestWithTheSumsOfItsFiles)
{
    writeFile(source(u"run.d/inner/a"_s), largeContent());
    writeFile(source(u"run.d/empty"_s), {});
    FetchPlan plan = planFor(u"share:/run.d"_s, u"run.d"_s);
    const ManifestStore store = ManifestStore::forCache(cache.dataDir());
    plan.manifestDirectory = store.directory();
    ASSERT_FALSE(retrieve(plan, u"run.d"_s).hasError());

    const auto manifest = store.read(plan.referenceKey).value();
    ASSERT_TRUE(manifest);
    EXPECT_EQ(manifest->fetchedBytes, largeContent().size());
    ASSERT_EQ(manifest->files.size(), 2);
    EXPECT_EQ(manifest->files.at(0).path, "run.d/empty");
    EXPECT_TRUE(manifest->files.at(0).sums.isEmpty());
    BlockSums sums(manifest->blockBytes);
    sums.add(largeContent().constData(), largeContent().size());
    EXPECT_EQ(manifest->files.at(1).path, "run.d/inner/a");
    EXPECT_EQ(manifest->files.at(1).sums, sums.sums());
}

TEST_F(ShareRetrievalTest, run_goesOnFromStagedBytes_leavesTheirSumsToTheFirstVerification)
{
    writeFile(source(u"run.raw"_s), largeContent());
    FetchPlan plan = planFor(u"share:/a"_s);
    const ManifestStore store = ManifestStore::forCache(cache.dataDir());
    plan.manifestDirectory = store.directory();
    SteppedTask canceled;
    canceled.atStep = 5;
    canceled.action = [&] {
        canceled.setCanceled(true);
    };
    ASSERT_EQ(retrieve(canceled, plan, u"run.raw"_s).errorCode(), ErrorCode::Canceled);
    ASSERT_FALSE(retrieve(plan, u"run.raw"_s).hasError());

    const auto manifest = store.read(plan.referenceKey).value();
    ASSERT_TRUE(manifest);
    EXPECT_FALSE(manifest->hasAllSums());
    EXPECT_GT(manifest->fetchedBytes, 0);
    EXPECT_LT(manifest->fetchedBytes, largeContent().size());
}
