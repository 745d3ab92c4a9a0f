#pragma once

#include "platform/FreeSpace.h"

namespace zel::SchemeErrors {

/// What arrived is not what was promised: a checksum, a length, or a source that changed meanwhile.
inline constexpr int integrityFailure = 6;
/// The volume has no room for the resource.
inline constexpr int noSpace = FreeSpace::lackingCode;

} // namespace zel::SchemeErrors
