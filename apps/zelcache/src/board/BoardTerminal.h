#pragma once

#include "board/BoardScreen.h"
#include "platform/TerminalTakeover.h"

#include <functional>
#include <system_error>

namespace zel::cli {

/// The board on the terminal of standard output, alone for as long as this lives. One at a time, on
/// the main thread.
class BoardTerminal
{
public:
    /// Whether standard output is a terminal on which lines can be replaced.
    static bool canBeDrawnOn();
    /// How large standard output is, if it is a terminal; lines that are appended have no end.
    static BoardRoom roomToAppend();

    /// Called on this thread's event loop; the second one when the user has seen enough.
    BoardTerminal(std::function<void()> onResize, std::function<void()> onQuit);

    BoardRoom room() const;
    /// What stopped it, if anything did.
    std::error_code show(const QStringList &lines);

private:
    void startAnew();
    void take(QByteArrayView keys);

    const std::function<void()> onResize;
    const std::function<void()> onQuit;
    QStringList shown;
    TerminalTakeover takeover; ///< goes first, as it calls the others
};

} // namespace zel::cli
