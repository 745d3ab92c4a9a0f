#include "internal/FormatDetectorSimple.h"

#include "files/PathUtils.h"

namespace zel::msreader::internal {

FormatDetectorSimple::FormatDetectorSimple(VendorDataFormat format, bool isFolder,
                                           const QString &extension, const QString &description)
    : format(format)
    , folder(isFolder)
    , extension(extension)
    , description(description)
{
}

QSet<VendorDataFormat> FormatDetectorSimple::supportedFormats() const
{
    return { format };
}

QSet<VendorDataFormat> FormatDetectorSimple::matchesByName(const QString &path) const
{
    if (!path.endsWith(extension, Qt::CaseInsensitive))
        return {};
    return supportedFormats();
}

QSet<VendorDataFormat> FormatDetectorSimple::detectFormat(const QString &path) const
{
    if (matchesByName(path).isEmpty())
        return {};
    const bool exists = folder ? PathUtils::isExistingDir(path) : PathUtils::isExistingFile(path);
    if (!exists)
        return {};
    return supportedFormats();
}

QString FormatDetectorSimple::fileNameExtension(VendorDataFormat) const
{
    return extension.mid(1);
}

bool FormatDetectorSimple::isFile(VendorDataFormat) const
{
    return !folder;
}

bool FormatDetectorSimple::isFolder(VendorDataFormat) const
{
    return folder;
}

QString FormatDetectorSimple::formatDescription(VendorDataFormat) const
{
    return description;
}

} // namespace zel::msreader::internal
