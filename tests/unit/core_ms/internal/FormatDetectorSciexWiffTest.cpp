#include "internal/FormatDetectorSciexWiff.h"
#include "internal/FormatDetectorSciexWiff2.h"

#include "LogCapture.h"
#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::FormatDetectorSciexWiff;
using internal::FormatDetectorSciexWiff2;
using internal::wiffScanPath;
using test::Formats;
using test::LogCapture;
using test::MarkerTree;
using test::sorted;

namespace {

const Formats wiff { VendorDataFormat::SciexWiff };
const Formats wiff2 { VendorDataFormat::SciexWiff2 };
const Formats nothing;

QStringList warnings(const LogCapture &log)
{
    return log.texts(QtWarningMsg, "zel.generic");
}

} // namespace

TEST(FormatDetectorSciexWiffTest, wiffScanPath_anyPath_isTheSameWithScan)
{
    EXPECT_EQ(wiffScanPath(u"/x/a.wiff"_s), u"/x/a.wiff.scan"_s);
    EXPECT_EQ(wiffScanPath(u"/x/a.WIFF"_s), u"/x/a.WIFF.scan"_s);
}

TEST(FormatDetectorSciexWiffTest, detectFormat_scanBesideIt_isTheFormat)
{
    const MarkerTree tree;
    tree.make(u"x.wiff.scan"_s);
    const LogCapture log;
    EXPECT_EQ(sorted(FormatDetectorSciexWiff().detectFormat(tree.make(u"x.wiff"_s))), wiff);
    EXPECT_EQ(warnings(log), QStringList());
}

TEST(FormatDetectorSciexWiffTest, detectFormat_upperCase_hasTheScanInTheCaseOfTheName)
{
    const MarkerTree tree;
    const QString path = tree.make(u"X.WIFF"_s);
    tree.make(u"X.wiff.scan"_s);
    EXPECT_EQ(sorted(FormatDetectorSciexWiff().detectFormat(path)), nothing);
    tree.make(u"X.WIFF.scan"_s);
    EXPECT_EQ(sorted(FormatDetectorSciexWiff().detectFormat(path)), wiff);
}

TEST(FormatDetectorSciexWiffTest, detectFormat_noScan_isNothingAndWarned)
{
    const MarkerTree tree;
    const QString path = tree.make(u"x.wiff"_s);
    tree.make(u"x.wiff.scan/"_s);
    tree.make(u"x.scan"_s);
    const LogCapture log;
    EXPECT_EQ(sorted(FormatDetectorSciexWiff().detectFormat(path)), nothing);
    EXPECT_EQ(
        warnings(log),
        QStringList(
            u"File \"%1\" looks like ABI SCIEX WIFF file. But .wiff.scan file is absent"_s.arg(
                path)));
}

TEST(FormatDetectorSciexWiffTest, detectFormat_noWiff_isNothingWithoutAWarning)
{
    const MarkerTree tree;
    tree.make(u"missing.wiff.scan"_s);
    const LogCapture log;
    const FormatDetectorSciexWiff detector;
    EXPECT_EQ(sorted(detector.detectFormat(tree.path(u"missing.wiff"_s))), nothing);
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"folder.wiff/"_s))), nothing);
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"other.wiff2"_s))), nothing);
    EXPECT_EQ(warnings(log), QStringList());
}

TEST(FormatDetectorSciexWiffTest, matchesByName_wiffWithoutScan_isNotWarned)
{
    const MarkerTree tree;
    const LogCapture log;
    EXPECT_EQ(sorted(FormatDetectorSciexWiff().matchesByName(tree.make(u"x.Wiff"_s))), wiff);
    EXPECT_EQ(sorted(FormatDetectorSciexWiff2().matchesByName(tree.make(u"x.Wiff2"_s))), wiff2);
    EXPECT_EQ(warnings(log), QStringList());
}

TEST(FormatDetectorSciexWiff2Test, detectFormat_scanOfTheWiff_isTheFormat)
{
    const MarkerTree tree;
    tree.make(u"x.wiff.scan"_s);
    const LogCapture log;
    EXPECT_EQ(sorted(FormatDetectorSciexWiff2().detectFormat(tree.make(u"x.wiff2"_s))), wiff2);
    EXPECT_EQ(warnings(log), QStringList());
}

TEST(FormatDetectorSciexWiff2Test, detectFormat_scanOfItsOwnName_isNothingAndWarned)
{
    const MarkerTree tree;
    const QString path = tree.make(u"x.wiff2"_s);
    tree.make(u"x.wiff2.scan"_s);
    const LogCapture log;
    EXPECT_EQ(sorted(FormatDetectorSciexWiff2().detectFormat(path)), nothing);
    EXPECT_EQ(
        warnings(log),
        QStringList(
            u"File \"%1\" looks like SCIEX WIFF2 file. But .wiff.scan file is absent"_s.arg(path)));
}

TEST(FormatDetectorSciexWiff2Test, detectFormat_noWiff2_isNothingWithoutAWarning)
{
    const MarkerTree tree;
    tree.make(u"missing.wiff.scan"_s);
    const LogCapture log;
    const FormatDetectorSciexWiff2 detector;
    EXPECT_EQ(sorted(detector.detectFormat(tree.path(u"missing.wiff2"_s))), nothing);
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"missing.wiff"_s))), nothing);
    EXPECT_EQ(warnings(log), QStringList());
}
