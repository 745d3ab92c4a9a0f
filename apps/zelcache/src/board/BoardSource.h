#pragma once

#include "ResourceManagerSettings.h"
#include "board/BoardModel.h"

namespace zel::cli {

/// Looks at the cache of the settings, as it is now: at its database, at what the fetches tell of
/// themselves and at the processes. Waits for nobody and changes nothing. Fails if the database
/// cannot be read or is not there yet.
Result<BoardLook> lookAt(const ResourceManagerSettings &settings);
/// The same with what the database has told already.
BoardLook lookAt(const ResourceManagerSettings &settings,
                 const ResourceCacheReader::Activity &activity);

} // namespace zel::cli
