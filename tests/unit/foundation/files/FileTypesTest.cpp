#include "files/FileTypes.h"

#include <gtest/gtest.h>

#include <list>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

using FileType = ExtendableEnum<FileTypes::FileTypeData>;

bool isOf(const QString &path, const QStringList &extensions)
{
    // A list of its own for each call: what a name is registered with stays.
    static std::list<QByteArray> names; // the types keep pointers to them
    names.push_back("TEST_" + QByteArray::number(names.size()));
    return FileTypes::isType(path, FileType(QLatin1StringView(names.back()), { extensions }));
}

} // namespace

TEST(FileTypesTest, isType_endOfTheName_decidesWhateverTheCase)
{
    EXPECT_TRUE(isOf(u"/data/a.mzML"_s, { u"raw"_s, u"mzml"_s }));
    EXPECT_TRUE(isOf(u"a.RAW"_s, { u"raw"_s }));
    EXPECT_TRUE(isOf(u"/data/run.d/"_s, { u"d"_s }));
    EXPECT_TRUE(isOf(u"/data/a.data.cut"_s, { u"data.cut"_s }));
    EXPECT_TRUE(isOf(u"/data/.d"_s, { u"d"_s }));
}

TEST(FileTypesTest, isType_otherNames_areNoneOfIt)
{
    EXPECT_FALSE(isOf(u"/data/a.raw.txt"_s, { u"raw"_s }));
    EXPECT_FALSE(isOf(u"/data.raw/a"_s, { u"raw"_s }));
    EXPECT_FALSE(isOf(u"/data/raw"_s, { u"raw"_s }));
    EXPECT_FALSE(isOf(u"/data/a.xraw"_s, { u"raw"_s }));
    EXPECT_FALSE(isOf(u"/data/a.cut"_s, { u"data.cut"_s }));
    EXPECT_FALSE(isOf(u"/data/a."_s, { QString() }));
    EXPECT_FALSE(isOf(u"/data/a.raw"_s, {}));
    EXPECT_FALSE(isOf(QString(), { u"raw"_s }));
}
