#pragma once

#include "errors/Error.h"
#include "http/HttpSettings.h"

namespace zel {

/// Makes "http:" and "https:" known: references, handlers and metadata. Fails if the references
/// cannot be registered; nothing else is then. Call it before other threads start.
Error registerHttpScheme(const HttpSettings &settings = HttpSettings());

} // namespace zel
