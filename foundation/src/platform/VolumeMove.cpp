#include "platform/VolumeMove.h"

#include "errors/Propagate.h"
#include "platform/PosixFile.h"

#include <cstdio>

#include <fcntl.h>

namespace zel {

using namespace posix;

namespace {

QString shownPath(const std::filesystem::path &path)
{
    return shown(QByteArray::fromStdString(path.native()));
}

} // namespace

Result<bool> VolumeMove::move(const std::filesystem::path &from, const std::filesystem::path &to)
{
    if (::rename(from.c_str(), to.c_str()) == 0)
        return true;
    if (errno == EXDEV)
        return false;
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Renaming \"%1\" to \"%2\" failed: %3")
                         .arg(shownPath(from), shownPath(to), qt_error_string(errno)));
}

Result<bool> VolumeMove::exchange(const std::filesystem::path &one,
                                  const std::filesystem::path &other)
{
    if (::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0)
        return true;
    if (errno == EXDEV || errno == EINVAL || errno == ENOSYS)
        return false;
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Exchanging \"%1\" and \"%2\" failed: %3")
                         .arg(shownPath(one), shownPath(other), qt_error_string(errno)));
}

} // namespace zel
