#include "internal/FormatDetectorTesting.h"

#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::FormatDetectorTesting;
using test::Formats;
using test::MarkerTree;
using test::sorted;

TEST(FormatDetectorTestingTest, anyCheck_markerAtTheEnd_needsNoFile)
{
    const Formats testing { VendorDataFormat::Testing };
    const FormatDetectorTesting detector;
    for (const QString &path : { u"MAGIC_STRING_GOES_HERE_zel_testing"_s,
                                 u"/nowhere/xMAGIC_STRING_GOES_HERE_zel_testing"_s,
                                 u"/nowhere/magic_string_goes_here_ZEL_TESTING"_s }) {
        EXPECT_EQ(sorted(detector.matchesByName(path)), testing);
        EXPECT_EQ(sorted(detector.detectFormat(path)), testing);
    }
}

TEST(FormatDetectorTestingTest, anyCheck_otherPaths_areNothing)
{
    const MarkerTree tree;
    const FormatDetectorTesting detector;
    for (const QString &path : { QString(), tree.make(u"file"_s), tree.make(u"folder/"_s),
                                 u"MAGIC_STRING_GOES_HERE_zel_testing.raw"_s,
                                 u"MAGIC_STRING_GOES_HERE_zel_testing/"_s }) {
        EXPECT_EQ(sorted(detector.matchesByName(path)), Formats());
        EXPECT_EQ(sorted(detector.detectFormat(path)), Formats());
    }
}
