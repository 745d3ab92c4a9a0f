#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// A file in .wiff2 with a .wiff.scan beside it, the very one that a .wiff would have. A .wiff2
/// that is alone is no data and logged as a warning.
class FormatDetectorSciexWiff2 : public FormatDetectorSimple
{
public:
    FormatDetectorSciexWiff2();

    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
};

} // namespace zel::msreader::internal
