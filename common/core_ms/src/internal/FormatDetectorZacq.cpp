#include "internal/FormatDetectorZacq.h"

#include "files/PathUtils.h"

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

FormatDetectorZacq::FormatDetectorZacq()
    : FormatDetectorSimple(VendorDataFormat::Zacq, true, u".zacq"_s, u"Zelmark Acquisition file"_s)
{
}

QSet<VendorDataFormat> FormatDetectorZacq::detectFormat(const QString &path) const
{
    if (FormatDetectorSimple::matchesByName(path).isEmpty())
        return {};
    const bool exists = PathUtils::isExistingDir(path) || PathUtils::isExistingFile(path);
    return exists ? supportedFormats() : QSet<VendorDataFormat>();
}

bool FormatDetectorZacq::isFile(VendorDataFormat) const
{
    return true;
}

bool FormatDetectorZacq::isFolder(VendorDataFormat) const
{
    return true;
}

} // namespace zel::msreader::internal
