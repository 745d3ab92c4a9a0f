#pragma once

#include "Export.h"

#include <QtGlobal>

namespace zel {

/// How large a cache may grow, in bytes. Taken as it stands: nothing checks that the maximum is
/// above the optimum.
struct ZEL_RESOURCE_MANAGER_EXPORT ResourceCacheSizes
{
    static const qint64 DEFAULT_OPTIMAL_SIZE; ///< 10 GiB
    static const qint64 DEFAULT_MAXIMUM_SIZE; ///< 20 GiB

    /// Above this the purge starts; it goes down to nine tenths of it.
    qint64 optimalSize = DEFAULT_OPTIMAL_SIZE;
    /// Above this a purge that fails is an error.
    qint64 maximumSize = DEFAULT_MAXIMUM_SIZE;
};

} // namespace zel
