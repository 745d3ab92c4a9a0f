#pragma once

#include "errors/Error.h"
#include "http/HttpSettings.h"

namespace zel {

/// Makes "dav:" and "davs:" known: references, handlers and metadata. Fails if the references
/// cannot be registered; nothing else is then. Call it before other threads start.
Error registerDavScheme(const HttpSettings &settings = HttpSettings());

} // namespace zel
