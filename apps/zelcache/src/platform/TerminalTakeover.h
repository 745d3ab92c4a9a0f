#pragma once

#include <QByteArrayView>
#include <QSocketNotifier>

#include <array>
#include <functional>
#include <memory>

namespace zel::cli {

/// The terminal of standard output for as long as the program has it for itself: keys are read one
/// by one and not shown, and a new size is heard of. The destructor gives it back as it was; so
/// does a signal that ends the program at once, or stops it until it goes on. One at a time, on the
/// main thread.
class TerminalTakeover
{
public:
    /// What the terminal is sent when it is taken, also when the program goes on after a stop, and
    /// when it is given back.
    struct Bytes
    {
        QByteArray entering;
        QByteArray leaving;
    };

    /// Called on this thread's event loop: when the size is another or what stood there is gone, so
    /// that all has to be drawn anew; and with each key.
    struct Calls
    {
        std::function<void()> onRedraw;
        std::function<void(QByteArrayView)> onKeys;
    };

    TerminalTakeover(const Bytes &bytes, Calls calls);
    ~TerminalTakeover();
    TerminalTakeover(const TerminalTakeover &) = delete;
    TerminalTakeover &operator=(const TerminalTakeover &) = delete;

private:
    void readKeys();
    void watchSize();
    void onSizeChanged();

    const Calls calls;
    std::array<int, 2> sizePipe { -1, -1 };
    std::unique_ptr<QSocketNotifier> sizeNotifier;
    std::unique_ptr<QSocketNotifier> keyNotifier;
};

} // namespace zel::cli
