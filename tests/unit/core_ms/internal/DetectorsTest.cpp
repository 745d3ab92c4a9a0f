#include "internal/Detectors.h"

#include "MsFileInfo.h"
#include "internal/FormatDetectorSimple.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace zel::msreader;
using namespace zel::msreader::internal;
using namespace Qt::Literals::StringLiterals;

namespace {

using F = VendorDataFormat;

std::unique_ptr<FormatDetectorBase> detectorOf(VendorDataFormat format)
{
    return std::make_unique<FormatDetectorSimple>(format, false, u".x"_s, u"X"_s);
}

std::vector<std::unique_ptr<FormatDetectorBase>> detectorsOf(const QList<VendorDataFormat> &formats)
{
    std::vector<std::unique_ptr<FormatDetectorBase>> list;
    for (const VendorDataFormat format : formats)
        list.push_back(detectorOf(format));
    return list;
}

} // namespace

TEST(DetectorsTest, detectors_order_isThatInWhichTheyAreAsked)
{
    const QList<QSet<VendorDataFormat>> expected {
        { F::AgilentAcqData },
        { F::BrukerFID, F::BrukerYEP, F::BrukerBAF, F::BrukerU2, F::BrukerBAF_and_U2, F::BrukerTims,
          F::BrukerTsf },
        { F::Zyspec2 },
        { F::Csv2d },
        { F::DataCut },
        { F::DataCutEmbedded },
        { F::MsFaux },
        { F::MsFaux2 },
        { F::Mgf },
        { F::Mzml },
        { F::Mzxml },
        { F::Zacq },
        { F::Mobilion },
        { F::SciexWiff },
        { F::SciexWiff2 },
        { F::Shimadzu },
        { F::Thermo },
        { F::Testing },
        { F::Waters },
    };
    QList<QSet<VendorDataFormat>> actual;
    for (const auto &detector : detectors())
        actual.append(detector->supportedFormats());
    EXPECT_EQ(actual, expected);
}

TEST(DetectorsTest, detectors_askedAgain_areTheSameObjects)
{
    EXPECT_EQ(&detectors(), &detectors());
}

TEST(DetectorsTest, detectorFor_everyFormat_isItsOwner)
{
    const QSet<VendorDataFormat> formats = allFormats();
    for (const VendorDataFormat format : formats) {
        const FormatDetectorBase *owner = detectorFor(format);
        ASSERT_NE(owner, nullptr);
        EXPECT_TRUE(owner->supportedFormats().contains(format));
    }
}

TEST(DetectorsTest, detectorFor_formatThatNobodyOwns_isNull)
{
    EXPECT_EQ(detectorFor(F::Unknown), nullptr);
    EXPECT_EQ(detectorFor(static_cast<VendorDataFormat>(99)), nullptr);
}

TEST(DetectorsTest, checkForIntersection_formatsOfTheirOwn_pass)
{
    EXPECT_NO_THROW(checkForIntersection(detectorsOf({})));
    EXPECT_NO_THROW(checkForIntersection(detectorsOf({ F::Mgf, F::Mzml })));
    EXPECT_NO_THROW(checkForIntersection(detectors()));
}

TEST(DetectorsTest, checkForIntersection_commonFormat_throws)
{
    const auto list = detectorsOf({ F::Mgf, F::Mzml, F::Mgf });
    try {
        checkForIntersection(list);
        FAIL() << "no exception";
    } catch (const std::runtime_error &exception) {
        EXPECT_STREQ(exception.what(), "Developer's exception: format intersection detected.");
    }
}
