#pragma once

#include "internal/FormatDetectorBase.h"

namespace zel::msreader::internal {

/// One format that its file name tells; what else must be there is for derived classes.
class FormatDetectorSimple : public FormatDetectorBase
{
public:
    /// `extension` with its dot
    FormatDetectorSimple(VendorDataFormat format, bool isFolder, const QString &extension,
                         const QString &description);

    QSet<VendorDataFormat> supportedFormats() const override;
    QSet<VendorDataFormat> matchesByName(const QString &path) const override;
    /// The name must match, and a file or folder must be there, as the format says.
    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
    QString fileNameExtension(VendorDataFormat format) const override;
    bool isFile(VendorDataFormat format) const override;
    bool isFolder(VendorDataFormat format) const override;
    QString formatDescription(VendorDataFormat format) const override;

private:
    VendorDataFormat format;
    bool folder;
    QString extension;
    QString description;
};

} // namespace zel::msreader::internal
