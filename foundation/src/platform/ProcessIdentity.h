#pragma once

#include "Export.h"

#include <QString>

#include <optional>

namespace zel {

/// A process and no other: numbers of processes come again. A value.
struct ZEL_RESOURCE_MANAGER_EXPORT ProcessIdentity
{
    qint64 pid = 0; ///< as the system numbers it in this container
    qint64 startTime = 0; ///< in ticks since the machine started
    QString bootId; ///< changes with every start of the machine

    static ProcessIdentity current(); ///< this process
    /// Whether the process lives, as far as this process can see others.
    bool isAlive() const;

    /// Tells which numbers of processes this process sees, those of the machine or those of a
    /// container: a number that comes from elsewhere means nothing here. 0 where the system does
    /// not tell.
    static qint64 numberSpace();

    /// When the process that has this number now was started, in milliseconds since the epoch;
    /// right to a fraction of a second, unless the clock of the machine was set since. Empty if
    /// there is no such process, as far as this process can see others.
    static std::optional<qint64> startOf(qint64 pid);

    /// Whether both are the same process.
    friend bool operator==(const ProcessIdentity &left, const ProcessIdentity &right)
    {
        return left.pid == right.pid && left.startTime == right.startTime
            && left.bootId == right.bootId;
    }
};

} // namespace zel
