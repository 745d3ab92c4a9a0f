#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// Where the data of a .wiff file lies: beside it.
QString wiffScanPath(const QString &path);

/// A file in .wiff with its .wiff.scan beside it: the one has the descriptions, the other the data.
/// A .wiff that is alone is no data and logged as a warning.
class FormatDetectorSciexWiff : public FormatDetectorSimple
{
public:
    FormatDetectorSciexWiff();

    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
};

} // namespace zel::msreader::internal
