#include "ResourceCacheSizes.h"

namespace zel {

const qint64 ResourceCacheSizes::DEFAULT_OPTIMAL_SIZE = 10737418240;
const qint64 ResourceCacheSizes::DEFAULT_MAXIMUM_SIZE = 21474836480;

} // namespace zel
