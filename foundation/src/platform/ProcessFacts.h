#pragma once

#include "Export.h"

#include <QString>

#include <optional>

namespace zel {

/// What can be seen from here of another process. A value.
struct ZEL_RESOURCE_MANAGER_EXPORT ProcessFacts
{
    /// False for one that is gone or that lives in a container with numbers of its own.
    bool exists = false;
    QString program; ///< its name, the first letters of it at least
    /// Milliseconds since the epoch, to about a second. Empty if it cannot be found out.
    std::optional<qint64> started;
    QString user; ///< as a name or a number
    /// Where it has its temporary files. Empty for processes of others.
    std::optional<QString> temporaryFolder;

    static ProcessFacts of(qint64 processId);
};

} // namespace zel
