#pragma once

/// What there is to know of a descriptor that may be a terminal.
namespace zel::cli::terminal {

struct Size
{
    int columns = 80;
    int rows = 24;
};

bool isTerminal(int descriptor);

/// Whether it is a terminal on which what stands there can be replaced. One that does not say what
/// it is counts as one that cannot do that.
bool canBeDrawnOn(int descriptor);

/// The usual size for what is no terminal or does not tell.
Size sizeOf(int descriptor);

} // namespace zel::cli::terminal
