#include "internal/FormatDetectorWaters.h"

#include "support/MarkerTree.h"

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;
using internal::FormatDetectorWaters;
using test::Formats;
using test::MarkerTree;
using test::sorted;

namespace {

const Formats waters { VendorDataFormat::Waters };
const Formats nothing;

Formats detected(const QString &path)
{
    return sorted(FormatDetectorWaters().detectFormat(path));
}

} // namespace

TEST(FormatDetectorWatersTest, detectFormat_folderWithAFirstFunction_isTheFormat)
{
    const MarkerTree tree;
    EXPECT_EQ(detected(tree.makeFolder(u"y.raw"_s, { u"_FUNC001.DAT"_s })), waters);
    EXPECT_EQ(detected(tree.makeFolder(u"Y.RAW"_s, { u"_FUNC001.DAT"_s })), waters);
}

TEST(FormatDetectorWatersTest, detectFormat_folderWithoutIt_isNothing)
{
    const MarkerTree tree;
    EXPECT_EQ(detected(tree.makeFolder(u"empty.raw"_s)), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"second.raw"_s, { u"_FUNC002.DAT"_s })), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"deeper.raw"_s, { u"s/_FUNC001.DAT"_s })), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"case.raw"_s, { u"_func001.dat"_s })), nothing);
}

TEST(FormatDetectorWatersTest, detectFormat_noSuchFolder_isNothing)
{
    const MarkerTree tree;
    EXPECT_EQ(detected(tree.make(u"file.raw"_s)), nothing);
    EXPECT_EQ(detected(tree.path(u"missing.raw"_s)), nothing);
    EXPECT_EQ(detected(tree.makeFolder(u"other"_s, { u"_FUNC001.DAT"_s })), nothing);
}

TEST(FormatDetectorWatersTest, matchesByName_raw_needsNoFolder)
{
    const FormatDetectorWaters detector;
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/y.Raw"_s)), waters);
    EXPECT_EQ(sorted(detector.matchesByName(u"/nowhere/y.raws"_s)), nothing);
}
