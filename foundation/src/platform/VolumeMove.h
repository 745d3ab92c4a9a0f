#pragma once

#include "errors/Result.h"

#include <QCoreApplication>

#include <filesystem>

namespace zel {

/// Moves within a volume, in one step for everybody who looks. Failures have code 7 for want of
/// space, else 1, and name the paths and the reason.
class ZEL_RESOURCE_MANAGER_EXPORT VolumeMove
{
    Q_DECLARE_TR_FUNCTIONS(zel::VolumeMove)

public:
    /// Renames a file or folder; an existing file or empty folder is replaced. False, and nothing
    /// done, if the two places lie on different volumes.
    static Result<bool> move(const std::filesystem::path &from, const std::filesystem::path &to);
    /// Renames a file or folder to a name that nobody has. False, and nothing done, if something
    /// lies there, a link that leads nowhere included. Where the volume knows no such renaming, an
    /// empty folder that comes in the moment after a look may still be replaced by a folder, and
    /// where it knows no second names either, a file by a file.
    static Result<bool> moveIfFree(const std::filesystem::path &from,
                                   const std::filesystem::path &to);
    /// Lets two files or folders change places. False, and nothing done, if the volume cannot do
    /// that.
    static Result<bool> exchange(const std::filesystem::path &one,
                                 const std::filesystem::path &other);
};

} // namespace zel
