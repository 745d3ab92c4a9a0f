#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// A folder in .raw that holds the data of a first function. (A file in .raw is of another vendor.)
class FormatDetectorWaters : public FormatDetectorSimple
{
public:
    FormatDetectorWaters();

    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
};

} // namespace zel::msreader::internal
