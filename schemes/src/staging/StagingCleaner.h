#pragma once

#include "staging/FetchPlan.h"
#include "staging/StagingPlace.h"

#include <QDateTime>

#include <chrono>

namespace zel {

/// Removes what fetches have left in the staging directory and nobody will go on with.
namespace StagingCleaner {

/// So long a staging place that nobody writes to is kept for somebody to go on with.
inline constexpr std::chrono::days keptFor { 7 };

/// The place in this folder, with the record that it has.
StagingPlace placeAt(const QString &folder);
/// Whether nobody will go on with a place that was last written to then.
bool isTooOld(const QDateTime &lastUse, const QDateTime &now);

/// Removes every staging place that is not locked and is older than that, or whose resource is
/// Ready. What cannot be removed is logged. Run it before a fetch, never while the cache's
/// semaphore is held.
void removeStale(const FetchPlan &plan, const QDateTime &now = QDateTime::currentDateTimeUtc());

} // namespace StagingCleaner

} // namespace zel
