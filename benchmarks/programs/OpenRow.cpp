#include "FilledCache.h"
#include "Loop.h"
#include "OpenCache.h"

using namespace zel::bench;

namespace {

/// Opens and closes a cache that has so many resources.
MakeOperation openAndClose(int resources)
{
    return [resources](const QString &directory) {
        const QString cache = directory + QStringLiteral("/cache");
        fillCache(cache, resources);
        return [cache] {
            openCache(cache);
        };
    };
}

const bool known
    = enterLoop("open/ours", openAndClose(100'000)) && enterLoop("open/empty", openAndClose(0));

} // namespace
