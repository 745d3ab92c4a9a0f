#include "integrity/ContentVerifier.h"
#include "AsAnybody.h"
#include "TemporaryCache.h"
#include "integrity/ContentListing.h"
#include "integrity/ContentSum.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <QDir>

#include <filesystem>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Kind = ContentVerifier::Kind;

class ContentVerifierTest : public ::testing::Test
{
protected:
    /// Of what lies in the folder now, with the sums of blocks of four bytes.
    ContentManifest manifestOf(const QByteArray &name) const
    {
        ContentManifest manifest;
        manifest.id = u"1"_s;
        manifest.name = name;
        manifest.blockBytes = 4;
        EXPECT_FALSE(ContentListing::add(folder.toStdString(), name, manifest.files).hasError());
        for (ContentManifest::File &file : manifest.files) {
            BlockSums sums(manifest.blockBytes);
            const QByteArray content = readFile(folder + u'/' + QString::fromUtf8(file.path));
            sums.add(content.constData(), content.size());
            file.sums = file.linkTarget ? QList<QByteArray>() : sums.sums();
        }
        return manifest;
    }
    ContentManifest manifestOfRun() const
    {
        writeFile(folder + u"/run.d/a"_s, "aaaabbbbcc");
        writeFile(folder + u"/run.d/b"_s, "dddd");
        return manifestOf("run.d");
    }

    /// Other bytes of the same length, and the time as it was.
    void change(const QString &name, const QByteArray &content) const
    {
        const std::filesystem::path path = (folder + u'/' + name).toStdString();
        const auto time = std::filesystem::last_write_time(path);
        writeFile(folder + u'/' + name, content);
        std::filesystem::last_write_time(path, time);
    }
    /// The folder and those above that are the test's own.
    void openToAnybody() const
    {
        const QString top = QDir::cleanPath(cache.outside(QString()));
        for (QString place = folder; place.startsWith(top); place = QFileInfo(place).path())
            QFile::setPermissions(place, QFile::Permissions(0x7755));
    }
    void touch(const QString &name) const
    {
        const std::filesystem::path path = (folder + u'/' + name).toStdString();
        std::filesystem::last_write_time(
            path, std::filesystem::last_write_time(path) + std::chrono::seconds(5));
    }

    TemporaryCache cache;
    const QString folder = cache.dataDir() + u"/share/folder"_s;
};

/// Reads all; gives the findings.
QList<ContentVerifier::Finding> verify(ContentVerifier &verifier)
{
    verifier.compare();
    EXPECT_TRUE(verifier.read(false, [](qint64) { return true; }));
    return verifier.findings();
}

QList<Kind> kindsOf(const QList<ContentVerifier::Finding> &findings)
{
    QList<Kind> kinds;
    for (const ContentVerifier::Finding &finding : findings)
        kinds.append(finding.kind);
    return kinds;
}

/// A container whose sample the cache has moved out of it after the fetch.
class ContentVerifierContainerTest : public ContentVerifierTest
{
protected:
    /// The manifest is that of the container as it came.
    ContentManifest convert(const QString &samplePath) const
    {
        writeFile(folder + u"/sample"_s, "aaaabbbbcc");
        const QString container = folder + u"/x.zacq"_s;
        EXPECT_FALSE(zacq::ZacqWriter::createFolder(container, folder + u"/sample"_s, samplePath,
                                                    u"Sample"_s)
                         .hasError());
        writeFile(container + u"/notes.txt"_s, "own");
        writeFile(container + u"/content/beside.scan"_s, "scan");
        const ContentManifest manifest = manifestOf("x.zacq");
        QDir().mkpath(QFileInfo(target).path());
        EXPECT_FALSE(zacq::Zacq(container).makeSparseZacqBlocking(container, target).hasError());
        return manifest;
    }

    const QString target = cache.dataDir() + u"/zacq/a1b2c3.zacq"_s;
};

} // namespace

TEST_F(ContentVerifierContainerTest, read_sampleWasMoved_findsItWhereItIs)
{
    for (const QString &samplePath : { u"content/run.raw"_s, u"run.raw"_s }) {
        QDir(folder).removeRecursively();
        QDir(target).removeRecursively();
        ContentVerifier verifier(convert(samplePath), folder);
        ASSERT_FALSE(QFile::exists(folder + u"/x.zacq/"_s + samplePath));
        EXPECT_EQ(kindsOf(verify(verifier)), QList<Kind>()) << qPrintable(samplePath);
        EXPECT_FALSE(verifier.isOfSomethingElse());
        for (const ContentManifest::File &file : verifier.manifest().files)
            EXPECT_EQ(file.verified.isValid(), file.path != "x.zacq/zacq.json")
                << file.path.toStdString();
    }
}

