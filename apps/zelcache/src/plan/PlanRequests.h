#pragma once

#include "Context.h"

#include <QStringList>

namespace zel::cli {

/// Answers what a fetch of these resources would bring and evict, and whether it would fit. Asks
/// the sources for the sizes of what is not here. No resource is fetched, entered or removed. The
/// cache must exist. Main thread only.
ExitCode planRequests(const Context &context, const QStringList &arguments);

} // namespace zel::cli
