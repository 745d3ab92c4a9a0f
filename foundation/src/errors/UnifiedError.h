#pragma once

#include "errors/Error.h"

#include <QSet>

namespace zel::UnifiedError {

/// Folds the failures of many items into one: the code that all of them share, else 1, and the
/// distinct messages, sorted, a line each. An empty set gives a success.
ZEL_RESOURCE_MANAGER_EXPORT Error computeUnifiedError(const QSet<Error> &errors);

} // namespace zel::UnifiedError
