#include "MsFileInfo.h"

#include "internal/Detectors.h"
#include "internal/GenericLogging.h"

namespace zel::msreader {

using internal::detectorFor;
using internal::detectors;
using internal::FormatDetectorBase;
using internal::lcGeneric;

namespace {

// Made while the library loads, as the registry of categories takes no lock.
[[maybe_unused]] const QLoggingCategory *const s_genericCategory
    = loggingCategory("zel.generic", QtDebugMsg, true);

/// Null, with a warning, if none owns the format.
const FormatDetectorBase *ownerOf(VendorDataFormat format)
{
    const FormatDetectorBase *detector = detectorFor(format);
    if (!detector)
        qCWarning(lcGeneric) << "Unknown file format:" << static_cast<int>(format);
    return detector;
}

/// The extensions of the formats for which the question is answered with yes.
QSet<QString> extensionsOf(bool (*isWanted)(VendorDataFormat))
{
    QSet<QString> extensions;
    const QSet<VendorDataFormat> formats = allFormats();
    for (const VendorDataFormat format : formats) {
        const QString extension = MsFileInfo::fileNameExtension(format);
        if (isWanted(format) && !extension.isEmpty())
            extensions.insert(extension);
    }
    return extensions;
}

} // namespace

QString MsFileInfo::fileNameExtension(VendorDataFormat format)
{
    const FormatDetectorBase *owner = ownerOf(format);
    return owner ? owner->fileNameExtension(format) : QString();
}

QString MsFileInfo::formatDescription(VendorDataFormat format)
{
    const FormatDetectorBase *owner = ownerOf(format);
    return owner ? owner->formatDescription(format) : QString();
}

bool MsFileInfo::isFile(VendorDataFormat format)
{
    const FormatDetectorBase *owner = ownerOf(format);
    return owner && owner->isFile(format);
}

bool MsFileInfo::isFolder(VendorDataFormat format)
{
    const FormatDetectorBase *owner = ownerOf(format);
    return owner && owner->isFolder(format);
}

QSet<VendorDataFormat> MsFileInfo::detectFormats(const DataSourceLocation &location,
                                                 bool extensionOnly, bool stopAtFirst)
{
    // What lies behind a handler has no path to look at, and there is one format of the kind.
    if (location.kind() == DataSourceLocation::databaseHandlerKind)
        return { VendorDataFormat::DataCutEmbedded };

    QSet<VendorDataFormat> found;
    const QString path = location.path();
    for (const auto &detector : detectors()) {
        const QSet<VendorDataFormat> formats
            = extensionOnly ? detector->matchesByName(path) : detector->detectFormat(path);
        found.unite(formats);
        if (stopAtFirst && !found.isEmpty())
            break;
    }
    return found;
}

QSet<VendorDataFormat> MsFileInfo::detectFormats(const DataSourceLocation &location)
{
    return detectFormats(location, false, false);
}

QSet<VendorDataFormat> MsFileInfo::detectFormatsByName(const DataSourceLocation &location)
{
    return detectFormats(location, true, false);
}

bool MsFileInfo::isSupportedDataSource(const DataSourceLocation &location, bool extensionOnly)
{
    return !detectFormats(location, extensionOnly, true).isEmpty();
}

QSet<VendorDataFormat> allFormats()
{
    QSet<VendorDataFormat> formats;
    for (const auto &detector : detectors())
        formats.unite(detector->supportedFormats());
    return formats;
}

QSet<QString> fileFormatExtensions()
{
    return extensionsOf(MsFileInfo::isFile);
}

QSet<QString> folderFormatExtensions()
{
    return extensionsOf(MsFileInfo::isFolder);
}

} // namespace zel::msreader
