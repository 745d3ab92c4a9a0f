#include "platform/TerminalTakeover.h"

#include "platform/SignalWatch.h"
#include "platform/Streams.h"

#include <QByteArray>

#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace zel::cli {

namespace {

/// Where the handlers tell that all has to be drawn anew; -1 while nobody wants to know.
std::atomic<int> sizeDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

// As a signal handler needs them: made before the terminal is taken, and never destroyed.
const QByteArray *enteringBytes = nullptr;
const QByteArray *leavingBytes = nullptr;
termios formerKeys {};
termios ownKeys {};
bool keysAreChanged = false;

void askForRedrawing()
{
    const char byte = 0;
    // A pipe that is full asks for it already.
    if (const int descriptor = sizeDescriptor; descriptor >= 0)
        static_cast<void>(::write(descriptor, &byte, 1) < 0);
}

void takeTerminal()
{
    // First, since a program in the background is stopped here, before it draws anything.
    if (keysAreChanged)
        ::tcsetattr(streams::standardInput, TCSANOW, &ownKeys);
    static_cast<void>(streams::writeAll(streams::standardOutput, *enteringBytes));
}

void giveTerminalBack()
{
    static_cast<void>(streams::writeAll(streams::standardOutput, *leavingBytes));
    if (keysAreChanged)
        ::tcsetattr(streams::standardInput, TCSANOW, &formerKeys);
}

void setHandler(int number, void (*handler)(int))
{
    struct sigaction action
    {
    };
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(number, &action, nullptr);
}

/// What the system does with the signal by itself, now: it returns if the program goes on.
void letHappen(int number)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, number);
    setHandler(number, SIG_DFL);
    ::raise(number);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

// The handlers do only what is allowed in one.

extern "C" void onNewSize(int)
{
    const int errnoBefore = errno;
    askForRedrawing();
    errno = errnoBefore;
}

extern "C" void onQuitKey(int number)
{
    giveTerminalBack();
    letHappen(number);
}

extern "C" void onStop(int number)
{
    const int errnoBefore = errno;
    giveTerminalBack();
    letHappen(number);
    setHandler(number, onStop);
    takeTerminal();
    askForRedrawing();
    errno = errnoBefore;
}

void prepareKeys()
{
    keysAreChanged = ::isatty(streams::standardInput) != 0
        && ::tcgetattr(streams::standardInput, &formerKeys) == 0;
    ownKeys = formerKeys;
    ownKeys.c_lflag &= ~tcflag_t(ICANON | ECHO);
    ownKeys.c_cc[VMIN] = 1;
    ownKeys.c_cc[VTIME] = 0;
}

/// But not for those that the caller of the program ignores.
void handle(int number, void (*handler)(int))
{
    struct sigaction before
    {
    };
    if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
        setHandler(number, handler);
}

void handleSignals(void (*quit)(int), void (*stop)(int))
{
    handle(SIGQUIT, quit);
    handle(SIGTSTP, stop);
}

} // namespace

TerminalTakeover::TerminalTakeover(const Bytes &bytes, Calls calls)
    : calls(std::move(calls))
{
    enteringBytes = new QByteArray(bytes.entering);
    leavingBytes = new QByteArray(bytes.leaving);
    prepareKeys();
    SignalWatch::beforeSuddenEnd(giveTerminalBack);
    handleSignals(onQuitKey, onStop);
    takeTerminal();
    watchSize();
    if (keysAreChanged) {
        keyNotifier
            = std::make_unique<QSocketNotifier>(streams::standardInput, QSocketNotifier::Read);
        QObject::connect(keyNotifier.get(), &QSocketNotifier::activated, keyNotifier.get(),
                         [this] { readKeys(); });
    }
}

TerminalTakeover::~TerminalTakeover()
{
    setHandler(SIGWINCH, SIG_DFL);
    sizeDescriptor = -1;
    sizeNotifier.reset();
    for (const int descriptor : sizePipe) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    SignalWatch::beforeSuddenEnd(nullptr);
    handleSignals(SIG_DFL, SIG_DFL);
    giveTerminalBack();
}

void TerminalTakeover::readKeys()
{
    std::array<char, 64> keys {};
    const ssize_t count = ::read(streams::standardInput, keys.data(), keys.size());
    if (count < 0 && errno == EINTR)
        return;
    // The user at the keys is gone.
    if (count <= 0)
        keyNotifier->setEnabled(false);
    else
        calls.onKeys(QByteArrayView(keys.data(), count));
}

void TerminalTakeover::watchSize()
{
    // Without a pipe a new size is found at the next look.
    if (::pipe2(sizePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    sizeNotifier = std::make_unique<QSocketNotifier>(sizePipe[0], QSocketNotifier::Read);
    QObject::connect(sizeNotifier.get(), &QSocketNotifier::activated, sizeNotifier.get(),
                     [this] { onSizeChanged(); });
    sizeDescriptor = sizePipe[1];
    setHandler(SIGWINCH, onNewSize);
}

void TerminalTakeover::onSizeChanged()
{
    std::array<char, 64> bytes {};
    static_cast<void>(::read(sizePipe[0], bytes.data(), bytes.size()) < 0);
    calls.onRedraw();
}

} // namespace zel::cli
