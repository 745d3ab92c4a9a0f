#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace zel::cli {

/// Turns SIGINT, SIGTERM and SIGHUP into calls on this thread's event loop, so that work can be
/// canceled properly. While no watch lives, each of these signals ends the program at once.
///
/// Watches nest: the innermost one hears the signals, and what an outer one has heard is told to
/// it too. A command that has entered rows into the cache keeps one for all of its time, so that no
/// moment is left in which a signal leaves them behind. Main thread only.
class SignalWatch
{
public:
    /// Called once, first of all: from here on these signals end the program with 128 and their
    /// number, and writing into a closed pipe or over a limit of the size of files fails instead of
    /// killing. A signal that the caller of the program ignores stays ignored.
    static void install();

    /// What a signal that ends the program at once does first; null for nothing. It is called from
    /// the signal's handler, so it may do only what is allowed there.
    static void beforeSuddenEnd(void (*action)());

    /// Waits until something can be read there. False if a signal came first: the watch that lives
    /// has yet to be told of it.
    static bool waitForInput(int descriptor);

    enum class Signals {
        First, ///< the second SIGINT or SIGTERM ends the program at once
        All,
    };

    explicit SignalWatch(std::function<void(int)> onSignal, Signals signals = Signals::First);
    /// The outermost one, for all of the program's time: while no other watch lives and `isNeeded`
    /// says no, each signal ends the program at once as without a watch. It is called from the
    /// signal's handler.
    explicit SignalWatch(bool (*isNeeded)());
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /// The number of the signal that came last, else 0.
    int received() const { return receivedNumber; }
    /// The same for work without an event loop: hears of what came until now.
    int receivedNow();
    /// Whether it was typed at the terminal, which then sent it to all programs that run there.
    bool isFromTerminal() const { return fromTerminal; }

private:
    class Pipe;

    SignalWatch(std::function<void(int)> onSignal, Signals signals, bool (*isNeeded)());
    void listen();
    void readNumbers();
    unsigned char lastTold() const;

    std::function<void(int)> onSignal;
    const Signals signals;
    bool (*const isNeeded)() = nullptr; ///< null for always
    SignalWatch *const outer;
    const std::shared_ptr<Pipe> pipe;
    std::unique_ptr<QSocketNotifier> notifier;
    int receivedNumber = 0;
    bool fromTerminal = false;
};

} // namespace zel::cli
