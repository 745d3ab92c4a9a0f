#include "platform/VolumeMove.h"

#include "errors/Propagate.h"
#include "platform/PosixFile.h"

#include <cstdio>

#include <fcntl.h>

namespace zel {

using namespace posix;

Result<bool> VolumeMove::move(const std::filesystem::path &from, const std::filesystem::path &to)
{
    if (::rename(from.c_str(), to.c_str()) == 0)
        return true;
    const int reason = errno;
    if (reason == EXDEV)
        return false;
    return ZEL_ERROR(codeOf(reason),
                     tr("Renaming \"%1\" to \"%2\" failed: %3")
                         .arg(shown(from), shown(to), qt_error_string(reason)));
}

Result<bool> VolumeMove::exchange(const std::filesystem::path &one,
                                  const std::filesystem::path &other)
{
    if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0)
        return true;
    const int reason = errno;
    if (reason == EXDEV || reason == EINVAL || reason == ENOSYS)
        return false;
    return ZEL_ERROR(codeOf(reason),
                     tr("Exchanging \"%1\" and \"%2\" failed: %3")
                         .arg(shown(one), shown(other), qt_error_string(reason)));
}

} // namespace zel
