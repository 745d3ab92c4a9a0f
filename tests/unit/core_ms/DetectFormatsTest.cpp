#include "MsFileInfo.h"

#include "support/MarkerTree.h"

#include <thread>

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using test::Formats;
using test::MarkerTree;
using test::sorted;
using F = VendorDataFormat;

namespace {

const Formats allOfD { F::BrukerFID,        F::BrukerYEP,  F::BrukerBAF, F::BrukerU2,
                       F::BrukerBAF_and_U2, F::BrukerTims, F::BrukerTsf, F::AgilentAcqData };
const Formats bruker = allOfD.first(7);
const Formats bothOfRaw { F::Waters, F::Thermo };
const QString marker = u"MAGIC_STRING_GOES_HERE_zel_testing"_s;

struct Case
{
    const char *name;
    QString path; ///< ends in "/" for a folder
    QStringList beside; ///< what else lies in the tree
    Formats byName;
    Formats inFull;
    Formats first; ///< in full, stopping at the first detector that says yes
};

// What is, is found by its name and in full; a name with the wrong thing behind it by name alone.
const Case cases[] = {
    { "agilent", u"a.d/"_s, { u"a.d/AcqData/"_s }, allOfD, { F::AgilentAcqData }, {} },
    { "bruker", u"a.d/"_s, { u"a.d/s/1SLin/fid"_s }, allOfD, { F::BrukerFID }, {} },
    { "brukerYep", u"a.d/"_s, { u"a.d/Analysis.yep"_s }, allOfD, { F::BrukerYEP }, {} },
    { "brukerBaf", u"a.d/"_s, { u"a.d/Analysis.baf"_s }, allOfD, { F::BrukerBAF }, {} },
    { "brukerU2", u"a.d/"_s, { u"a.d/a.u2"_s }, allOfD, { F::BrukerU2 }, {} },
    { "brukerBafAndU2",
      u"a.d/"_s,
      { u"a.d/a.u2"_s, u"a.d/Analysis.baf"_s },
      allOfD,
      { F::BrukerBAF_and_U2 },
      {} },
    { "brukerTims", u"a.d/"_s, { u"a.d/analysis.tdf"_s }, allOfD, { F::BrukerTims }, {} },
    { "brukerTsf", u"a.d/"_s, { u"a.d/analysis.tsf"_s }, allOfD, { F::BrukerTsf }, {} },
    { "agilentAndBruker",
      u"a.d/"_s,
      { u"a.d/AcqData/"_s, u"a.d/analysis.tsf"_s },
      allOfD,
      { F::BrukerTsf, F::AgilentAcqData },
      { F::AgilentAcqData } },
    { "emptyFolderInD", u"a.d/"_s, {}, allOfD, {}, {} },
    { "fileInD", u"a.d"_s, {}, allOfD, {}, {} },
    { "zyspec2", u"x.zyspec2"_s, {}, { F::Zyspec2 }, { F::Zyspec2 }, {} },
    { "csv2d", u"x.csv2d"_s, {}, { F::Csv2d }, { F::Csv2d }, {} },
    { "dataCut", u"x.data.cut"_s, {}, { F::DataCut }, { F::DataCut }, {} },
    { "dataCutEmbeddedHasNoName", u"x"_s, {}, {}, {}, {} },
    { "msFaux", u"x.msfaux"_s, {}, { F::MsFaux }, { F::MsFaux }, {} },
    { "msFaux2", u"x.msfaux2"_s, {}, { F::MsFaux2 }, { F::MsFaux2 }, {} },
    { "mgf", u"x.mgf"_s, {}, { F::Mgf }, { F::Mgf }, {} },
    { "mzml", u"x.mzML"_s, {}, { F::Mzml }, { F::Mzml }, {} },
    { "mzxml", u"x.mzXML"_s, {}, { F::Mzxml }, { F::Mzxml }, {} },
    { "zacqFile", u"x.zacq"_s, {}, { F::Zacq }, { F::Zacq }, {} },
    { "zacqFolder", u"x.zacq/"_s, {}, { F::Zacq }, { F::Zacq }, {} },
    { "mobilion", u"x.mbi"_s, {}, { F::Mobilion }, { F::Mobilion }, {} },
    { "sciexWiff", u"x.wiff"_s, { u"x.wiff.scan"_s }, { F::SciexWiff }, { F::SciexWiff }, {} },
    { "sciexWiffAlone", u"x.wiff"_s, {}, { F::SciexWiff }, {}, {} },
    { "sciexWiff2", u"x.wiff2"_s, { u"x.wiff.scan"_s }, { F::SciexWiff2 }, { F::SciexWiff2 }, {} },
    { "sciexWiff2Alone", u"x.wiff2"_s, { u"x.wiff2.scan"_s }, { F::SciexWiff2 }, {}, {} },
    { "shimadzu", u"x.lcd"_s, {}, { F::Shimadzu }, { F::Shimadzu }, {} },
    { "thermo", u"x.raw"_s, {}, bothOfRaw, { F::Thermo }, {} },
    { "testing", u"x"_s + marker, {}, { F::Testing }, { F::Testing }, {} },
    { "waters", u"x.RAW/"_s, { u"x.RAW/_FUNC001.DAT"_s }, bothOfRaw, { F::Waters }, {} },
    { "folderInRaw", u"x.raw/"_s, {}, bothOfRaw, {}, {} },
    { "folderInMzml", u"x.mzml/"_s, {}, { F::Mzml }, {}, {} },
    { "text", u"x.txt"_s, {}, {}, {}, {} },
};

class DetectFormatsTest : public testing::TestWithParam<Case>
{
};

} // namespace

