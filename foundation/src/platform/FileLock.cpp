#include "platform/FileLock.h"

#include "platform/PosixFile.h"

#include <QFile>

#include <utility>

#include <fcntl.h>
#include <sys/file.h>

namespace zel {

using namespace posix;

namespace {

/// Between opening and locking, the former holder may have removed the file: a lock on it would
/// then keep nobody out.
bool isFileOfPath(int file, const QByteArray &path)
{
    struct stat opened = {};
    struct stat found = {};
    return ::fstat(file, &opened) == 0 && ::stat(path.constData(), &found) == 0
        && opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

} // namespace

FileLock::FileLock(const QString &path)
{
    const QByteArray nativePath = QFile::encodeName(path);
    while (true) {
        Descriptor file = openAt(AT_FDCWD, nativePath, O_RDWR | O_CREAT, 0666);
        if (!file.isOpen())
            return;
        if (retried([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) != 0) {
            currentState = errno == EWOULDBLOCK ? State::Busy : State::Unavailable;
            return;
        }
        if (isFileOfPath(file.get(), nativePath)) {
            descriptor = file.release();
            currentState = State::Held;
            return;
        }
    }
}

FileLock::FileLock(FileLock &&other) noexcept
    : descriptor(std::exchange(other.descriptor, -1))
    , currentState(std::exchange(other.currentState, State::Unavailable))
{
}

FileLock &FileLock::operator=(FileLock &&other) noexcept
{
    std::swap(descriptor, other.descriptor);
    std::swap(currentState, other.currentState);
    return *this;
}

FileLock::~FileLock()
{
    static_cast<void>(Descriptor(descriptor).close());
}

} // namespace zel
