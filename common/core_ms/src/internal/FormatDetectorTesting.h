#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// Any path that ends in a marker which no real name ends in. Neither check asks the disk.
class FormatDetectorTesting : public FormatDetectorSimple
{
public:
    FormatDetectorTesting();

    QSet<VendorDataFormat> matchesByName(const QString &path) const override;
    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
};

} // namespace zel::msreader::internal
