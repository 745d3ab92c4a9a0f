#include "Loop.h"
#include "OpenCache.h"
#include "SemaphoreLocker.h"

#include <QSystemSemaphore>

using namespace zel;
using namespace zel::bench;

namespace {

std::shared_ptr<QSystemSemaphore> semaphoreOf(const QString &directory)
{
    return std::make_shared<QSystemSemaphore>(ResourceCachePath::semaphoreKeyFor(directory), 1);
}

/// The open cache makes the base directory known, which is locked behind its semaphore.
std::function<void()> scopedLocker(const QString &directory)
{
    return [cache = openCache(directory), semaphore = semaphoreOf(directory)] {
        const SemaphoreLocker locker(semaphore.get(), 1);
    };
}

std::function<void()> bareSemaphore(const QString &directory)
{
    return [semaphore = semaphoreOf(directory)] {
        semaphore->acquire();
        semaphore->release();
    };
}

const bool known = enterLoop("lock/ours", scopedLocker) && enterLoop("lock/floor", bareSemaphore);

} // namespace
