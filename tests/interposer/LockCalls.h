#pragma once

namespace zel::test {

/// A call by which a process takes or gives back what others wait for.
enum class LockCall {
    Semaphore, ///< makes, sets up, takes or gives back a semaphore of System V
    Folder, ///< flock(), of a folder or of a file
    Range, ///< fcntl() for a part of a file, as SQLite locks its database
};

/// `watcher` is called right before each of them from now on, on whatever thread; null for none.
/// It must take no lock.
void watchLockCalls(void (*watcher)(LockCall));
/// For those who replace one of these calls elsewhere.
void tellLockCall(LockCall call);

} // namespace zel::test
