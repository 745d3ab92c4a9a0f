#pragma once

#include <QSocketNotifier>

#include <array>
#include <functional>
#include <memory>

namespace zel::cli {

/// Turns SIGINT and SIGTERM into calls on this thread's event loop, so that work can be canceled
/// properly. One watch at a time, on the main thread; while none lives, each of these signals ends
/// the program at once.
class SignalWatch
{
public:
    /// Called once, first of all: from here on the two signals end the program with 128 and their
    /// number, and writing into a closed pipe fails instead of killing. A signal that the caller of
    /// the program ignores stays ignored.
    static void install();

    /// What a signal that ends the program at once does first; null for nothing. It is called from
    /// the signal's handler, so it may do only what is allowed there.
    static void beforeSuddenEnd(void (*action)());

    enum class Signals {
        First, ///< the second one ends the program at once
        All,
    };

    explicit SignalWatch(std::function<void(int)> onSignal, Signals signals = Signals::First);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /// The number of the signal that came last, else 0.
    int received() const { return receivedNumber; }
    /// Whether it was typed at the terminal, which then sent it to all programs that run there.
    bool isFromTerminal() const { return fromTerminal; }

private:
    void readNumbers();

    std::function<void(int)> onSignal;
    std::array<int, 2> pipe { -1, -1 };
    std::unique_ptr<QSocketNotifier> notifier;
    int receivedNumber = 0;
    bool fromTerminal = false;
};

} // namespace zel::cli
