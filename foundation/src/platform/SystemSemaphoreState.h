#pragma once

#include "Export.h"

#include <QString>

namespace zel {

/// What can be seen of a named system semaphore from outside, without taking it or making it.
///
/// The name of a semaphore leads to a file in the folder of temporary files, and the file to the
/// semaphore. Who has another such folder, or may not use that file, has another semaphore behind
/// the same name, or none.
struct ZEL_RESOURCE_MANAGER_EXPORT SystemSemaphoreState
{
    /// How much could be seen.
    enum class Access {
        Absent, ///< nobody has made it since the machine started or the folder was cleaned
        Refused, ///< it belongs to somebody who keeps it for himself
        Seen, ///< the members below hold
    };

    Access access = Access::Absent; ///< what all other members depend on
    QString keyFile; ///< where it would be, whether there is one or not
    QString owner; ///< of the key file, as a name or a number; empty if there is none
    int value = 0; ///< how many more may take it
    qint64 lastProcess = 0; ///< who took it or gave it back last: the holder, while it is 0
    int waiting = 0; ///< how many wait for it

    /// The semaphore that a QSystemSemaphore of this key has in this process.
    static SystemSemaphoreState of(const QString &key);
};

} // namespace zel
