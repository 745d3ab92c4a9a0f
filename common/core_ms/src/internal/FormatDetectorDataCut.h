#pragma once

#include "internal/FormatDetectorSimple.h"

namespace zel::msreader::internal {

/// A file in .data.cut.
class FormatDetectorDataCut : public FormatDetectorSimple
{
public:
    FormatDetectorDataCut();
};

} // namespace zel::msreader::internal
