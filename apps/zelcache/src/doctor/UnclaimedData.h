#pragma once

#include "ResourceManagerSettings.h"

#include "errors/Error.h"

#include <QList>
#include <QStringList>

#include <chrono>

namespace zel::cli {

/// Removes what lies in the data directory without belonging to anything. Gives an outcome for each
/// of the paths: a failure for one that somebody claims by now, which stays. Takes no lock.
QList<Error> removeUnclaimed(const QStringList &paths, const ResourceManagerSettings &settings,
                             std::chrono::milliseconds minimumAge);

} // namespace zel::cli
