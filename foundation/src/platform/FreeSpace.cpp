#include "platform/FreeSpace.h"

#include "errors/Propagate.h"
#include "platform/PosixFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <limits>

#include <sys/statvfs.h>

namespace zel {

using namespace posix;

namespace {

/// Asks for the volume of the path, or of the nearest folder around it that is there. 0 or errno.
int readVolume(const QString &path, struct statvfs *volume)
{
    if (path.isEmpty())
        return ENOENT;
    QString place = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    while (retried([&] { return ::statvfs(QFile::encodeName(place).constData(), volume); }) != 0) {
        const QString above = QFileInfo(place).path();
        if ((errno != ENOENT && errno != ENOTDIR) || above == place)
            return errno;
        place = above;
    }
    return 0;
}

} // namespace

int FreeSpace::codeOf(const std::error_code &reason)
{
    const bool isLacking = reason == std::errc::no_space_on_device
        || reason == std::error_code(EDQUOT, std::generic_category());
    return isLacking ? lackingCode : int(ErrorCode::OperationFailed);
}

Result<qint64> FreeSpace::availableBytes(const QString &path)
{
    struct statvfs volume;
    const int error = readVolume(path, &volume);
    if (error != 0) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            tr("The free space at \"%1\" cannot be read: %2").arg(path, qt_error_string(error)));
    }
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    // A volume that tells no size at all, as some remote ones do, is not a full one.
    if (volume.f_blocks == 0 || volume.f_frsize == 0)
        return most;
    const quint64 blocks = volume.f_bavail;
    if (blocks > static_cast<quint64>(most) / volume.f_frsize)
        return most;
    return static_cast<qint64>(blocks * volume.f_frsize);
}

bool FreeSpace::isFull(const QString &path)
{
    struct statvfs volume;
    if (readVolume(path, &volume) != 0)
        return false;
    return (volume.f_blocks != 0 && volume.f_bavail == 0)
        || (volume.f_files != 0 && volume.f_favail == 0);
}

} // namespace zel
