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

int openDirectory(const QByteArray &directory)
{
    return open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

} // namespace

DirectoryLock::DirectoryLock(const QByteArray &directory, KeptDescriptor *kept)
    : kept(kept)
{
    if (kept)
        taken = kept->take();
    if (taken.descriptor < 0)
        taken.descriptor = openDirectory(directory);
    if (taken.descriptor < 0 || lockPatiently(taken.descriptor))
        return;
    close(taken.descriptor);
    taken.descriptor = -1;
}

DirectoryLock::~DirectoryLock()
{
    if (taken.descriptor < 0)
        return;
    // Closing alone would leave the lock with a child that was forked and has not yet replaced
    // itself.
    flock(taken.descriptor, LOCK_UN);
    if (kept)
        kept->giveBack(taken);
    else
        close(taken.descriptor);
}

} // namespace zel
