#pragma once

#include "errors/Result.h"

#include <QCoreApplication>

#include <system_error>

namespace zel {

/// What the volumes of the machine have to offer. A path that does not exist yet is judged by the
/// nearest folder around it that does. Failures have code 1 and name the path.
class ZEL_RESOURCE_MANAGER_EXPORT FreeSpace
{
    Q_DECLARE_TR_FUNCTIONS(zel::FreeSpace)

public:
    /// The code of failures for want of space, of everything that writes to volumes.
    static constexpr int lackingCode = 7;
    /// The code of a failure with this reason: that one for want of bytes, of files or of what a
    /// quota allows, else 1.
    static int codeOf(const std::error_code &reason);

    /// Bytes that this user may still write on the volume of the path. A volume that tells no size,
    /// as some remote ones do, counts as endless.
    static Result<qint64> availableBytes(const QString &path);

    /// Whether not a byte or not a file more fits on the volume of the path. A volume that does not
    /// tell is not full.
    static bool isFull(const QString &path);
};

} // namespace zel
