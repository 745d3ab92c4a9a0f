#pragma once

#include "Export.h"

#include <mutex>

namespace zel {

/// The mutex of all our code. Works with std::lock_guard, QMutexLocker and
/// std::condition_variable_any; not recursive.
///
/// A debug build looks at each take: one that can end in a deadlock ends the program instead, with
/// the stacks that show why; see LockOrder.
class ZEL_RESOURCE_MANAGER_EXPORT Mutex
{
public:
    /// `kind` says in a few words what all mutexes of this member guard, for the message; it must
    /// live as long as the program.
    explicit Mutex(const char *kind)
        : kind(kind)
    {
    }
    // Programs that were built with this library call it, so it cannot become an inline one.
    ~Mutex(); // NOLINT(performance-trivially-destructible)
    Mutex(const Mutex &) = delete;
    Mutex &operator=(const Mutex &) = delete;

    void lock(); ///< waits until this thread holds it
    /// Never waits, and so may be called in any order with other locks.
    bool try_lock();
    void unlock(); ///< by the thread that holds it

private:
    std::mutex mutex;
    const char *const kind;
};

} // namespace zel
