#pragma once

#include "errors/Logging.h"

namespace zel::msreader::internal {

/// "zel.generic", the category of all that recognises data formats. Any thread once the library is
/// loaded: the category is made while it loads.
inline const QLoggingCategory &lcGeneric()
{
    return *loggingCategory("zel.generic", QtDebugMsg, false);
}

} // namespace zel::msreader::internal
