#include "internal/FormatDetectorWaters.h"

#include <QDir>

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

FormatDetectorWaters::FormatDetectorWaters()
    : FormatDetectorSimple(VendorDataFormat::Waters, true, u".raw"_s, u"Waters"_s)
{
}

QSet<VendorDataFormat> FormatDetectorWaters::detectFormat(const QString &path) const
{
    if (FormatDetectorSimple::detectFormat(path).isEmpty() || !QDir(path).exists(u"_FUNC001.DAT"_s))
        return {};
    return supportedFormats();
}

} // namespace zel::msreader::internal
