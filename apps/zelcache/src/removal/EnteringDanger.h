#pragma once

#include "Context.h"

#include <QStringList>

#include <optional>

namespace zel::cli {

/// openCache() for a command that makes handlers of these references. A handler enters its resource
/// into the cache, which then makes room by itself if it is above its optimal size; and what is
/// kept until its last use ends goes with that. If one of these removals would take more than its
/// own data, that is said and the code to end with returned, before there is any handler. Of a
/// large cache reads all rows only if it is above its optimal size.
std::optional<ExitCode> openCacheToEnter(const Context &context, const QStringList &references);

} // namespace zel::cli
