#include "platform/SignalWatch.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace zel::cli {

namespace {

/// Where the handler tells of a signal; -1 while nobody watches.
std::atomic<int> wakeUpDescriptor = -1;
std::atomic<bool> tellsAll = false;
/// Whether the watch is needed at this moment; null for always.
std::atomic<bool (*)()> isWatchNeeded = nullptr;
static_assert(std::atomic<bool (*)()>::is_always_lock_free, "a signal handler must not wait");
/// Of the signals after which the next one ends the program.
std::atomic<bool> firstWasTold = false;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not wait");

SignalWatch *innermost = nullptr;

/// Null while there is nothing to be done.
std::atomic<void (*)()> lastAction = nullptr;
static_assert(std::atomic<void (*)()>::is_always_lock_free, "a signal handler must not wait");

/// Added to the number of a signal that the terminal has sent.
constexpr unsigned terminalMark = 0x80;

/// A hangup is no sign of impatience: where a connection drops, the shell sends one and so does the
/// system, and some send it right behind SIGTERM.
bool isStillTold(int number)
{
    return tellsAll || number == SIGHUP || !firstWasTold.exchange(true);
}

bool tell(int descriptor, unsigned char told)
{
    // A pipe that is full tells of signals already.
    return ::write(descriptor, &told, 1) == 1 || errno == EAGAIN;
}

extern "C" void onTerminatingSignal(int number, siginfo_t *details, void *)
{
    const int errnoBefore = errno;
    const int descriptor = wakeUpDescriptor;
    const bool isFromTerminal = details && details->si_code == SI_KERNEL;
    const auto told
        = static_cast<unsigned char>(unsigned(number) | (isFromTerminal ? terminalMark : 0));
    const auto isNeeded = isWatchNeeded.load();
    const bool isWatched = descriptor >= 0 && (!isNeeded || isNeeded());
    if (!isWatched || !isStillTold(number) || !tell(descriptor, told)) {
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

extern "C" void onFileTooLarge(int) { }

/// A file that would grow over the limit of the user makes writing fail, with its own message,
/// instead of killing. It is no ignoring, which would pass on to the programs that this one starts.
void surviveFileTooLarge()
{
    struct sigaction action
    {
    };
    action.sa_handler = onFileTooLarge;
    set(SIGXFSZ, action);
}

} // namespace

/// Shared by the watches that are nested.
class SignalWatch::Pipe
{
public:
    Pipe()
    {
        if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            ends = { -1, -1 };
    }
    ~Pipe()
    {
        for (const int end : ends) {
            if (end >= 0)
                ::close(end);
        }
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    int readingEnd() const { return ends[0]; }
    int writingEnd() const { return ends[1]; }

private:
    std::array<int, 2> ends {};
};

void SignalWatch::install()
{
    handle(SIGINT);
    handle(SIGTERM);
    handle(SIGHUP);
    ignore(SIGPIPE);
    surviveFileTooLarge();
}

void SignalWatch::beforeSuddenEnd(void (*action)())
{
    lastAction = action;
}

bool SignalWatch::waitForInput(int descriptor)
{
    std::array<pollfd, 2> sources { pollfd { descriptor, POLLIN, 0 },
                                    pollfd { innermost ? innermost->pipe->readingEnd() : -1, POLLIN,
                                             0 } };
    while (::poll(sources.data(), sources.size(), -1) < 0) {
        if (errno != EINTR)
            return true; // reading will tell
    }
    return sources[1].revents == 0;
}

SignalWatch::SignalWatch(std::function<void(int)> onSignal, Signals signals)
    : SignalWatch(std::move(onSignal), signals, nullptr)
{
}

SignalWatch::SignalWatch(bool (*isNeeded)())
    : SignalWatch([](int) {}, Signals::First, isNeeded)
{
}

SignalWatch::SignalWatch(std::function<void(int)> onSignal, Signals signals, bool (*isNeeded)())
    : onSignal(std::move(onSignal))
    , signals(signals)
    , isNeeded(isNeeded)
    , outer(innermost)
    , pipe(outer ? outer->pipe : std::make_shared<Pipe>())
{
    innermost = this;
    if (!outer)
        firstWasTold = false;
    else if (outer->notifier)
        outer->notifier->setEnabled(false);
    // Without a pipe the signals go on ending the program at once.
    if (pipe->readingEnd() < 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(pipe->readingEnd(), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this] { readNumbers(); });
    if (outer && outer->receivedNumber != 0)
        static_cast<void>(tell(pipe->writingEnd(), outer->lastTold()));
    listen();
}

SignalWatch::~SignalWatch()
{
    // What nobody has read yet stays in the pipe for the outer one.
    notifier.reset();
    innermost = outer;
    if (!outer) {
        wakeUpDescriptor = -1;
        return;
    }
    if (receivedNumber != 0) {
        outer->receivedNumber = receivedNumber;
        outer->fromTerminal = fromTerminal;
    }
    outer->listen();
}

int SignalWatch::receivedNow()
{
    if (notifier)
        readNumbers();
    return receivedNumber;
}

void SignalWatch::listen()
{
    if (notifier)
        notifier->setEnabled(true);
    tellsAll = signals == Signals::All;
    isWatchNeeded = isNeeded;
    wakeUpDescriptor = pipe->writingEnd();
}

void SignalWatch::readNumbers()
{
    unsigned char told = 0;
    while (::read(pipe->readingEnd(), &told, 1) == 1) {
        receivedNumber = int(told & ~terminalMark);
        fromTerminal = (told & terminalMark) != 0;
        onSignal(receivedNumber);
    }
}

unsigned char SignalWatch::lastTold() const
{
    return static_cast<unsigned char>(unsigned(receivedNumber) | (fromTerminal ? terminalMark : 0));
}

} // namespace zel::cli
