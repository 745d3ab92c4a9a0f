#pragma once

#include "ResourceManagerSettings.h"

#include "errors/Error.h"

#include <QList>
#include <QStringList>

#include <chrono>
#include <functional>

namespace zel::cli {

/// Removes what lies in the data directory without belonging to anything. Gives an outcome for each
/// of the paths: a failure for one that somebody claims by now, which stays. Takes no lock. Once it
/// is interrupted, what was not removed goes back to its place, with a failure of code 20.
QList<Error> removeUnclaimed(const QStringList &paths, const ResourceManagerSettings &settings,
                             std::chrono::milliseconds minimumAge,
                             const std::function<bool()> &isInterrupted);

} // namespace zel::cli