TEST_F(ContentVerifierContainerTest, read_movedSampleChanged_isFoundUnderThePathThatItHad)
{
    const ContentManifest manifest = convert(u"content/run.raw"_s);
    change(u"../../zacq/a1b2c3.zacq/s/run.raw"_s, "aaaaXbbbcc");
    ContentVerifier verifier(manifest, folder);
    const auto findings = verify(verifier);
    ASSERT_EQ(kindsOf(findings), QList<Kind> { Kind::Changed });
    EXPECT_EQ(findings.first().path, "x.zacq/content/run.raw");
    EXPECT_EQ(findings.first().offset, 4);

    QFile::remove(target + u"/s/beside.scan"_s);
    writeFile(target + u"/s/more"_s, "more");
    ContentVerifier again(manifest, folder);
    again.compare();
    EXPECT_EQ(kindsOf(again.findings()), (QList<Kind> { Kind::Missing, Kind::Extra }));

    QDir(target + u"/s"_s).removeRecursively();
    again.compare();
    EXPECT_EQ(kindsOf(again.findings()), (QList<Kind> { Kind::Missing, Kind::Missing }));
}

TEST_F(ContentVerifierTest, read_untouched_findsNothingAndTakesTheTimeDown)
{
    ContentVerifier verifier(manifestOfRun(), folder);
    verifier.compare();
    EXPECT_EQ(verifier.bytesToRead(false), 14);
    EXPECT_TRUE(verify(verifier).isEmpty());
    EXPECT_TRUE(verifier.manifest().verified.isValid());
    EXPECT_FALSE(verifier.manifest().isCutShort());
    for (const ContentManifest::File &file : verifier.manifest().files)
        EXPECT_TRUE(file.verified.isValid());
}

TEST_F(ContentVerifierTest, read_flippedByteWithTheOldTime_isChangedAtItsBlock)
{
    const ContentManifest manifest = manifestOfRun();
    change(u"run.d/a"_s, "aaaabbbXcc");
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    EXPECT_TRUE(verifier.findings().isEmpty()) << "names, sizes and times are as they were";
    const auto findings = verify(verifier);
    ASSERT_EQ(kindsOf(findings), QList { Kind::Changed });
    EXPECT_EQ(findings.first().path, "run.d/a");
    EXPECT_EQ(findings.first().offset, 4);
    EXPECT_TRUE(verifier.manifest().files.first().foundChanged.isValid());
    EXPECT_FALSE(verifier.manifest().files.first().verified.isValid());
}

TEST_F(ContentVerifierTest, read_changeThatWasMended_isForgotten)
{
    const ContentManifest manifest = manifestOfRun();
    change(u"run.d/a"_s, "aaaabbbXcc");
    ContentVerifier damaged(manifest, folder);
    verify(damaged);
    change(u"run.d/a"_s, "aaaabbbbcc");
    ContentVerifier mended(damaged.manifest(), folder);
    EXPECT_TRUE(verify(mended).isEmpty());
}

TEST_F(ContentVerifierTest, compare_sizesNamesAndKinds_areTold)
{
    const ContentManifest manifest = manifestOfRun();
    writeFile(folder + u"/run.d/a"_s, "aaaabbb");
    ASSERT_TRUE(QFile::remove(folder + u"/run.d/b"_s));
    writeFile(folder + u"/run.d/c"_s, "new");
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    const auto findings = verifier.findings();
    ASSERT_EQ(kindsOf(findings), (QList { Kind::Truncated, Kind::Missing, Kind::Extra }));
    EXPECT_EQ(findings.at(0).expectedSize, 10);
    EXPECT_EQ(findings.at(0).foundSize, 7);
    EXPECT_EQ(findings.at(1).path, "run.d/b");
    EXPECT_EQ(findings.at(2).path, "run.d/c");
    EXPECT_EQ(verifier.bytesToRead(false), 0);
}

TEST_F(ContentVerifierTest, compare_manifestInAnotherOrder_findsTheSame)
{
    for (const char *name : { "a", "b", "c", "d" })
        writeFile(folder + u"/run.d/"_s + QString::fromLatin1(name), "dddd");
    ContentManifest manifest = manifestOf("run.d");
    std::swap(manifest.files[0], manifest.files[2]);
    manifest.files.removeAt(1); // b
    manifest.files[1].path = "run.d/gone"; // was a
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    EXPECT_EQ(kindsOf(verifier.findings()), QList({ Kind::Missing, Kind::Extra, Kind::Extra }));
    EXPECT_EQ(verifier.findings().at(0).path, "run.d/gone");
    EXPECT_EQ(verifier.findings().at(1).path, "run.d/a");
    EXPECT_EQ(verifier.findings().at(2).path, "run.d/b");
    EXPECT_EQ(verifier.bytesToRead(false), 8);
}

