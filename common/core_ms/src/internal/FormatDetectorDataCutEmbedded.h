#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// A data cut inside a database. It has no path, so that no path is it; what this detector gives
/// the format is an owner and a description.
class FormatDetectorDataCutEmbedded : public FormatDetectorSimple
{
public:
    FormatDetectorDataCutEmbedded();

    QSet<VendorDataFormat> matchesByName(const QString &path) const override;
    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
};

} // namespace zel::msreader::internal
