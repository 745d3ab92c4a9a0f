#include "internal/FormatDetectorDataCutEmbedded.h"

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

FormatDetectorDataCutEmbedded::FormatDetectorDataCutEmbedded()
    : FormatDetectorSimple(VendorDataFormat::DataCutEmbedded, false, QString(),
                           u"Data Cut Embedded"_s)
{
}

QSet<VendorDataFormat> FormatDetectorDataCutEmbedded::matchesByName(const QString &) const
{
    return {};
}

QSet<VendorDataFormat> FormatDetectorDataCutEmbedded::detectFormat(const QString &) const
{
    return {};
}

} // namespace zel::msreader::internal
