#include "platform/ByteCopy.h"

#include "platform/PosixFile.h"

#include <memory>

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zel::posix {

namespace {

// Large enough that a call costs nothing beside its work, small enough that somebody who cancels
// over a slow line waits for less than seconds.
constexpr size_t pieceSize = 4 * 1024 * 1024;
constexpr size_t bufferSize = 512 * 1024;

/// Failures that another road would meet as well. Of every other one the plain road finds the true
/// reason, or none.
bool isFinal(int error)
{
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

/// Copies inside the kernel until it refuses or says that this is the end. 0 means go on by the
/// plain road from here, which then finds the end confirmed: some file systems report one where
/// there is none.
int copyInKernel(int source, int target, const std::function<bool(qint64)> &advance)
{
    while (true) {
        const ssize_t copied = retried(
            [&] { return ::copy_file_range(source, nullptr, target, nullptr, pieceSize, 0); });
        if (copied == 0)
            return 0;
        if (copied < 0)
            return isFinal(errno) ? errno : 0;
        if (!advance(copied))
            return ECANCELED;
    }
}

int copyPlainly(int source, int target, const std::function<bool(qint64)> &advance)
{
    // Not filled: of the many small files of a folder only the end is read here.
    const auto buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    while (true) {
        const ssize_t size = retried([&] { return ::read(source, buffer.get(), bufferSize); });
        if (size < 0)
            return errno;
        if (size == 0)
            return 0;
        if (const int error = writeAll(target, buffer.get(), static_cast<size_t>(size)))
            return error;
        if (!advance(size))
            return ECANCELED;
    }
}

} // namespace

int copyBytes(int source, int target, qint64 size, const std::function<bool(qint64)> &advance)
{
    if (size > 0 && ::ioctl(target, FICLONE, source) == 0)
        return advance(size) ? 0 : ECANCELED;
    if (const int error = copyInKernel(source, target, advance))
        return error;
    return copyPlainly(source, target, advance);
}

} // namespace zel::posix
