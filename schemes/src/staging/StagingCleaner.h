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
/// Ready. Each look whether one is takes the cache's semaphore, so never call it while that is
/// held. What cannot be removed is logged.
void removeStale(const FetchPlan &plan, const QDateTime &now = QDateTime::currentDateTimeUtc());

/// So long what was removed once in a staging directory is not looked for again by this process.
/// Its many fetches would otherwise each take the semaphore for each one that was interrupted.
inline constexpr std::chrono::minutes looksAgainAfter { 10 };

/// The same, to be run before a fetch: only the first one of the process in this directory, and
/// then one now and again, really looks. Any thread.
void removeStaleBeforeFetch(const FetchPlan &plan,
                            const QDateTime &now = QDateTime::currentDateTimeUtc());

} // namespace StagingCleaner

} // namespace zel
