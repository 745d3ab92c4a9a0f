#pragma once

#include "Context.h"

#include "ResourceHandler.h"
#include "ResourceManagerSettings.h"
#include "plan/FitPlan.h"

namespace zel::cli {

/// The rows of what the references may mean. A cache that was never made has none.
Result<ResourceCacheReader::Snapshot> rowsToPlanWith(const ResourceManagerSettings &settings,
                                                     const QStringList &references);

/// The plan for a cache as it is at this moment. Adds to `missing` what is on the disk of it
/// already, and leaves out what has come meanwhile. Takes no lock, and of a large cache reads all
/// rows only if something has to go.
Result<FitPlan> planFetch(const ResourceManagerSettings &settings, QList<FitPlan::Missing> missing,
                          const QStringList &wanted);

/// Why a fetch with that plan must not begin: what would go for it would take more than itself.
/// Empty if it may.
QString whyNotToMakeRoom(const ResourceManagerSettings &settings, const FitPlan &plan);

/// Asks the sources of what a fetch is about to bring. If it cannot fit, even after what can go has
/// gone, that is said and the code to end with returned; if something has to go for it, that goes.
/// What cannot be told stops nothing. The manager's cache must be open. Main thread only.
std::optional<ExitCode> makeRoomFor(const Context &context,
                                    const QList<QSharedPointer<ResourceHandler>> &missing);

/// Whether its data would come into the cache: what is used where it lies takes no room.
bool takesRoom(const ResourceHandler &handler);

} // namespace zel::cli
