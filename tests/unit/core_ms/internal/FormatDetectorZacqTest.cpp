#include "internal/FormatDetectorZacq.h"

#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::FormatDetectorZacq;
using test::Formats;
using test::MarkerTree;
using test::sorted;

TEST(FormatDetectorZacqTest, detectFormat_fileOrFolder_isTheFormat)
{
    const MarkerTree tree;
    const Formats zacq { VendorDataFormat::Zacq };
    const FormatDetectorZacq detector;
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"file.zacq"_s))), zacq);
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"folder.ZACQ/"_s))), zacq);
    EXPECT_EQ(sorted(detector.detectFormat(tree.path(u"missing.zacq"_s))), Formats());
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"other.file"_s))), Formats());
    EXPECT_EQ(sorted(detector.detectFormat(tree.make(u"other.folder/"_s))), Formats());
    EXPECT_EQ(sorted(detector.matchesByName(tree.path(u"missing.zacq"_s))), zacq);
}

TEST(FormatDetectorZacqTest, kind_isFileAndFolder)
{
    const FormatDetectorZacq detector;
    EXPECT_TRUE(detector.isFile(VendorDataFormat::Zacq));
    EXPECT_TRUE(detector.isFolder(VendorDataFormat::Zacq));
}
