#pragma once

#include "Export.h"

#include <QObject>

#include <memory>

class QSystemSemaphore;

namespace zel {

class DirectoryLock;
struct RegisteredSemaphore;

/// Holds a system semaphore for a scope: taken in the constructor, given back in the destructor, by
/// whichever end the scope has, a crash of the process included.
///
/// Not reentrant: a thread that takes the same semaphore twice waits for ever. That is logged at
/// critical level before the wait. An object may be released on another thread than the one that
/// took it, but not used by two at once. The semaphore is borrowed; if it is given another key
/// meanwhile, what was taken is given back under the old one.
class ZEL_RESOURCE_MANAGER_EXPORT SemaphoreLocker
{
public:
    /// Waits until `count` is held; 0 takes nothing.
    SemaphoreLocker(QSystemSemaphore *semaphore, int count);
    ~SemaphoreLocker();
    SemaphoreLocker(const SemaphoreLocker &) = delete;
    SemaphoreLocker &operator=(const SemaphoreLocker &) = delete;

    /// Waits for `count` more. False if the system refused one of them; it counts as held all the
    /// same, and the caller goes on without exclusion.
    bool acquire(int count);
    void release(int count); ///< gives back so many of those that were taken

    /// For work that moves to another thread: the one that it leaves may wait for the semaphore
    /// like any other from then on, and the one that it has come to goes on as the holder.
    void leaveThisThread();
    void adoptByThisThread(); ///< on the thread that the work has come to
    /// Whether the calling thread holds the semaphore through any locker, so that taking it would
    /// wait for ever.
    static bool isHeldByThisThread(const QSystemSemaphore &semaphore);

private:
    void releaseAcquired();
    bool acquireOne();
    bool acquireSemaphore();
    void warnBeforeSecondTake() const;
    void releaseSemaphore(int count);

    QSystemSemaphore *semaphoreHandle;
    qint32 acquiredCount = 0;
    /// How many of those the system refused: they are not given back.
    qint32 refusedCount = 0;
    std::unique_ptr<QObject> crashContext;
    RegisteredSemaphore *entry; ///< null for a semaphore that is none of a cache's
    std::unique_ptr<DirectoryLock> directoryLock;
};

} // namespace zel
