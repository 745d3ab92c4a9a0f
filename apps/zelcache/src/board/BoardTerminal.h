#pragma once

#include "board/BoardScreen.h"

#include <QSocketNotifier>

#include <array>
#include <functional>
#include <memory>

namespace zel::cli {

/// The terminal of standard output for as long as the board has it: the board stands alone on it,
/// keys are read one by one and not shown, and a new size is heard of. The destructor gives it back
/// as it was; so does a signal that ends the program at once, or stops it until it goes on. One at
/// a time, on the main thread.
class BoardTerminal
{
public:
    /// Whether standard output is a terminal on which lines can be replaced.
    static bool canBeDrawnOn();
    /// How large standard output is, if it is a terminal; lines that are appended have no end.
    static BoardRoom roomToAppend();

    /// Called on this thread's event loop; the second one when the user has seen enough.
    BoardTerminal(std::function<void()> onResize, std::function<void()> onQuit);
    ~BoardTerminal();
    BoardTerminal(const BoardTerminal &) = delete;
    BoardTerminal &operator=(const BoardTerminal &) = delete;

    BoardRoom room() const;
    /// The errno that stopped it, else 0.
    int show(const QStringList &lines);

private:
    void readKeys();
    void watchSize();
    void onSizeChanged();

    const std::function<void()> onResize;
    const std::function<void()> onQuit;
    QStringList shown;
    std::array<int, 2> sizePipe { -1, -1 };
    std::unique_ptr<QSocketNotifier> sizeNotifier;
    std::unique_ptr<QSocketNotifier> keyNotifier;
};

} // namespace zel::cli
