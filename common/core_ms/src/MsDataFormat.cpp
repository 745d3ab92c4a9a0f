#include "MsDataFormat.h"

#include "errors/Propagate.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

namespace zel::msreader {

using namespace Qt::Literals::StringLiterals;

namespace {

struct FormatText
{
    QString text;
    VendorDataFormat format;
};

// Never destroyed: formats may be named until the process ends.
const auto &s_formatTexts = *new const std::array<FormatText, 26> { {
    { u"Unknown"_s, VendorDataFormat::Unknown },
    { u"Testing"_s, VendorDataFormat::Testing },
    { u"Zyspec2"_s, VendorDataFormat::Zyspec2 },
    { u"BrukerFID"_s, VendorDataFormat::BrukerFID },
    { u"BrukerYEP"_s, VendorDataFormat::BrukerYEP },
    { u"BrukerBAF"_s, VendorDataFormat::BrukerBAF },
    { u"BrukerU2"_s, VendorDataFormat::BrukerU2 },
    { u"BrukerBAF_and_U2"_s, VendorDataFormat::BrukerBAF_and_U2 },
    { u"BrukerTims"_s, VendorDataFormat::BrukerTims },
    { u"BrukerTsf"_s, VendorDataFormat::BrukerTsf },
    { u"AgilentAcqData"_s, VendorDataFormat::AgilentAcqData },
    { u"Mobilion"_s, VendorDataFormat::Mobilion },
    { u"Waters"_s, VendorDataFormat::Waters },
    { u"Shimadzu"_s, VendorDataFormat::Shimadzu },
    { u"SciexWiff"_s, VendorDataFormat::SciexWiff },
    { u"SciexWiff2"_s, VendorDataFormat::SciexWiff2 },
    { u"MsFaux"_s, VendorDataFormat::MsFaux },
    { u"MsFaux2"_s, VendorDataFormat::MsFaux2 },
    { u"Thermo"_s, VendorDataFormat::Thermo },
    { u"Mgf"_s, VendorDataFormat::Mgf },
    { u"Mzml"_s, VendorDataFormat::Mzml },
    { u"Mzxml"_s, VendorDataFormat::Mzxml },
    { u"Zacq"_s, VendorDataFormat::Zacq },
    { u"DataCut"_s, VendorDataFormat::DataCut },
    { u"DataCutEmbedded"_s, VendorDataFormat::DataCutEmbedded },
    { u"Csv2d"_s, VendorDataFormat::Csv2d },
} };

} // namespace

QString vendorDataFormatToString(VendorDataFormat format)
{
    const auto isFormat = [format](const FormatText &entry) {
        return entry.format == format;
    };
    const auto *const found = std::find_if(s_formatTexts.begin(), s_formatTexts.end(), isFormat);
    if (found == s_formatTexts.end())
        return QString::number(static_cast<int>(format), 10);
    return found->text;
}

Result<VendorDataFormat> vendorDataFormatFromString(const QString &text)
{
    const auto isText = [&text](const FormatText &entry) {
        return QString::compare(entry.text, text, Qt::CaseInsensitive) == 0;
    };
    const auto *const found = std::find_if(s_formatTexts.begin(), s_formatTexts.end(), isText);
    if (found != s_formatTexts.end())
        return found->format;
    return ZEL_ERROR(
        ErrorCode::BadArgument,
        QCoreApplication::translate(
            "zel::msreader", "Could not find match for converting vendor data format to string: %1")
            .arg(text));
}

} // namespace zel::msreader
