#include "MsFileTypes.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList folders { u"d"_s, u"raw"_s, u"zacq"_s };
const QStringList files { u"csv2d"_s,  u"data.cut"_s, u"lcd"_s,  u"mbi"_s,    u"mgf"_s,
                          u"msfaux"_s, u"msfaux2"_s,  u"mzml"_s, u"mzxml"_s,  u"raw"_s,
                          u"wiff"_s,   u"wiff2"_s,    u"zacq"_s, u"zyspec2"_s };

QStringList extensionsOf(ExtendableEnumRef<FileTypes::FileTypeData> type)
{
    return type.data().extensions;
}

} // namespace

TEST(MsFileTypesTest, registeredValues_afterLoading_beginWithTheFourInOrder)
{
    const auto &values = MsFileTypes::FileType::registeredValues();
    const QLatin1StringView names[] = { "ZYSPEC2"_L1, "MS"_L1, "MS_DIR"_L1, "MS_FILE"_L1 };
    ASSERT_GE(values.size(), std::size(names));
    for (std::size_t i = 0; i < std::size(names); ++i)
        EXPECT_EQ(values[i].name(), names[i]);
}

TEST(MsFileTypesTest, extensions_areThoseOfTheFormatsInSortedOrder)
{
    EXPECT_EQ(extensionsOf(MsFileTypes::zyspec2), QStringList(u"zyspec2"_s));
    EXPECT_EQ(extensionsOf(MsFileTypes::msDir), folders);
    EXPECT_EQ(extensionsOf(MsFileTypes::msFile), files);
    QStringList both = files + QStringList(u"d"_s);
    both.sort();
    EXPECT_EQ(extensionsOf(MsFileTypes::ms), both);
}

TEST(MsFileTypesTest, isType_filesAndFolders_areToldByTheirNames)
{
    EXPECT_TRUE(FileTypes::isType(u"/data/x.mzML"_s, MsFileTypes::ms));
    EXPECT_TRUE(FileTypes::isType(u"/data/x.d"_s, MsFileTypes::ms));
    EXPECT_TRUE(FileTypes::isType(u"/data/x.mzML"_s, MsFileTypes::msFile));
    EXPECT_FALSE(FileTypes::isType(u"/data/x.mzML"_s, MsFileTypes::msDir));
    EXPECT_FALSE(FileTypes::isType(u"/data/x.d"_s, MsFileTypes::msFile));
    EXPECT_TRUE(FileTypes::isType(u"/data/x.d"_s, MsFileTypes::msDir));
    EXPECT_TRUE(FileTypes::isType(u"/data/x.zyspec2"_s, MsFileTypes::zyspec2));
    EXPECT_FALSE(FileTypes::isType(u"/data/x.txt"_s, MsFileTypes::ms));
}

TEST(MsFileTypesTest, anotherValueOfTheName_addsNothing)
{
    const auto countOfMs = [] {
        const auto &values = MsFileTypes::FileType::registeredValues();
        return std::count_if(values.begin(), values.end(),
                             [](const auto &value) { return value.name() == "MS"_L1; });
    };
    const MsFileTypes::FileType second("MS"_L1, { { u"txt"_s } });
    EXPECT_EQ(countOfMs(), 1);
    EXPECT_FALSE(FileTypes::isType(u"/data/x.txt"_s, second));
}