TEST_F(ContentVerifierTest, compare_biggerFileAndLinkInsteadOfAFile_areChanged)
{
    const ContentManifest manifest = manifestOfRun();
    writeFile(folder + u"/run.d/a"_s, "aaaabbbbccc");
    ASSERT_TRUE(QFile::remove(folder + u"/run.d/b"_s));
    ASSERT_TRUE(QFile::link(folder + u"/run.d/a"_s, folder + u"/run.d/b"_s));
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    EXPECT_EQ(kindsOf(verifier.findings()), (QList { Kind::Changed, Kind::Changed }));
}

TEST_F(ContentVerifierTest, compare_allIsGone_isMissing)
{
    const ContentManifest manifest = manifestOfRun();
    ASSERT_TRUE(QDir(folder).removeRecursively());
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    EXPECT_EQ(kindsOf(verifier.findings()), (QList { Kind::Missing, Kind::Missing }));
}

TEST_F(ContentVerifierTest, compare_sideFilesBesideTheResource_areNoneOfItsBusiness)
{
    writeFile(folder + u"/x.mzML"_s, "data");
    const ContentManifest manifest = manifestOf("x.mzML");
    writeFile(folder + u"/x.mzML.ms1.cache"_s, "side");
    ContentVerifier verifier(manifest, folder);
    EXPECT_TRUE(verify(verifier).isEmpty());
}

TEST_F(ContentVerifierTest, read_touchedButSame_isIntactAndTheNewTimeIsTakenDown)
{
    const ContentManifest manifest = manifestOfRun();
    touch(u"run.d/b"_s);
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    EXPECT_TRUE(verifier.hasOtherTimes());
    EXPECT_TRUE(verify(verifier).isEmpty());
    ContentVerifier again(verifier.manifest(), folder);
    again.compare();
    EXPECT_FALSE(again.hasOtherTimes());
}

TEST_F(ContentVerifierTest, read_unknownSums_areTakenDownAndMarked)
{
    ContentManifest manifest = manifestOfRun();
    const QList<QByteArray> sums = manifest.files.first().sums;
    manifest.files.first().sums = { sums.at(0), {}, {} };
    ContentVerifier verifier(manifest, folder);
    EXPECT_TRUE(verify(verifier).isEmpty());
    EXPECT_EQ(verifier.manifest().files.first().sums, sums);
    EXPECT_TRUE(verifier.manifest().files.first().isSummedLater);
    EXPECT_FALSE(verifier.manifest().files.last().isSummedLater);
}

TEST_F(ContentVerifierTest, read_unknownSumsOfATouchedFile_areNoChangeAndTakenDown)
{
    ContentManifest manifest = manifestOfRun();
    const QList<QByteArray> sums = manifest.files.first().sums;
    manifest.files.first().sums = { sums.at(0), {}, {} };
    touch(u"run.d/a"_s);
    ContentVerifier verifier(manifest, folder);
    EXPECT_TRUE(verify(verifier).isEmpty());
    EXPECT_EQ(verifier.manifest().files.first().sums, sums);
    EXPECT_TRUE(verifier.manifest().files.first().isSummedLater);
}

TEST_F(ContentVerifierTest, read_knownSumsOfAFileThatLacksOthers_showAChange)
{
    ContentManifest manifest = manifestOfRun();
    manifest.files.first().sums = { {}, manifest.files.first().sums.at(1), {} };
    touch(u"run.d/a"_s);
    change(u"run.d/a"_s, "aaaaXbbbcc");
    ContentVerifier verifier(manifest, folder);
    EXPECT_EQ(kindsOf(verify(verifier)), QList { Kind::Changed });
}

TEST_F(ContentVerifierTest, read_calledChangedForWantOfASum_isIntactAgain)
{
    ContentManifest manifest = manifestOfRun();
    manifest.files.first().sums = { {}, {}, {} };
    manifest.files.first().foundChanged = QDateTime::currentDateTimeUtc();
    touch(u"run.d/a"_s);
    ContentVerifier verifier(manifest, folder);
    EXPECT_TRUE(verify(verifier).isEmpty());
    EXPECT_TRUE(verifier.manifest().files.first().hasAllSums());
}

