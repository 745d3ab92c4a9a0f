#include "internal/FormatDetectorSciexWiff2.h"

#include "files/PathUtils.h"
#include "internal/FormatDetectorSciexWiff.h"
#include "internal/GenericLogging.h"

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

namespace {

// Made while the library loads, as the registry of categories takes no lock.
[[maybe_unused]] const QLoggingCategory *const s_genericCategory
    = loggingCategory("zel.generic", QtDebugMsg, true);

} // namespace

FormatDetectorSciexWiff2::FormatDetectorSciexWiff2()
    : FormatDetectorSimple(VendorDataFormat::SciexWiff2, false, u".wiff2"_s, u"Sciex wiff2"_s)
{
}

QSet<VendorDataFormat> FormatDetectorSciexWiff2::detectFormat(const QString &path) const
{
    if (FormatDetectorSimple::detectFormat(path).isEmpty())
        return {};
    // Without its last character the name is that of the .wiff, whose data both share.
    if (PathUtils::isExistingFile(wiffScanPath(path.chopped(1))))
        return supportedFormats();
    qCWarning(lcGeneric) << "File" << path
                         << "looks like SCIEX WIFF2 file. But .wiff.scan file is absent";
    return {};
}

} // namespace zel::msreader::internal
