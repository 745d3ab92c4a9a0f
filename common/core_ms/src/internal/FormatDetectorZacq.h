#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// A container in .zacq, which comes as a file and as a folder.
class FormatDetectorZacq : public FormatDetectorSimple
{
public:
    FormatDetectorZacq();

    QSet<VendorDataFormat> detectFormat(const QString &path) const override;
    bool isFile(VendorDataFormat format) const override;
    bool isFolder(VendorDataFormat format) const override;
};

} // namespace zel::msreader::internal
