#pragma once

#include "Export.h"

#include <QString>

#include <optional>

namespace zel {

/// Whether somebody holds the lock on a directory itself (see DirectoryLock). Looking at it neither
/// waits nor keeps anybody waiting for longer than the look takes.
struct ZEL_RESOURCE_MANAGER_EXPORT DirectoryLockState
{
    bool isHeld = false; ///< false also for a directory that cannot be looked at
    std::optional<qint64> holder; ///< the process, if the system tells

    /// Looks now. Any thread.
    static DirectoryLockState of(const QString &directory);
};

} // namespace zel
