#include "internal/FormatDetectorAgilent.h"

#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::FormatDetectorAgilent;
using test::Formats;
using test::MarkerTree;
using test::sorted;

namespace {

const Formats agilent { VendorDataFormat::AgilentAcqData };
const Formats nothing;

Formats detected(const QString &path)
{
    return sorted(FormatDetectorAgilent().detectFormat(path));
}

struct Case
{
    const char *name;
    QString entry; ///< in a.d
    bool isData;
};

const Case cases[] = {
    { "folder", u"AcqData/"_s, true },
    { "folderInOtherCase", u"ACQdata/"_s, true },
    { "profile", u"AcqData/msprofile.bin"_s, true },
    { "peak", u"acqdata/MSPeak.bin"_s, true },
    { "scan", u"AcqData/MSSCAN.BIN"_s, true },
    { "folderBelowAnotherD", u"deep/down/b.D/AcqData/"_s, true },
    { "fileBelowAnotherD", u"deep/b.d/AcqData/msscan.bin"_s, true },
    { "belowAFolderWithoutD", u"deep/AcqData/msscan.bin"_s, false },
    { "fileInPlaceOfTheFolder", u"AcqData"_s, false },
    { "longerName", u"AcqData2/"_s, false },
    { "longerNameBefore", u"xAcqData/"_s, false },
    { "filesWithoutTheFolder", u"msscan.bin"_s, false },
    { "hiddenFolder", u".hidden/b.d/AcqData/"_s, false },
    { "otherFile", u"analysis.tdf"_s, false },
};

class FormatDetectorAgilentEntryTest : public testing::TestWithParam<Case>
{
};

} // namespace

TEST_P(FormatDetectorAgilentEntryTest, detectFormat_entryInTheFolder_decides)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s, { u"other.txt"_s, GetParam().entry });
    EXPECT_EQ(detected(folder), GetParam().isData ? agilent : nothing);
}

INSTANTIATE_TEST_SUITE_P(Entries, FormatDetectorAgilentEntryTest, testing::ValuesIn(cases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(FormatDetectorAgilentTest, detectFormat_nameInAnyCase_isAsked)
{
    const MarkerTree tree;
    EXPECT_EQ(detected(tree.makeFolder(u"A.D"_s, { u"AcqData/"_s })), agilent);
    EXPECT_EQ(detected(tree.makeFolder(u".d"_s, { u"AcqData/"_s })), agilent);
}

TEST(FormatDetectorAgilentTest, detectFormat_otherNames_areNot)
{
    const MarkerTree tree;
    EXPECT_EQ(detected(tree.makeFolder(u"a"_s, { u"AcqData/"_s })), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"b"_s, { u"b.d/AcqData/"_s })), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"a.dd"_s, { u"AcqData/"_s })), nothing);
}

TEST(FormatDetectorAgilentTest, detectFormat_noFolder_isNothing)
{
    const MarkerTree tree;
    EXPECT_EQ(detected(tree.path(u"missing.d"_s)), nothing);
    EXPECT_EQ(detected(tree.make(u"file.d"_s)), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"empty.d"_s)), nothing);
}

TEST(FormatDetectorAgilentTest, detectFormat_entryOfOneNameAndTheWrongKind_leavesItToTheOthers)
{
    const MarkerTree tree;
    const QString folder
        = tree.makeFolder(u"a.d"_s, { u"AcqData"_s, u"b.d/acqdata"_s, u"c.d/AcqData/"_s });
    EXPECT_EQ(detected(folder), agilent);
}

TEST(FormatDetectorAgilentTest, detectFormat_links_areFollowed)
{
    const MarkerTree tree;
    const QString outside = tree.makeFolder(u"outside"_s, { u"b.d/AcqData/"_s, u"data/"_s });

    const QString toTree = tree.makeFolder(u"toTree.d"_s);
    tree.link(outside, u"toTree.d/link"_s);
    EXPECT_EQ(detected(toTree), agilent);

    const QString toData = tree.makeFolder(u"toData.d"_s);
    tree.link(outside + u"/data"_s, u"toData.d/AcqData"_s);
    EXPECT_EQ(detected(toData), agilent);

    EXPECT_EQ(detected(tree.link(toData, u"itself.d"_s)), agilent);
}

TEST(FormatDetectorAgilentTest, detectFormat_brokenLink_isNothing)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s);
    tree.link(tree.path(u"missing"_s), u"a.d/AcqData"_s);
    EXPECT_EQ(detected(folder), nothing);
}

// Each link alone doubles the ways through the tree at every level: entered again and again, up to
// the length that paths may have, there would be more ways than any time limit allows.
TEST(FormatDetectorAgilentTest, detectFormat_circlesOfLinks_end)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s, { u"sub/deeper/file.txt"_s });
    tree.link(u"."_s, u"a.d/self"_s);
    tree.link(u"self2"_s, u"a.d/self2"_s); // leads nowhere at all
    tree.link(folder, u"a.d/absolute"_s);
    tree.link(u".."_s, u"a.d/sub/up"_s);
    tree.link(u"../.."_s, u"a.d/sub/deeper/top"_s);
    tree.link(folder, u"a.d/sub/deeper/again.d"_s);
    EXPECT_EQ(detected(folder), nothing);

    tree.make(u"a.d/sub/deeper/b.d/AcqData/msscan.bin"_s);
    EXPECT_EQ(detected(folder), agilent);
}

TEST(FormatDetectorAgilentTest, detectFormat_circleOutsideTheFolder_ends)
{
    const MarkerTree tree;
    tree.makeFolder(u"one"_s);
    tree.makeFolder(u"two"_s);
    tree.link(tree.path(u"two"_s), u"one/toTwo"_s);
    tree.link(tree.path(u"two"_s), u"one/toTwoAgain"_s);
    tree.link(tree.path(u"one"_s), u"two/toOne"_s);
    tree.link(tree.path(u"one"_s), u"two/toOneAgain"_s);
    const QString folder = tree.makeFolder(u"a.d"_s);
    tree.link(tree.path(u"one"_s), u"a.d/link"_s);
    EXPECT_EQ(detected(folder), nothing);
}

TEST(FormatDetectorAgilentTest, detectFormat_moreEntriesThanAnyData_givesUp)
{
    const MarkerTree tree;
    const QString folder = tree.makeFolder(u"a.d"_s, { u"sub/deeper/b.d/AcqData/"_s });
    EXPECT_EQ(sorted(FormatDetectorAgilent(1).detectFormat(folder)), nothing);
    EXPECT_EQ(sorted(FormatDetectorAgilent(1000).detectFormat(folder)), agilent);
}

TEST(FormatDetectorAgilentTest, matchesByName_dInAnyCase_needsNoFolder)
{
    const FormatDetectorAgilent detector;
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/a.D"_s)), agilent);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/a.raw"_s)), nothing);
}
