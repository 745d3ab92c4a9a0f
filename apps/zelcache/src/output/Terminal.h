#pragma once

#include <QByteArrayView>

/// What there is to know of and to do with a descriptor that may be a terminal.
namespace zel::cli::terminal {

struct Size
{
    int columns = 80;
    int rows = 24;
};

/// Whether it is a terminal on which what stands there can be replaced. One that does not say what
/// it is counts as one that cannot do that.
bool canBeDrawnOn(int descriptor);

/// The usual size for what is no terminal or does not tell.
Size sizeOf(int descriptor);

/// Writes everything; 0 or the errno that stopped it. Waits where there is no room for more, even
/// if the descriptor was set not to. May be called from a signal handler.
int writeAll(int descriptor, QByteArrayView bytes);

} // namespace zel::cli::terminal