TEST_F(ContentVerifierTest, read_cutShort_goesOnWhereItEnded)
{
    ContentVerifier first(manifestOfRun(), folder);
    first.compare();
    int pieces = 0;
    EXPECT_FALSE(first.read(true, [&pieces](qint64) { return ++pieces < 3; }));
    EXPECT_TRUE(first.findings().isEmpty());
    EXPECT_TRUE(first.manifest().isCutShort());
    EXPECT_EQ(first.manifest().files.first().checkedBlocks, 2);
    EXPECT_FALSE(first.manifest().verified.isValid());

    ContentVerifier second(first.manifest(), folder);
    second.compare();
    EXPECT_EQ(second.bytesToRead(true), 6);
    qint64 bytes = 0;
    EXPECT_TRUE(second.read(true, [&bytes](qint64 count) {
        bytes += count;
        return true;
    }));
    EXPECT_EQ(bytes, 6) << "what was read before is not read again";
    EXPECT_FALSE(second.manifest().isCutShort());
    EXPECT_TRUE(second.manifest().verified.isValid());
}

TEST_F(ContentVerifierTest, read_cutShortButAskedForAll_beginsAnew)
{
    ContentVerifier first(manifestOfRun(), folder);
    first.compare();
    int pieces = 0;
    EXPECT_FALSE(first.read(true, [&pieces](qint64) { return ++pieces < 3; }));
    ContentVerifier second(first.manifest(), folder);
    second.compare();
    qint64 bytes = 0;
    EXPECT_TRUE(second.read(false, [&bytes](qint64 count) {
        bytes += count;
        return true;
    }));
    EXPECT_EQ(bytes, 14);
}

TEST_F(ContentVerifierTest, findings_changeOfAnEarlierPart_isToldAgain)
{
    const ContentManifest manifest = manifestOfRun();
    change(u"run.d/a"_s, "Xaaabbbbcc");
    ContentVerifier first(manifest, folder);
    first.compare();
    int pieces = 0;
    EXPECT_FALSE(first.read(true, [&pieces](qint64) { return ++pieces < 2; }));
    ContentVerifier second(first.manifest(), folder);
    second.compare();
    EXPECT_EQ(kindsOf(second.findings()), QList { Kind::Changed });
}

TEST_F(ContentVerifierTest, compare_folderThatCannotBeRead_isUnreadable)
{
    const ContentManifest manifest = manifestOfRun();
    const QString run = folder + u"/run.d"_s;
    ASSERT_TRUE(QFile::setPermissions(run, {}));
    ContentVerifier verifier(manifest, folder);
    openToAnybody();
    {
        const AsAnybody anybody;
        if (!anybody.canReach(folder))
            GTEST_SKIP() << "the folders above are closed to anybody";
        verifier.compare();
    }
    EXPECT_EQ(kindsOf(verifier.findings()), QList { Kind::Unreadable });
    QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TEST_F(ContentVerifierTest, isOfSomethingElse_newFolderWithOtherData_isTrue)
{
    ContentManifest manifest = manifestOfRun();
    manifest.folderMade = QFileInfo(folder).birthTime().toUTC();
    if (!manifest.folderMade.isValid())
        GTEST_SKIP() << "the volume does not tell when a folder was made";
    const auto isOther = [this, &manifest] {
        ContentVerifier verifier(manifest, folder);
        verifier.compare();
        return verifier.isOfSomethingElse();
    };
    writeFile(folder + u"/run.d/a"_s, "damaged");
    touch(u"run.d/b"_s);
    EXPECT_FALSE(isOther()) << "it is the folder of the fetch";
    manifest.folderMade = manifest.folderMade.addSecs(-5);
    EXPECT_TRUE(isOther());
    manifest.files.last().modified += 5'000'000'000;
    EXPECT_FALSE(isOther()) << "a copy of what was fetched";
}

TEST_F(ContentVerifierTest, read_linkedFolder_isNotFollowed)
{
    const ContentManifest manifest = manifestOfRun();
    ASSERT_TRUE(QDir(folder + u"/run.d"_s).removeRecursively());
    writeFile(cache.outside(u"elsewhere/a"_s), "aaaabbbbcc");
    writeFile(cache.outside(u"elsewhere/b"_s), "dddd");
    ASSERT_TRUE(QFile::link(cache.outside(u"elsewhere"_s), folder + u"/run.d"_s));
    ContentVerifier verifier(manifest, folder);
    verifier.compare();
    EXPECT_EQ(kindsOf(verifier.findings()), (QList { Kind::Missing, Kind::Missing, Kind::Extra }));
}
