#include "internal/FormatDetectorSciexWiff.h"

#include "files/PathUtils.h"
#include "internal/GenericLogging.h"

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

namespace {

// Made while the library loads, as the registry of categories takes no lock.
[[maybe_unused]] const QLoggingCategory *const s_genericCategory
    = loggingCategory("zel.generic", QtDebugMsg, true);

} // namespace

FormatDetectorSciexWiff::FormatDetectorSciexWiff()
    : FormatDetectorSimple(VendorDataFormat::SciexWiff, false, u".wiff"_s, u"Sciex wiff"_s)
{
}

QSet<VendorDataFormat> FormatDetectorSciexWiff::detectFormat(const QString &path) const
{
    if (FormatDetectorSimple::detectFormat(path).isEmpty())
        return {};
    if (PathUtils::isExistingFile(wiffScanPath(path)))
        return supportedFormats();
    qCWarning(lcGeneric) << "File" << path
                         << "looks like ABI SCIEX WIFF file. But .wiff.scan file is absent";
    return {};
}

QString wiffScanPath(const QString &path)
{
    return path + u".scan"_s;
}

} // namespace zel::msreader::internal
