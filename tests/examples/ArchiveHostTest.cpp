#include "ArchiveFolder.h"
#include "CacheDatabase.h"
#include "ExampleHome.h"

#include <QDir>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The program with a scheme of its own, against a real cache.
class ArchiveHostTest : public ExampleHome
{
protected:
    std::unique_ptr<ProgramRun> run(const QString &id) const
    {
        return ExampleHome::run(QStringLiteral(ARCHIVE_HOST), { archive.reference(id) });
    }
    /// What stands behind "KEY: " in the answer, line by line.
    static QStringList told(ProgramRun &host, const QString &key)
    {
        QStringList values;
        const QStringList lines = QString::fromUtf8(host.output()).split(u'\n');
        for (const QString &line : lines) {
            if (line.startsWith(key + u": "_s))
                values.append(line.mid(key.size() + 2));
        }
        return values;
    }
    CacheDatabase database() const { return CacheDatabase(databasePath()); }

    ArchiveFolder archive = ArchiveFolder(path(u"lab/2026"_s));
};

} // namespace

TEST_F(ArchiveHostTest, run_listedRun_printsThePathOfItsCopyAndOfItsReport)
{
    archive.add(u"0042"_s, u"B7"_s, "spectra");
    archive.addReport("good");
    const auto host = run(u"0042"_s);
    ASSERT_EQ(host->exitCode(), 0) << host->errors().toStdString();

    const QString copy = told(*host, u"run"_s).value(0);
    EXPECT_TRUE(copy.startsWith(dataDir() + u"/archive/"_s)) << qPrintable(copy);
    EXPECT_TRUE(copy.endsWith(u"/run-0042.mzML"_s)) << qPrintable(copy);
    EXPECT_EQ(readFile(copy), "spectra");
    EXPECT_EQ(told(*host, u"report"_s), QStringList { copy + u".report.json"_s });
    EXPECT_EQ(readFile(copy + u".report.json"_s), "good");
}

TEST_F(ArchiveHostTest, run_runWithAReport_isCountedWithIt)
{
    archive.add(u"0042"_s, u"B7"_s, "spectra");
    archive.addReport("good");
    ASSERT_EQ(run(u"0042"_s)->exitCode(), 0);
    const QString sql = u"SELECT fileSize FROM CachedResources WHERE reference = ?"_s;
    EXPECT_EQ(database().value(sql, { archive.reference(u"0042"_s) }).toLongLong(),
              qstrlen("spectra") + qstrlen("good"));
    EXPECT_EQ(database().status(archive.reference(u"0042"_s)), u"Ready"_s);
}

TEST_F(ArchiveHostTest, run_runOfABatch_tellsTheOthersOfIt)
{
    archive.add(u"0041"_s, u"B7"_s, "first");
    archive.add(u"0042"_s, u"B7"_s, "second");
    archive.add(u"0043"_s, u"B8"_s, "third");
    archive.add(u"0044"_s, u"B7"_s, "fourth");
    const auto host = run(u"0042"_s);
    ASSERT_EQ(host->exitCode(), 0) << host->errors().toStdString();
    EXPECT_EQ(told(*host, u"same batch"_s),
              QStringList({ archive.reference(u"0041"_s), archive.reference(u"0044"_s) }));
}

TEST_F(ArchiveHostTest, run_listedRun_tellsWhatTheIndexSays)
{
    archive.add(u"0042"_s, u"B7"_s, "spectra");
    const auto host = run(u"0042"_s);
    ASSERT_EQ(host->exitCode(), 0) << host->errors().toStdString();
    const QByteArray json = told(*host, u"metadata"_s).value(0).toUtf8();
    const QJsonObject metadata = QJsonDocument::fromJson(json).object();
    EXPECT_EQ(metadata.value(u"Name"_s), u"HeLa 0042"_s);
    EXPECT_EQ(metadata.value(u"Path"_s), u"monday/0042.mzML"_s);
    EXPECT_EQ(metadata.value(u"FullPath"_s), archive.path(u"monday/0042.mzML"_s));
    EXPECT_EQ(metadata.value(u"Type"_s), u"run"_s);
    EXPECT_EQ(metadata.value(u"Batch"_s), u"B7"_s);
}

TEST_F(ArchiveHostTest, run_againWithoutTheFile_needsTheCopyOnly)
{
    archive.add(u"0042"_s, u"B7"_s, "spectra");
    ASSERT_EQ(run(u"0042"_s)->exitCode(), 0);
    QFile::remove(archive.path(u"monday/0042.mzML"_s));
    const auto host = run(u"0042"_s);
    ASSERT_EQ(host->exitCode(), 0) << host->errors().toStdString();
    EXPECT_EQ(readFile(told(*host, u"run"_s).value(0)), "spectra");
}

TEST_F(ArchiveHostTest, run_notListed_saysSo)
{
    archive.add(u"0042"_s, u"B7"_s, "spectra");
    const auto host = run(u"0099"_s);
    EXPECT_EQ(host->exitCode(), 1);
    EXPECT_TRUE(host->output().isEmpty());
    EXPECT_TRUE(host->errors().contains("There is no run 0099")) << host->errors().toStdString();
}

TEST_F(ArchiveHostTest, run_fileShorterThanTold_leavesNothingBehind)
{
    archive.add(u"0042"_s, u"B7"_s, "spectra");
    writeFile(archive.path(u"monday/0042.mzML"_s), "less");
    const auto host = run(u"0042"_s);
    EXPECT_EQ(host->exitCode(), 1);
    EXPECT_TRUE(host->errors().contains("not as long as the index says"));
    EXPECT_EQ(database().status(archive.reference(u"0042"_s)), u"Missing"_s);
}

TEST_F(ArchiveHostTest, run_indexThatLeadsOutOfTheArchive_isRefused)
{
    writeFile(path(u"lab/secret.mzML"_s), "secret");
    archive.describe(
        { { u"id"_s, u"0042"_s }, { u"file"_s, u"../secret.mzML"_s }, { u"bytes"_s, 6 } });
    const auto host = run(u"0042"_s);
    EXPECT_EQ(host->exitCode(), 1);
    EXPECT_TRUE(host->errors().contains("wrongly")) << host->errors().toStdString();
}

TEST_F(ArchiveHostTest, run_noReference_tellsTheUsage)
{
    const auto host = ExampleHome::run(QStringLiteral(ARCHIVE_HOST), {});
    EXPECT_EQ(host->exitCode(), 2);
    EXPECT_TRUE(host->errors().contains("usage: archive_host"));
}
