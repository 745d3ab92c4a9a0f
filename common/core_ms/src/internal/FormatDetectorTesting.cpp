#include "internal/FormatDetectorTesting.h"

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QStringView marker = u"MAGIC_STRING_GOES_HERE_zel_testing";

} // namespace

FormatDetectorTesting::FormatDetectorTesting()
    : FormatDetectorSimple(VendorDataFormat::Testing, false, QString(), u"Testing"_s)
{
}

QSet<VendorDataFormat> FormatDetectorTesting::matchesByName(const QString &path) const
{
    if (!path.endsWith(marker, Qt::CaseInsensitive))
        return {};
    return supportedFormats();
}

QSet<VendorDataFormat> FormatDetectorTesting::detectFormat(const QString &path) const
{
    return matchesByName(path);
}

} // namespace zel::msreader::internal
