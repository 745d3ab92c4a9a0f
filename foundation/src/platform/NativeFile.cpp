#include "platform/NativeFile.h"

#include "errors/Propagate.h"
#include "platform/FreeSpace.h"
#include "platform/PosixFile.h"

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

Descriptor openPath(const std::filesystem::path &path, int flags)
{
    return openAt(AT_FDCWD, QByteArray::fromStdString(path.native()), flags, 0666);
}

} // namespace

NativeFile::NativeFile(const std::filesystem::path &path, int descriptor)
    : path(path)
    , descriptor(descriptor)
{
}

NativeFile::NativeFile(NativeFile &&other) noexcept
    : path(std::move(other.path))
    , descriptor(std::exchange(other.descriptor, -1))
    , outOfSpace(other.outOfSpace)
{
}

NativeFile &NativeFile::operator=(NativeFile &&other) noexcept
{
    std::swap(path, other.path);
    std::swap(descriptor, other.descriptor);
    std::swap(outOfSpace, other.outOfSpace);
    return *this;
}

NativeFile::~NativeFile()
{
    // What must not get lost has been synced before; closing has nothing left to tell.
    static_cast<void>(Descriptor(descriptor).close());
}

Result<NativeFile> NativeFile::open(const std::filesystem::path &path, Mode mode)
{
    Descriptor file = openPath(path, mode == Mode::Read ? O_RDONLY : O_RDWR | O_CREAT);
    if (!file.isOpen()) {
        const int reason = errno;
        return ZEL_ERROR(codeOf(reason),
                         tr("Opening \"%1\" failed: %2").arg(shown(path), qt_error_string(reason)));
    }
    return NativeFile(path, file.release());
}

Result<qint64> NativeFile::size() const
{
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Reading \"%1\" failed: %2").arg(shown(path), qt_error_string(errno)));
    }
    return qint64(status.st_size);
}

Result<qint64> NativeFile::readAt(qint64 offset, char *data, qint64 count)
{
    const ssize_t got
        = retried([&] { return ::pread(descriptor, data, size_t(count), off_t(offset)); });
    if (got < 0) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Reading \"%1\" failed: %2").arg(shown(path), qt_error_string(errno)));
    }
    return qint64(got);
}

Error NativeFile::writeAt(qint64 offset, const char *data, qint64 count)
{
    while (count > 0) {
        const ssize_t written
            = retried([&] { return ::pwrite(descriptor, data, size_t(count), off_t(offset)); });
        if (written <= 0)
            return ZEL_PASS(writeFailure(written < 0 ? errno : ENOSPC));
        data += written;
        offset += written;
        count -= written;
    }
    return {};
}

Error NativeFile::truncate(qint64 size)
{
    const int outcome = retried([&] { return ::ftruncate(descriptor, off_t(size)); });
    return outcome == 0 ? Error() : ZEL_PASS(writeFailure(errno));
}

void NativeFile::startSync(qint64 offset, qint64 count)
{
    posix::startSync(descriptor, offset, count);
}

Error NativeFile::sync()
{
    const int outcome = retried([&] { return ::fsync(descriptor); });
    return outcome == 0 ? Error() : ZEL_PASS(writeFailure(errno));
}

Error NativeFile::writeFailure(int reason)
{
    outOfSpace = codeOf(reason) == FreeSpace::lackingCode;
    return ZEL_ERROR(codeOf(reason),
                     tr("Writing \"%1\" failed: %2").arg(shown(path), qt_error_string(reason)));
}

Error NativeFile::syncVolume()
{
    if (::syncfs(descriptor) == 0)
        return {};
    const int reason = errno;
    return ZEL_ERROR(
        codeOf(reason),
        tr("Writing the volume of \"%1\" failed: %2").arg(shown(path), qt_error_string(reason)));
}

} // namespace zel
