#include "MsDataFormat.h"

#include "BracketTranslator.h"

#include <gtest/gtest.h>

#include <QMetaEnum>

using namespace zel;
using namespace zel::msreader;
using namespace Qt::Literals::StringLiterals;

namespace {

// In the order of their numbers.
const char *const names[] = { "Unknown",
                              "Testing",
                              "Zyspec2",
                              "BrukerFID",
                              "BrukerYEP",
                              "BrukerBAF",
                              "BrukerU2",
                              "BrukerBAF_and_U2",
                              "BrukerTims",
                              "BrukerTsf",
                              "AgilentAcqData",
                              "Mobilion",
                              "Waters",
                              "Shimadzu",
                              "SciexWiff",
                              "SciexWiff2",
                              "MsFaux",
                              "MsFaux2",
                              "Thermo",
                              "Mgf",
                              "Mzml",
                              "Mzxml",
                              "Zacq",
                              "DataCut",
                              "DataCutEmbedded",
                              "Csv2d" };

class VendorDataFormatTest : public testing::TestWithParam<int>
{
protected:
    VendorDataFormat format() const { return static_cast<VendorDataFormat>(GetParam()); }
    QString name() const { return QString::fromLatin1(names[GetParam()]); }
};

} // namespace

TEST_P(VendorDataFormatTest, textForm_everyFormat_isItsNameBothWays)
{
    EXPECT_EQ(vendorDataFormatToString(format()), name());
    for (const QString &text : { name(), name().toLower(), name().toUpper() }) {
        const auto read = vendorDataFormatFromString(text);
        ASSERT_TRUE(read.hasValue());
        EXPECT_EQ(read.value(), format());
    }
}

TEST_P(VendorDataFormatTest, metaObject_everyFormat_hasTheSameName)
{
    const auto metaEnum = QMetaEnum::fromType<VendorDataFormat>();
    EXPECT_STREQ(metaEnum.valueToKey(GetParam()), names[GetParam()]);
    EXPECT_EQ(metaEnum.keyToValue(names[GetParam()]), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Formats, VendorDataFormatTest, testing::Range(0, 26),
                         [](const auto &tested) { return names[tested.param]; });

TEST(MsDataFormatTest, metaObject_ofTheEnumeration_hasNoOtherValues)
{
    const auto metaEnum = QMetaEnum::fromType<VendorDataFormat>();
    EXPECT_STREQ(metaEnum.scope(), "zel::msreader::ZEL_QEnumsMsDataFormat");
    EXPECT_STREQ(metaEnum.name(), "VendorDataFormat");
    EXPECT_EQ(metaEnum.keyCount(), 26);
    EXPECT_TRUE(metaEnum.isScoped());
}

TEST(MsDataFormatTest, vendorDataFormatToString_valueWithoutName_isTheNumber)
{
    EXPECT_EQ(vendorDataFormatToString(static_cast<VendorDataFormat>(99)), u"99"_s);
    EXPECT_EQ(vendorDataFormatToString(static_cast<VendorDataFormat>(26)), u"26"_s);
    EXPECT_EQ(vendorDataFormatToString(static_cast<VendorDataFormat>(-1)), u"-1"_s);
}

TEST(MsDataFormatTest, vendorDataFormatFromString_otherCase_isTheSameFormat)
{
    EXPECT_EQ(vendorDataFormatFromString(u"thermo"_s).value(), VendorDataFormat::Thermo);
}

TEST(MsDataFormatTest, vendorDataFormatFromString_noName_failsAndShowsTheText)
{
    const auto read = vendorDataFormatFromString(u"Thermo %1 "_s);
    ASSERT_FALSE(read.hasValue());
    EXPECT_EQ(read.error().errorCode(), ErrorCode::BadArgument);
    EXPECT_EQ(read.error().errorMessage(),
              u"Could not find match for converting vendor data format to string: Thermo %1 "_s);
    EXPECT_EQ(read.error().trail().size(), 1);
}

TEST(MsDataFormatTest, vendorDataFormatFromString_numbersAndNothing_areNoNames)
{
    for (const QString &text : { QString(), u"18"_s, u"Thermo "_s, u"Bruker"_s })
        EXPECT_FALSE(vendorDataFormatFromString(text).hasValue());
}

TEST(MsDataFormatTest, vendorDataFormatFromString_failure_isTranslated)
{
    const test::BracketTranslator translator;
    EXPECT_EQ(
        vendorDataFormatFromString(u"x"_s).error().errorMessage(),
        u"zel::msreader<Could not find match for converting vendor data format to string: x>"_s);
}
