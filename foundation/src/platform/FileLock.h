#pragma once

#include "Export.h"

#include <QString>

namespace zel {

/// An exclusive lock on a file among all processes of the machine and all objects of this one. It
/// goes with the object, or with the process, however that ends. Moves.
class ZEL_RESOURCE_MANAGER_EXPORT FileLock
{
public:
    /// How the one try went.
    enum class State {
        Held, ///< this object has the lock
        Busy, ///< somebody else has it
        Unavailable, ///< the file cannot be made, or its volume knows no locks
    };

    FileLock() = default;
    /// Tries once, without waiting. The file is made if it is missing; that it is still the one of
    /// this path when the lock is there has been made sure of.
    explicit FileLock(const QString &path);
    FileLock(FileLock &&other) noexcept; ///< the other one holds nothing any more
    FileLock &operator=(FileLock &&other) noexcept; ///< the two change places
    ~FileLock();

    /// Known from the construction on.
    State state() const { return currentState; }
    /// Whether this object has the lock.
    bool isHeld() const { return currentState == State::Held; }

private:
    int descriptor = -1;
    State currentState = State::Unavailable;
};

} // namespace zel
