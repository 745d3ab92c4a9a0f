#include "SignalWatch.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace zel::cli {

namespace {

/// Where the handler tells of a signal; -1 while nobody watches or after the first one.
std::atomic<int> wakeUpDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

/// Null while there is nothing to be done.
std::atomic<void (*)()> lastAction = nullptr;
static_assert(std::atomic<void (*)()>::is_always_lock_free, "a signal handler must not wait");

extern "C" void onTerminatingSignal(int number)
{
    const int errnoBefore = errno;
    const int descriptor = wakeUpDescriptor.exchange(-1);
    const char byte = char(number);
    if (descriptor < 0 || ::write(descriptor, &byte, 1) != 1) {
        if (const auto action = lastAction.load())
            action();
        ::_exit(128 + number);
    }
    errno = errnoBefore;
}

void handle(int number, void (*handler)(int))
{
    struct sigaction before
    {
    };
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
        return;
    struct sigaction action
    {
    };
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(number, &action, nullptr);
}

} // namespace

void SignalWatch::install()
{
    handle(SIGINT, onTerminatingSignal);
    handle(SIGTERM, onTerminatingSignal);
    handle(SIGPIPE, SIG_IGN);
}

void SignalWatch::beforeSuddenEnd(void (*action)())
{
    lastAction = action;
}

SignalWatch::SignalWatch(std::function<void(int)> onSignal)
    : onSignal(std::move(onSignal))
{
    // Without a pipe the signals go on ending the program at once.
    if (::pipe2(pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(pipe[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this] { readNumber(); });
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

void SignalWatch::readNumber()
{
    char byte = 0;
    if (::read(pipe[0], &byte, 1) != 1)
        return;
    receivedNumber = static_cast<unsigned char>(byte);
    onSignal(receivedNumber);
}

} // namespace zel::cli
