#include "internal/FormatDetectorDataCut.h"
#include "internal/FormatDetectorDataCutEmbedded.h"

#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::FormatDetectorDataCut;
using internal::FormatDetectorDataCutEmbedded;
using test::Formats;
using test::MarkerTree;
using test::sorted;

TEST(FormatDetectorDataCutTest, detectFormat_fileInDataCut_isTheFormat)
{
    const MarkerTree tree;
    const Formats dataCut { VendorDataFormat::DataCut };
    const FormatDetectorDataCut detector;
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"x.Data.Cut"_s))), dataCut);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/x.data.cut"_s)), dataCut);
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"folder.data.cut/"_s))), Formats());
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"x.cut"_s))), Formats());
}

TEST(FormatDetectorDataCutEmbeddedTest, anyCheck_anyPath_isNothing)
{
    const MarkerTree tree;
    const FormatDetectorDataCutEmbedded detector;
    for (const QString &path :
         { QString(), tree.make(u"file"_s), tree.make(u"x.data.cut"_s), tree.make(u"folder/"_s) }) {
        EXPECT_EQ(sorted(detector.matchesByName(path)), Formats());
        EXPECT_EQ(sorted(detector.detectFormat(path)), Formats());
    }
    EXPECT_EQ(sorted(detector.supportedFormats()), Formats { VendorDataFormat::DataCutEmbedded });
}
