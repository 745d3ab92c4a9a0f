#pragma once

#include "errors/Error.h"

namespace zel {

/// Makes "file:" known: references, handlers and metadata. Fails if the references cannot be
/// registered; nothing else is then. Call it before other threads start.
Error registerFileScheme();

} // namespace zel
