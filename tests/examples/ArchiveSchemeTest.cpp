#include "ArchiveScheme.h"
#include "ArchiveFolder.h"
#include "ArchiveMetadata.h"
#include "ArchiveReference.h"
#include "ArchiveReports.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "RunCopy.h"

#include <QDir>
#include <QFileInfo>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The scheme inside of this process, whose manager works on a cache of the test's own.
class ArchiveSchemeTest : public testing::Test
{
protected:
    ArchiveSchemeTest()
    {
        const Error error = archive::registerArchiveScheme();
        EXPECT_FALSE(error.hasError()) << qPrintable(error.errorMessage());
        ResourceManagerSettings settings;
        settings.cachePath.setBaseDirPath(directory.baseDir());
        ResourceManager::overrideDefaultSettings(settings);
    }
    ~ArchiveSchemeTest() override { ResourceManager::cache()->close(); }

    static QString keyOf(const QString &text)
    {
        const auto reference = ResourceReference::fromString(text);
        return reference.hasValue() ? reference.value()->referenceText(false) : QString();
    }
    QSharedPointer<ResourceHandler> handler(const QString &id) const
    {
        const auto handler = ResourceManager::getHandler(lab.reference(id));
        EXPECT_TRUE(handler.hasValue());
        return handler.hasValue() ? handler.value() : nullptr;
    }

    TemporaryCache directory;
    ArchiveFolder lab = ArchiveFolder(directory.outside(u"lab"_s));
};

/// Everything below a folder, seen from there.
QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

TEST_F(ArchiveSchemeTest, fromString_otherSpellings_haveOneKey)
{
    EXPECT_EQ(keyOf(u"archive:/mnt/lab/0042"_s), u"archive:/mnt/lab/0042"_s);
    EXPECT_EQ(keyOf(u"ARCHIVE:/mnt//lab/./0042/"_s), u"archive:/mnt/lab/0042"_s);
}

TEST_F(ArchiveSchemeTest, fromString_noRunInAFolder_isRefused)
{
    for (const char *text : { "archive:", "archive:0042", "archive:/0042", "archive:lab/0042",
                              "archive:/mnt/../lab/0042", "archive:/mnt/lab/.." }) {
        const auto reference = ResourceReference::fromString(QString::fromLatin1(text));
        ASSERT_FALSE(reference.hasValue()) << text;
        EXPECT_EQ(reference.error().errorCode(), ErrorCode::BadArgument) << text;
    }
}

TEST_F(ArchiveSchemeTest, exists_listedAndReadable_isTrueAndElseFalse)
{
    lab.add(u"0041"_s, u"B7"_s, "spectra");
    lab.add(u"0042"_s, u"B7"_s, "spectra");
    QFile::remove(lab.path(u"monday/0042.mzML"_s));
    EXPECT_TRUE(handler(u"0041"_s)->exists().value());
    EXPECT_FALSE(handler(u"0042"_s)->exists().value());
    EXPECT_FALSE(handler(u"0043"_s)->exists().value());
}

TEST_F(ArchiveSchemeTest, exists_archiveGone_isAFailureAndNoAnswer)
{
    const auto answer = handler(u"0042"_s)->exists();
    ASSERT_FALSE(answer.hasValue());
    EXPECT_EQ(answer.error().errorCode(), ErrorCode::OperationFailed);
}

TEST_F(ArchiveSchemeTest, fromJson_ofToJson_isTheSame)
{
    lab.add(u"0042"_s, u"B7"_s, "spectra");
    const auto metadata = handler(u"0042"_s)->retrieveMetadata();
    ASSERT_TRUE(metadata.hasValue());
    const auto copy
        = ResourceMetadata::fromJson(metadata.value()->toJson(), archive::archiveScheme);
    ASSERT_TRUE(copy.hasValue());
    EXPECT_EQ(copy.value()->toJson(), metadata.value()->toJson());
    EXPECT_EQ(copy.value()->metadataVersion(), QVersionNumber(1, 2));
    EXPECT_EQ(copy.value().staticCast<archive::ArchiveMetadata>()->batch(), u"B7"_s);
}

TEST_F(ArchiveSchemeTest, fromJson_withoutTheBatch_isBadData)
{
    const auto copy = ResourceMetadata::fromJson(
        { { kName, u"a"_s }, { kPath, u"b"_s }, { kFullPath, u"c"_s } }, archive::archiveScheme);
    ASSERT_FALSE(copy.hasValue());
    EXPECT_EQ(copy.error().errorCode(), ErrorCode::BadData);
}

TEST_F(ArchiveSchemeTest, updateFileSizes_runWithAReport_countsBoth)
{
    lab.add(u"0042"_s, u"B7"_s, "spectra");
    lab.addReport("good");
    const auto run = handler(u"0042"_s);
    ASSERT_FALSE(run->retrieve().hasError());
    EXPECT_EQ(ResourceManager::cache()->readCurrentCacheSize().value(), qstrlen("spectra"));
    ASSERT_FALSE(ResourceManager::updateFileSizes({ run }).hasError());
    EXPECT_EQ(ResourceManager::cache()->readCurrentCacheSize().value(),
              qstrlen("spectra") + qstrlen("good"));
}

TEST_F(ArchiveSchemeTest, purge_runWithAReport_takesBoth)
{
    lab.add(u"0042"_s, u"B7"_s, "spectra");
    lab.addReport("good");
    auto run = handler(u"0042"_s);
    ASSERT_FALSE(run->setCleanupPolicy(ResourceCleanupPolicy::OnClose).hasError());
    ASSERT_FALSE(run->retrieve().hasError());
    const QString report = archive::reportPathFor(run->expectedPath().value());
    EXPECT_TRUE(QFileInfo::exists(report));
    run.reset();
    EXPECT_FALSE(QFileInfo::exists(report));
}

TEST_F(ArchiveSchemeTest, copyRun_canceled_leavesNoPart)
{
    lab.add(u"0042"_s, u"B7"_s, "spectra");
    archive::ArchivedRun run;
    run.file = lab.path(u"monday/0042.mzML"_s);
    run.bytes = qstrlen("spectra");
    Task task;
    task.setCanceled(true);
    const QString target = directory.outside(u"copies/run.mzML"_s);
    QDir().mkpath(QFileInfo(target).path());
    EXPECT_EQ(archive::copyRun(run, target, &task).errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(filesIn(QFileInfo(target).path()).isEmpty());
}

TEST_F(ArchiveSchemeTest, copyRun_large_tellsEachPercentOnce)
{
    archive::ArchivedRun run;
    run.file = lab.path(u"large.mzML"_s);
    run.bytes = 10 * 1024 * 1024;
    writeFile(run.file, QByteArray(run.bytes, 's'));
    Task task;
    QList<int> told;
    QObject::connect(&task, &BaseTask::progress, &task,
                     [&told](int value, int) { told.append(value); });
    const QString target = directory.outside(u"copies/run.mzML"_s);
    QDir().mkpath(QFileInfo(target).path());
    ASSERT_FALSE(archive::copyRun(run, target, &task).hasError());
    EXPECT_EQ(told, QList<int>({ 10, 20, 30, 40, 50, 60, 70, 80, 90, 100 }));
    EXPECT_EQ(filesIn(QFileInfo(target).path()), QStringList { u"run.mzML"_s });
}
