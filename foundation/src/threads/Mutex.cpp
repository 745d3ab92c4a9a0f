#include "threads/Mutex.h"

#include "threads/LockOrder.h"

namespace zel {

Mutex::~Mutex() = default;

void Mutex::lock()
{
    LockOrder::beforeTake(this, kind);
    mutex.lock();
    LockOrder::afterTake(this, kind);
}

bool Mutex::try_lock()
{
    const bool isTaken = mutex.try_lock();
    if (isTaken)
        LockOrder::afterTake(this, kind);
    return isTaken;
}

void Mutex::unlock()
{
    LockOrder::beforeGivingBack(this);
    mutex.unlock();
}

} // namespace zel
