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
    std::optional<qint64> started; ///< as ProcessIdentity::startOf() tells it
    QString user; ///< as a name or a number
    /// Where it has its temporary files. Empty for processes of others.
    std::optional<QString> temporaryFolder;

    /// Looks now. What may not be seen stays empty.
    static ProcessFacts of(qint64 processId);

    /// Its name alone; empty if it cannot be seen.
    static QString programOf(qint64 processId);
    /// Whether the process has the file open, under whatever path. Empty for one that is gone, and
    /// for processes of others.
    static std::optional<bool> hasOpen(qint64 processId, const QString &path);
};

} // namespace zel
