#pragma once

#include "errors/Error.h"
#include "http/HttpSettings.h"

namespace zel {

/// Makes "list+http:" and "list+https:" known: references, handlers and metadata. Fails if the
/// references cannot be registered; nothing else is then. Call it before other threads start.
Error registerListScheme(const HttpSettings &settings = HttpSettings());

} // namespace zel
