#include "SignalWatch.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace zel::cli {

namespace {

/// Where the handler tells of a signal; -1 while nobody watches or after the last one that is told.
std::atomic<int> wakeUpDescriptor = -1;
std::atomic<bool> tellsAll = false;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

/// Null while there is nothing to be done.
std::atomic<void (*)()> lastAction = nullptr;
static_assert(std::atomic<void (*)()>::is_always_lock_free, "a signal handler must not wait");

/// Added to the number of a signal that the terminal has sent.
constexpr unsigned terminalMark = 0x80;

extern "C" void onTerminatingSignal(int number, siginfo_t *details, void *)
{
    const int errnoBefore = errno;
    const int descriptor = tellsAll ? wakeUpDescriptor.load() : wakeUpDescriptor.exchange(-1);
    const bool isFromTerminal = details && details->si_code == SI_KERNEL;
    const char byte = char(unsigned(number) | (isFromTerminal ? terminalMark : 0));
    if (descriptor < 0 || ::write(descriptor, &byte, 1) != 1) {
        if (const auto action = lastAction.load())
            action();
        ::_exit(128 + number);
    }
    errno = errnoBefore;
}

void set(int number, struct sigaction action)
{
    struct sigaction before
    {
    };
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
        return;
    action.sa_flags |= SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(number, &action, nullptr);
}

void handle(int number)
{
    struct sigaction action
    {
    };
    action.sa_sigaction = onTerminatingSignal;
    action.sa_flags = SA_SIGINFO;
    set(number, action);
}

void ignore(int number)
{
    struct sigaction action
    {
    };
    action.sa_handler = SIG_IGN;
    set(number, action);
}

} // namespace

void SignalWatch::install()
{
    handle(SIGINT);
    handle(SIGTERM);
    ignore(SIGPIPE);
}

void SignalWatch::beforeSuddenEnd(void (*action)())
{
    lastAction = action;
}

SignalWatch::SignalWatch(std::function<void(int)> onSignal, Signals signals)
    : onSignal(std::move(onSignal))
{
    // Without a pipe the signals go on ending the program at once.
    if (::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(pipe[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this] { readNumbers(); });
    tellsAll = signals == Signals::All;
    wakeUpDescriptor = pipe[1];
}

SignalWatch::~SignalWatch()
{
    wakeUpDescriptor = -1;
    notifier.reset();
    for (const int descriptor : pipe) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
}

void SignalWatch::readNumbers()
{
    char byte = 0;
    while (::read(pipe[0], &byte, 1) == 1) {
        const auto told = static_cast<unsigned char>(byte);
        receivedNumber = int(told & ~terminalMark);
        fromTerminal = (told & terminalMark) != 0;
        onSignal(receivedNumber);
    }
}

} // namespace zel::cli