TEST_P(DetectFormatsTest, detectFormats_pathOnDisk_isToldByNameAndInFull)
{
    const Case &expected = GetParam();
    const MarkerTree tree;
    const DataSourceLocation location(tree.make(expected.path));
    for (const QString &entry : expected.beside)
        tree.make(entry);

    EXPECT_EQ(sorted(MsFileInfo::detectFormatsByName(location)), expected.byName);
    EXPECT_EQ(sorted(MsFileInfo::detectFormats(location, true, false)), expected.byName);
    EXPECT_EQ(sorted(MsFileInfo::detectFormats(location)), expected.inFull);
    EXPECT_EQ(sorted(MsFileInfo::detectFormats(location, false, false)), expected.inFull);
    EXPECT_EQ(sorted(MsFileInfo::detectFormats(location, false, true)),
              expected.first.isEmpty() ? expected.inFull : expected.first);
    EXPECT_EQ(MsFileInfo::isSupportedDataSource(location, true), !expected.byName.isEmpty());
    EXPECT_EQ(MsFileInfo::isSupportedDataSource(location, false), !expected.inFull.isEmpty());
}

TEST_P(DetectFormatsTest, detectFormats_nothingOnDisk_isToldByNameAlone)
{
    const Case &expected = GetParam();
    const QString name = expected.path.endsWith(u'/') ? expected.path.chopped(1) : expected.path;
    const DataSourceLocation location(u"/nowhere/"_s + name);
    const bool needsNoFile = name.endsWith(marker);

    EXPECT_EQ(sorted(MsFileInfo::detectFormatsByName(location)), expected.byName);
    EXPECT_EQ(sorted(MsFileInfo::detectFormats(location)),
              needsNoFile ? expected.byName : Formats());
}

INSTANTIATE_TEST_SUITE_P(Paths, DetectFormatsTest, testing::ValuesIn(cases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(DetectFormatsOrderTest, detectFormats_byNameStoppingAtTheFirst_isTheFirstOfTheOrder)
{
    const auto first = [](const QString &path) {
        return sorted(MsFileInfo::detectFormats(DataSourceLocation(path), true, true));
    };
    EXPECT_EQ(first(u"x.d"_s), Formats { F::AgilentAcqData });
    EXPECT_EQ(first(u"x.D/"_s), bruker); // only this detector looks behind the slash
    EXPECT_EQ(first(u"x.raw"_s), Formats { F::Thermo });
}

TEST(DetectFormatsOrderTest, detectFormats_manyThreads_giveTheSameAnswers)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s, { u"AcqData/"_s, u"analysis.tdf"_s });
    const Formats expected { F::BrukerTims, F::AgilentAcqData };
    const auto ask = [&] {
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(sorted(MsFileInfo::detectFormats(DataSourceLocation(folder))), expected);
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(ask);
    for (std::thread &thread : threads)
        thread.join();
}
