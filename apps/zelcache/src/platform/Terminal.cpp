#include "platform/Terminal.h"

#include <QByteArray>

#include <sys/ioctl.h>
#include <unistd.h>

namespace zel::cli::terminal {

bool isTerminal(int descriptor)
{
    return ::isatty(descriptor) != 0;
}

bool canBeDrawnOn(int descriptor)
{
    const QByteArray kind = qgetenv("TERM");
    return !kind.isEmpty() && kind != "dumb" && isTerminal(descriptor);
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

} // namespace zel::cli::terminal
