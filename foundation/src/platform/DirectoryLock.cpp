#include "platform/DirectoryLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace zel {

namespace {

bool lockPatiently(int descriptor)
{
    int outcome = 0;
    do {
        outcome = flock(descriptor, LOCK_EX);
    } while (outcome != 0 && errno == EINTR);
    return outcome == 0;
}

} // namespace

DirectoryLock::DirectoryLock(const QByteArray &directory)
    : descriptor(open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (descriptor < 0 || lockPatiently(descriptor))
        return;
    close(descriptor);
    descriptor = -1;
}

DirectoryLock::~DirectoryLock()
{
    if (descriptor < 0)
        return;
    // Closing alone would leave the lock with a child that was forked and has not yet replaced
    // itself.
    flock(descriptor, LOCK_UN);
    close(descriptor);
}

} // namespace zel
