#include "internal/FormatDetectorDataCut.h"

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

FormatDetectorDataCut::FormatDetectorDataCut()
    : FormatDetectorSimple(VendorDataFormat::DataCut, false, u".data.cut"_s, u"Data Cut"_s)
{
}

} // namespace zel::msreader::internal
