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

void Mutex::unlock()
{
    LockOrder::beforeGivingBack(this);
    mutex.unlock();
}

} // namespace zel
