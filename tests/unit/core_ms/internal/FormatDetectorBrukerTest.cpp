#include "internal/FormatDetectorBruker.h"

#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::brukerFormatOf;
using internal::brukerU2Path;
using internal::FormatDetectorBruker;
using test::Formats;
using test::MarkerTree;
using test::sorted;
using F = VendorDataFormat;

namespace {

const Formats all { F::BrukerFID,        F::BrukerYEP,  F::BrukerBAF, F::BrukerU2,
                    F::BrukerBAF_and_U2, F::BrukerTims, F::BrukerTsf };
const Formats nothing;

struct Case
{
    const char *name;
    QStringList entries; ///< in a.d; folders end in "/"
    VendorDataFormat format;
};

const Case cases[] = {
    // Data of one acquisition in a subfolder: "fid" as a file, under eight names
    { "fidReflectorSpectrum", { u"s/1/1SRef/fid"_s }, F::BrukerFID },
    { "fidReflectorSpectrumFlat", { u"s/1SRef/fid"_s }, F::BrukerFID },
    { "fidLinearSpectrum", { u"s/1/1SLin/fid"_s }, F::BrukerFID },
    { "fidLinearSpectrumFlat", { u"s/1SLin/fid"_s }, F::BrukerFID },
    { "fidReflector", { u"s/1/1Ref/fid"_s }, F::BrukerFID },
    { "fidReflectorFlat", { u"s/1Ref/fid"_s }, F::BrukerFID },
    { "fidLinear", { u"s/1/1Lin/fid"_s }, F::BrukerFID },
    { "fidLinearFlat", { u"s/1Lin/fid"_s }, F::BrukerFID },
    { "fidInTheLastOfManyFolders", { u"a/"_s, u"b/"_s, u"c"_s, u"z/1Lin/fid"_s }, F::BrukerFID },
    { "fidUnderASubfolderNamedOne", { u"1/1SRef/fid"_s }, F::BrukerFID },
    { "fidBesideABaf", { u"s/1SRef/fid"_s, u"s/Analysis.baf"_s }, F::BrukerFID },

    // The names above with a folder, in another case, at another level
    { "fidNameAsFolder", { u"s/1/1SRef/fid/"_s, u"s/1SRef/fid/"_s }, F::Unknown },
    { "fidNameInOtherCase", { u"s/1sref/fid"_s, u"s/1SRef/FID"_s }, F::Unknown },
    { "fidOneLevelTooHigh", { u"1SRef/fid"_s }, F::Unknown },
    { "fidOneLevelTooDeep", { u"s/s/1SRef/fid"_s }, F::Unknown },
    { "fidInAHiddenFolder", { u".s/1SRef/fid"_s }, F::Unknown },

    // "fid" as a folder, in a subfolder or right here, counts without a baf beside it
    { "fidFolderBelow", { u"s/fid/"_s }, F::BrukerFID },
    { "fidFolderBelowAsFile", { u"s/fid"_s }, F::Unknown },
    { "fidFolderBelowBesideBaf", { u"s/fid/"_s, u"s/Analysis.baf"_s }, F::Unknown },
    { "fidFolderBelowBesideLowerCaseBaf", { u"s/fid/"_s, u"s/analysis.baf"_s }, F::Unknown },
    { "fidFolderBelowBesideBafFolder", { u"s/fid/"_s, u"s/Analysis.baf/"_s }, F::BrukerFID },
    { "fidFolderBelowBafHere", { u"s/fid/"_s, u"Analysis.baf"_s }, F::BrukerFID },
    { "fidFolderHere", { u"fid/"_s }, F::BrukerFID },
    { "fidFolderHereAmongFiles", { u"a.txt"_s, u"fid/"_s, u"z.txt"_s }, F::BrukerFID },
    { "fidFileHere", { u"fid"_s }, F::Unknown },
    { "fidFolderHereBesideBaf", { u"fid/"_s, u"Analysis.baf"_s }, F::BrukerBAF },
    { "fidFolderHereBesideLowerCaseBaf", { u"fid/"_s, u"analysis.baf"_s }, F::Unknown },
    { "fidFolderHereBafBelow", { u"fid/"_s, u"s/Analysis.baf"_s }, F::BrukerFID },

    // One mark
    { "yep", { u"Analysis.yep"_s }, F::BrukerYEP },
    { "yepLowerCase", { u"analysis.yep"_s }, F::Unknown },
    { "yepAsFolder", { u"Analysis.yep/"_s }, F::Unknown },
    { "baf", { u"Analysis.baf"_s }, F::BrukerBAF },
    { "bafLowerCase", { u"analysis.baf"_s }, F::Unknown },
    { "bafAsFolder", { u"Analysis.baf/"_s }, F::Unknown },
    { "u2", { u"a.u2"_s }, F::BrukerU2 },
    { "u2OfAnotherName", { u"b.u2"_s }, F::Unknown },
    { "u2InOtherCase", { u"a.U2"_s }, F::Unknown },
    { "u2AsFolder", { u"a.u2/"_s }, F::Unknown },
    { "bafAndU2", { u"Analysis.baf"_s, u"a.u2"_s }, F::BrukerBAF_and_U2 },
    { "bafLowerCaseAndU2", { u"analysis.baf"_s, u"a.u2"_s }, F::BrukerU2 },
    { "tims", { u"analysis.tdf"_s }, F::BrukerTims },
    { "timsCapital", { u"Analysis.tdf"_s }, F::BrukerTims },
    { "timsUpperCase", { u"ANALYSIS.TDF"_s }, F::Unknown },
    { "timsAsFolder", { u"analysis.tdf/"_s }, F::Unknown },
    { "tsf", { u"analysis.tsf"_s }, F::BrukerTsf },
    { "tsfCapital", { u"Analysis.tsf"_s }, F::BrukerTsf },
    { "tsfUpperCase", { u"ANALYSIS.TSF"_s }, F::Unknown },
    { "tsfAsFolder", { u"analysis.tsf/"_s }, F::Unknown },
    { "marksInASubfolder", { u"s/Analysis.yep"_s, u"s/analysis.tdf"_s }, F::Unknown },
    { "nothing", {}, F::Unknown },

    // Several marks: the first of the order counts
    { "fidBeforeYep", { u"s/1SRef/fid"_s, u"Analysis.yep"_s }, F::BrukerFID },
    { "fidFolderBeforeYep", { u"fid/"_s, u"Analysis.yep"_s }, F::BrukerFID },
    { "yepBeforeBafAndU2", { u"Analysis.yep"_s, u"Analysis.baf"_s, u"a.u2"_s }, F::BrukerYEP },
    { "bafBeforeTims", { u"Analysis.baf"_s, u"analysis.tdf"_s }, F::BrukerBAF },
    { "u2BeforeTims", { u"a.u2"_s, u"analysis.tdf"_s }, F::BrukerU2 },
    { "bafLowerCaseLeavesTims", { u"analysis.baf"_s, u"analysis.tdf"_s }, F::BrukerTims },
    { "timsBeforeTsf", { u"Analysis.tdf"_s, u"analysis.tsf"_s }, F::BrukerTims },
};

class FormatDetectorBrukerFolderTest : public testing::TestWithParam<Case>
{
};

} // namespace

