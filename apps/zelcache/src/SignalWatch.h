#pragma once

#include <QSocketNotifier>

#include <array>
#include <functional>
#include <memory>

namespace zel::cli {

/// Turns the first SIGINT or SIGTERM into a call on this thread's event loop, so that work can be
/// canceled properly. The second one ends the program at once, as every signal does while no watch
/// lives. One watch at a time, on the main thread.
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

    explicit SignalWatch(std::function<void(int)> onSignal);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

    /// The number of the signal that came, else 0.
    int received() const { return receivedNumber; }

private:
    void readNumber();

    std::function<void(int)> onSignal;
    std::array<int, 2> pipe { -1, -1 };
    std::unique_ptr<QSocketNotifier> notifier;
    int receivedNumber = 0;
};

} // namespace zel::cli
