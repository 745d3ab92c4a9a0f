#pragma once

#include "references/ResourceReference.h"

namespace zel {

/// The scheme's enumerator as text, for messages; empty for a value without one.
QString schemeKey(ResourceReference::Scheme scheme);

} // namespace zel