TEST_P(FormatDetectorBrukerFolderTest, brukerFormatOf_entriesInTheFolder_decide)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s, GetParam().entries);
    EXPECT_EQ(brukerFormatOf(folder), GetParam().format);

    const Formats expected
        = GetParam().format == F::Unknown ? nothing : Formats { GetParam().format };
    EXPECT_EQ(sorted(FormatDetectorBruker().detectFormat(folder)), expected);
}

INSTANTIATE_TEST_SUITE_P(Folders, FormatDetectorBrukerFolderTest, testing::ValuesIn(cases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(FormatDetectorBrukerTest, brukerFormatOf_fidInTheFolderItselfOrBesideIt_doesNotCount)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s, { u"1SRef/fid"_s, u"1Lin/fid"_s });
    tree.make(u"1SRef/fid"_s);
    tree.make(u"fid/"_s);
    EXPECT_EQ(brukerFormatOf(folder), F::Unknown);
}

TEST(FormatDetectorBrukerTest, brukerFormatOf_u2BesideTheFolder_doesNotCount)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s);
    tree.make(u"a.u2"_s);
    EXPECT_EQ(brukerFormatOf(folder), F::Unknown);
}

TEST(FormatDetectorBrukerTest, brukerFormatOf_links_areFollowed)
{
    const MarkerTree tree;
    tree.makeFolder(u"real"_s, { u"1SRef/fid"_s });
    const QString folder = tree.makeFolder(u"a.d"_s);
    tree.link(u"a.d"_s, u"a.d/nowhere"_s);
    tree.link(u"."_s, u"a.d/self"_s);
    EXPECT_EQ(brukerFormatOf(folder), F::Unknown);
    tree.link(tree.path(u"real"_s), u"a.d/link"_s);
    EXPECT_EQ(brukerFormatOf(folder), F::BrukerFID);
    EXPECT_EQ(brukerFormatOf(tree.link(folder, u"b.d"_s)), F::BrukerFID);
}

