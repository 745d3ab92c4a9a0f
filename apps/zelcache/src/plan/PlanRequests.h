#pragma once

#include "Context.h"

#include <QStringList>

namespace zel::cli {

/// Answers what a fetch of these resources would bring and evict, whether it would fit and how long
/// it would take. Asks the sources for the sizes of what is not here. Takes no part in the cache:
/// takes no lock and changes no row. One that was never made is an empty one. Main thread only.
ExitCode planRequests(const Context &context, const QStringList &arguments);

} // namespace zel::cli
