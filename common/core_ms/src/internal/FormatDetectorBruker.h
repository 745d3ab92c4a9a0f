#pragma once

#include "internal/FormatDetectorBase.h"

namespace zel::msreader::internal {

/// A folder in .d whose inner files tell which of seven formats it has. By its name alone it may
/// have any of them.
class FormatDetectorBruker : public FormatDetectorBase
{
public:
    QSet<VendorDataFormat> supportedFormats() const override;
    QSet<VendorDataFormat> matchesByName(const QString &path) const override;
    /// One format or none.
    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
    QString fileNameExtension(VendorDataFormat format) const override;
    bool isFile(VendorDataFormat format) const override;
    bool isFolder(VendorDataFormat format) const override;
    QString formatDescription(VendorDataFormat format) const override;
};

/// Tells the format by what lies in the folder, whatever its name; Unknown if nothing there tells.
/// A folder may have the marks of several formats: the first of a fixed order counts.
VendorDataFormat brukerFormatOf(const QString &path);

/// Where the folder's u2 file lies: inside it, under its own name with each ".d" turned into ".u2".
/// Empty if the name does not end in .d. Only lower case is turned: A.D keeps its name.
QString brukerU2Path(const QString &path);

} // namespace zel::msreader::internal