TEST(FormatDetectorBrukerTest, brukerFormatOf_noFolder_isUnknown)
{
    const MarkerTree tree;
    EXPECT_EQ(brukerFormatOf(tree.path(u"missing.d"_s)), F::Unknown);
    EXPECT_EQ(brukerFormatOf(tree.make(u"file.d"_s)), F::Unknown);
}

TEST(FormatDetectorBrukerTest, brukerFormatOf_nameOfTheFolder_mattersToU2Alone)
{
    const MarkerTree tree;
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"plain"_s, { u"Analysis.yep"_s })), F::BrukerYEP);
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"other"_s, { u"other.u2"_s, u"other"_s })),
              F::Unknown);
}

TEST(FormatDetectorBrukerTest, brukerFormatOf_upperCaseFolder_hasItsU2UnderItsOwnName)
{
    const MarkerTree tree;
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"A.D"_s, { u"A.D"_s })), F::BrukerU2);
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"B.D"_s, { u"B.u2"_s, u"B.U2"_s })), F::Unknown);
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"C.D"_s, { u"C.D"_s, u"Analysis.baf"_s })),
              F::BrukerBAF_and_U2);
}

TEST(FormatDetectorBrukerTest, brukerFormatOf_dTwiceInTheName_isReplacedTwice)
{
    const MarkerTree tree;
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"a.dat.d"_s, { u"a.u2at.u2"_s })), F::BrukerU2);
    EXPECT_EQ(brukerFormatOf(tree.makeFolder(u"b.dat.d"_s, { u"b.dat.u2"_s })), F::Unknown);
}

TEST(FormatDetectorBrukerTest, brukerU2Path_names_areTurnedInLowerCaseAlone)
{
    EXPECT_EQ(brukerU2Path(u"/x/a.d"_s), u"/x/a.d/a.u2"_s);
    EXPECT_EQ(brukerU2Path(u"a.d"_s), u"a.d/a.u2"_s);
    EXPECT_EQ(brukerU2Path(u"/x.d/a.d"_s), u"/x.d/a.d/a.u2"_s);
    EXPECT_EQ(brukerU2Path(u"/x/a.dat.d"_s), u"/x/a.dat.d/a.u2at.u2"_s);
    EXPECT_EQ(brukerU2Path(u"/x/A.D"_s), u"/x/A.D/A.D"_s);
    EXPECT_EQ(brukerU2Path(u"/x/a.dat.D"_s), u"/x/a.dat.D/a.u2at.D"_s);
}

TEST(FormatDetectorBrukerTest, brukerU2Path_otherNames_haveNone)
{
    EXPECT_EQ(brukerU2Path(u"/x/a"_s), QString());
    EXPECT_EQ(brukerU2Path(u"/x.d/a"_s), QString());
    EXPECT_EQ(brukerU2Path(u"/x/a.dd"_s), QString());
    EXPECT_EQ(brukerU2Path(u"/"_s), QString());
    EXPECT_EQ(brukerU2Path(QString()), QString());
}

TEST(FormatDetectorBrukerTest, matchesByName_dInAnyCase_mayBeAnyOfTheSeven)
{
    const FormatDetectorBruker detector;
    EXPECT_EQ(sorted(detector.supportedFormats()), all);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/a.d"_s)), all);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/a.D"_s)), all);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/a.raw"_s)), nothing);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/d"_s)), nothing);
}

TEST(FormatDetectorBrukerTest, detectFormat_folderWithoutTheName_isNotAsked)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"plain"_s, { u"Analysis.yep"_s });
    EXPECT_EQ(sorted(FormatDetectorBruker().detectFormat(folder)), nothing);
}

TEST(FormatDetectorBrukerTest, facts_everyFormat_isAFolderInD)
{
    const FormatDetectorBruker detector;
    for (const VendorDataFormat format : all) {
        EXPECT_EQ(detector.fileNameExtension(format), u"d"_s);
        EXPECT_FALSE(detector.isFile(format));
        EXPECT_TRUE(detector.isFolder(format));
        EXPECT_EQ(detector.formatDescription(format),
                  format == F::BrukerTims      ? u"Bruker Tims"_s
                      : format == F::BrukerTsf ? u"Bruker Tsf"_s
                                               : u"Bruker"_s);
    }
}
