#pragma once

#include "platform/KeptDescriptor.h"

#include <QByteArray>

namespace zel {

/// An exclusive lock on a directory itself, without a file of its own, among all processes of the
/// machine and all objects of this process. It goes with the object, or with the process.
///
/// Best effort: a directory that cannot be opened or locked is simply not locked.
class DirectoryLock
{
public:
    /// Waits until the lock is free. `directory` is a native path. `kept` may have a descriptor of
    /// it and gets it back; it outlives the lock.
    explicit DirectoryLock(const QByteArray &directory, KeptDescriptor *kept = nullptr);
    ~DirectoryLock();
    DirectoryLock(const DirectoryLock &) = delete;
    DirectoryLock &operator=(const DirectoryLock &) = delete;

    bool isHeld() const { return taken.descriptor >= 0; }

private:
    KeptDescriptor *kept;
    KeptDescriptor::Taken taken;
};

} // namespace zel
