#pragma once

namespace zel {

/// Looks, in debug builds, at every take of our locks: the mutexes, the semaphore of a cache, the
/// transaction of a connection. What may end in a deadlock one day ends the program at once, with a
/// message on standard error that names the locks and shows the stacks:
///
/// - A second take of a lock by the thread that holds it.
/// - A take of a lock while another is held whose kind was seen taken behind it before, by whatever
///   thread, directly or by way of others. Kinds count and not objects, so that one thread is
///   enough to show what would need two at the wrong moment. So does a take of two of one kind.
///
/// Other builds leave the look out, and so does one with ThreadSanitizer, which looks itself and
/// would take our own bookkeeping for an order among the threads. All functions may be called on
/// any thread. A `kind` must live as long as the program.
namespace LockOrder {

/// Whether this build looks.
constexpr bool isChecked()
{
#ifdef ZEL_CHECKS_LOCKS
    return true;
#else
    return false;
#endif
}

#ifdef ZEL_CHECKS_LOCKS

/// Before the wait for the lock; does not return if the take is a mistake.
void beforeTake(const void *lock, const char *kind);
/// From here on the calling thread holds it.
void afterTake(const void *lock, const char *kind);
/// Whichever thread holds it, it does no more. Nothing if none does.
void beforeGivingBack(const void *lock);

#else

/// Nothing in this build.
inline void beforeTake(const void *, const char *) { }
/// Nothing in this build.
inline void afterTake(const void *, const char *) { }
/// Nothing in this build.
inline void beforeGivingBack(const void *) { }

#endif

} // namespace LockOrder

} // namespace zel
