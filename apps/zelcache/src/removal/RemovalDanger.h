#pragma once

#include "doctor/DataPlaces.h"
#include "removal/PurgePlan.h"

namespace zel::cli {

/// Why the removal of the resource would take along what is not its own, for people; empty if it
/// would not. The cache removes the folder around a path with it, wherever that is; what the path
/// says is believed by nobody but a removal.
QString dangerOf(const ResourceCacheReader::Resource &resource, const DataPlaces &places);

/// What to say instead of a removal that would take these: `nothingDone`, a sentence, and a line
/// for each of the first few with a danger. Empty if none has one.
QString dangersText(const QString &nothingDone, const ResourceRows &resources,
                    const DataPlaces &places);

} // namespace zel::cli
