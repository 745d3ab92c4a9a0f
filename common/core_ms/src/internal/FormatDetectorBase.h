#pragma once

#include "MsDataFormat.h"

#include <QSet>

namespace zel::msreader::internal {

/// Knows how one vendor lays data out on disk. Immutable, so that all threads share one object.
class FormatDetectorBase
{
public:
    FormatDetectorBase() = default;
    FormatDetectorBase(const FormatDetectorBase &) = delete;
    FormatDetectorBase &operator=(const FormatDetectorBase &) = delete;
    virtual ~FormatDetectorBase() = default;

    /// No two detectors have a format in common.
    virtual QSet<VendorDataFormat> supportedFormats() const = 0;
    /// What the name of the path alone suggests; does not touch the disk.
    virtual QSet<VendorDataFormat> matchesByName(const QString &path) const = 0;
    /// What name and disk together show.
    virtual QSet<VendorDataFormat> detectFormat(const QString &path) const = 0;

    // About one of the supported formats
    virtual QString fileNameExtension(VendorDataFormat format) const = 0;
    virtual bool isFile(VendorDataFormat format) const = 0;
    virtual bool isFolder(VendorDataFormat format) const = 0;
    virtual QString formatDescription(VendorDataFormat format) const = 0;
};

} // namespace zel::msreader::internal
