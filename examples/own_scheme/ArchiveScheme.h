#pragma once

#include "errors/Error.h"

namespace archive {

/// Makes the scheme known to this program: references, handlers, metadata and reports. Call it
/// before the first use of ResourceManager and before other threads start.
zel::Error registerArchiveScheme();

} // namespace archive
