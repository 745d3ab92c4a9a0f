#include "output/Terminal.h"

#include <QByteArray>

#include <cerrno>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zel::cli::terminal {

namespace {

void waitForRoom(int descriptor)
{
    pollfd room { descriptor, POLLOUT, 0 };
    // Whatever ends the wait, the next write tells why it cannot be done.
    static_cast<void>(::poll(&room, 1, -1));
}

} // namespace

bool canBeDrawnOn(int descriptor)
{
    const QByteArray kind = qgetenv("TERM");
    return !kind.isEmpty() && kind != "dumb" && ::isatty(descriptor) != 0;
}

Size sizeOf(int descriptor)
{
    Size size;
    winsize told {};
    if (::ioctl(descriptor, TIOCGWINSZ, &told) != 0)
        return size;
    if (told.ws_col > 0)
        size.columns = told.ws_col;
    if (told.ws_row > 0)
        size.rows = told.ws_row;
    return size;
}

int writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), std::size_t(bytes.size()));
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (written < 0 && errno == EAGAIN)
            waitForRoom(descriptor);
        else if (written < 0 && errno != EINTR)
            return errno;
    }
    return 0;
}

} // namespace zel::cli::terminal
