#include "platform/Streams.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace zel::cli::streams {

static_assert(standardInput == STDIN_FILENO && standardOutput == STDOUT_FILENO
              && standardError == STDERR_FILENO);

namespace {

void waitForRoom(int descriptor)
{
    pollfd room { descriptor, POLLOUT, 0 };
    // Whatever ends the wait, the next write tells why it cannot be done.
    static_cast<void>(::poll(&room, 1, -1));
}

} // namespace

void occupyClosed()
{
    for (int descriptor = standardInput; descriptor <= standardError; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", O_RDONLY));
    }
}

std::error_code writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), std::size_t(bytes.size()));
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (written < 0 && errno == EAGAIN)
            waitForRoom(descriptor);
        else if (written < 0 && errno != EINTR)
            return { errno, std::generic_category() };
    }
    return {};
}

bool isReaderGone(int descriptor)
{
    pollfd reader { descriptor, 0, 0 };
    return ::poll(&reader, 1, 0) > 0 && (reader.revents & POLLERR) != 0;
}

} // namespace zel::cli::streams
