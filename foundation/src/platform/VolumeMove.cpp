#include "platform/VolumeMove.h"

#include "errors/Propagate.h"
#include "platform/PosixFile.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

/// Whether the volume or the system knows no renaming with conditions.
bool isUnknown(int reason)
{
    return reason == EINVAL || reason == ENOSYS;
}

/// A second name for the file, which never takes the place of another one, and then the first one
/// goes. 0 or errno.
int linkAndUnlink(const char *from, const char *to)
{
    if (::linkat(AT_FDCWD, from, AT_FDCWD, to, 0) != 0)
        return errno;
    if (::unlink(from) == 0)
        return 0;
    const int reason = errno;
    ::unlink(to); // the file is where it was
    return reason;
}

/// What is left for folders, which have no second names, and for files where there are none:
/// somebody may come in between. 0 or errno.
int lookAndRename(const char *from, const char *to)
{
    struct stat status;
    if (::lstat(to, &status) == 0)
        return EEXIST;
    return ::rename(from, to) == 0 ? 0 : errno;
}

/// 0 or errno; EEXIST if something lies there.
int renameToFree(const char *from, const char *to)
{
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (!isUnknown(errno))
        return errno;
    const int reason = linkAndUnlink(from, to);
    const bool hasNoLinks = reason == EPERM || reason == ENOTSUP || reason == EMLINK;
    return hasNoLinks || isUnknown(reason) ? lookAndRename(from, to) : reason;
}

Error renameFailure(const std::filesystem::path &from, const std::filesystem::path &to, int reason)
{
    return ZEL_ERROR(codeOf(reason),
                     VolumeMove::tr("Renaming \"%1\" to \"%2\" failed: %3")
                         .arg(shown(from), shown(to), qt_error_string(reason)));
}

} // namespace

Result<bool> VolumeMove::move(const std::filesystem::path &from, const std::filesystem::path &to)
{
    if (::rename(from.c_str(), to.c_str()) == 0)
        return true;
    const int reason = errno;
    if (reason == EXDEV)
        return false;
    return ZEL_PASS(renameFailure(from, to, reason));
}

Result<bool> VolumeMove::moveIfFree(const std::filesystem::path &from,
                                    const std::filesystem::path &to)
{
    const int reason = renameToFree(from.c_str(), to.c_str());
    if (reason == 0 || reason == EEXIST)
        return reason == 0;
    return ZEL_PASS(renameFailure(from, to, reason));
}

Result<bool> VolumeMove::exchange(const std::filesystem::path &one,
                                  const std::filesystem::path &other)
{
    if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0)
        return true;
    const int reason = errno;
    if (reason == EXDEV || isUnknown(reason))
        return false;
    return ZEL_ERROR(codeOf(reason),
                     tr("Exchanging \"%1\" and \"%2\" failed: %3")
                         .arg(shown(one), shown(other), qt_error_string(reason)));
}

} // namespace zel
