#include "SemaphoreLocker.h"

#include "SemaphoreRegistry.h"
#include "errors/Logging.h"
#include "platform/CrashHandler.h"
#include "platform/DirectoryLock.h"
#include "threads/LockOrder.h"

#include <QSystemSemaphore>
#include <QThread>

#include <algorithm>

namespace zel {

namespace {

constexpr auto kind = "the semaphore of a cache";

} // namespace

SemaphoreLocker::SemaphoreLocker(QSystemSemaphore *semaphore, int count)
    : semaphoreHandle(semaphore)
    , crashContext(std::make_unique<QObject>())
    , entry(SemaphoreRegistry::find(semaphore->key()))
{
    CrashHandler::prepareThisThread();
    QObject::connect(&CrashHandler::instance(), &CrashHandler::crashDetected, crashContext.get(),
                     [this] { releaseAcquired(); });
    acquire(count);
}

SemaphoreLocker::~SemaphoreLocker()
{
    releaseAcquired();
}

bool SemaphoreLocker::acquire(int count)
{
    bool acquired = true;
    for (int i = 0; i < count; ++i)
        acquired = acquireOne() && acquired;
    return acquired;
}

bool SemaphoreLocker::acquireOne()
{
    warnBeforeSecondTake();
    if (entry && entry->usable)
        LockOrder::beforeTake(entry, kind);
    const bool acquired = acquireSemaphore();
    ++acquiredCount;
    refusedCount += acquired ? 0 : 1;
    if (entry) {
        if (!directoryLock && !entry->directory.isEmpty())
            directoryLock
                = std::make_unique<DirectoryLock>(entry->directory, &entry->keptDirectory);
        adoptByThisThread();
    }
    return acquired;
}

bool SemaphoreLocker::acquireSemaphore()
{
    if (!entry)
        return semaphoreHandle->acquire();
    // Through the object that gives it back, too: should the key file have been cleaned away, an
    // object made since then has another semaphore behind the same key.
    // A refused semaphore is not called again: the failing call of several threads would abort.
    return entry->usable && entry->keeper.acquire();
}

void SemaphoreLocker::warnBeforeSecondTake() const
{
    if (entry && entry->holder == QThread::currentThreadId()) {
        qCCritical(lcResourceManager)
            << "This thread holds the semaphore" << entry->key << "already and will wait for ever.";
    }
}

void SemaphoreLocker::release(int count)
{
    if (count < 1)
        return;
    // Who holds nothing is not the one who is noted as the holder.
    const bool isHolder = acquiredCount > 0;
    acquiredCount -= count;
    if (isHolder && acquiredCount <= 0)
        leaveThisThread();
    // The semaphore goes last: who gets it must not wait for the directory.
    if (acquiredCount <= 0)
        directoryLock.reset();
    releaseSemaphore(count);
}

void SemaphoreLocker::releaseSemaphore(int count)
{
    if (!entry) {
        semaphoreHandle->release(count);
        return;
    }
    // What was refused was never taken, even if the system would give it by now.
    const qint32 refused = std::min(count, refusedCount);
    refusedCount -= refused;
    // Of the key that was taken, whatever the handle has now.
    if (count > refused)
        entry->keeper.release(count - refused);
}

void SemaphoreLocker::releaseAcquired()
{
    if (acquiredCount > 0)
        release(acquiredCount);
}

void SemaphoreLocker::leaveThisThread()
{
    if (!entry)
        return;
    LockOrder::beforeGivingBack(entry);
    entry->holder = nullptr;
}

void SemaphoreLocker::adoptByThisThread()
{
    if (!entry)
        return;
    // Read as well as written: the system orders the holders, and this tells the language so.
    entry->holder.exchange(QThread::currentThreadId());
    if (entry->usable)
        LockOrder::afterTake(entry, kind);
}

bool SemaphoreLocker::isHeldByThisThread(const QSystemSemaphore &semaphore)
{
    const RegisteredSemaphore *entry = SemaphoreRegistry::find(semaphore.key());
    return entry && entry->holder == QThread::currentThreadId();
}

} // namespace zel
