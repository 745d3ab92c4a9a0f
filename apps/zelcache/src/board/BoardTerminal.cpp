#include "board/BoardTerminal.h"

#include "SignalWatch.h"
#include "board/BoardDrawing.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Where the handler tells of a new size; -1 while nobody wants to know.
std::atomic<int> sizeDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

// As a signal handler needs them: made before the board takes the terminal, and never destroyed.
QByteArray *leavingBytes = nullptr;
termios formerKeys {};
bool keysAreChanged = false;

int writeAll(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), std::size_t(bytes.size()));
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            bytes = bytes.sliced(written);
    }
    return 0;
}

extern "C" void onNewSize(int)
{
    const int errnoBefore = errno;
    const char byte = 0;
    // A pipe that is full tells of a new size already.
    if (const int descriptor = sizeDescriptor; descriptor >= 0)
        static_cast<void>(::write(descriptor, &byte, 1) < 0);
    errno = errnoBefore;
}

/// Only what may be called from a signal handler.
extern "C" void giveTerminalBack()
{
    static_cast<void>(
        ::write(STDOUT_FILENO, leavingBytes->constData(), std::size_t(leavingBytes->size())) < 0);
    if (keysAreChanged)
        ::tcsetattr(STDIN_FILENO, TCSANOW, &formerKeys);
}

void takeKeys()
{
    keysAreChanged = ::isatty(STDIN_FILENO) != 0 && ::tcgetattr(STDIN_FILENO, &formerKeys) == 0;
    if (!keysAreChanged)
        return;
    termios keys = formerKeys;
    keys.c_lflag &= ~tcflag_t(ICANON | ECHO);
    keys.c_cc[VMIN] = 1;
    keys.c_cc[VTIME] = 0;
    // A program that stands still would keep the terminal.
    keys.c_cc[VSUSP] = _POSIX_VDISABLE;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &keys);
}

void setHandlerForNewSizes(void (*handler)(int))
{
    struct sigaction action
    {
    };
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGWINCH, &action, nullptr);
}

winsize sizeOfTerminal()
{
    winsize size {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0)
        return {};
    return size;
}

} // namespace

bool BoardTerminal::canBeDrawnOn()
{
    return ::isatty(STDOUT_FILENO) != 0 && qgetenv("TERM") != "dumb";
}

BoardRoom BoardTerminal::roomToAppend()
{
    BoardRoom room;
    constexpr int asWideAsItTakes = 10'000;
    room.columns = asWideAsItTakes;
    if (::isatty(STDOUT_FILENO) != 0)
        room.columns = sizeOfTerminal().ws_col > 0 ? sizeOfTerminal().ws_col : BoardRoom().columns;
    return room;
}

BoardTerminal::BoardTerminal(std::function<void()> onResize, std::function<void()> onQuit)
    : onResize(std::move(onResize))
    , onQuit(std::move(onQuit))
{
    leavingBytes = new QByteArray(drawing::leaving());
    takeKeys();
    SignalWatch::beforeSuddenEnd(giveTerminalBack);
    static_cast<void>(writeAll(drawing::entering()));
    watchSize();
    if (keysAreChanged) {
        keyNotifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
        QObject::connect(keyNotifier.get(), &QSocketNotifier::activated, keyNotifier.get(),
                         [this] { readKeys(); });
    }
}

BoardTerminal::~BoardTerminal()
{
    setHandlerForNewSizes(SIG_DFL);
    sizeDescriptor = -1;
    sizeNotifier.reset();
    for (const int descriptor : sizePipe) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    SignalWatch::beforeSuddenEnd(nullptr);
    giveTerminalBack();
}

BoardRoom BoardTerminal::room() const
{
    const winsize size = sizeOfTerminal();
    constexpr int usualRows = 24;
    BoardRoom room;
    if (size.ws_col > 0)
        room.columns = size.ws_col;
    room.rows = size.ws_row > 0 ? size.ws_row : usualRows;
    return room;
}

int BoardTerminal::show(const QStringList &lines)
{
    const QByteArray bytes = drawing::change(shown, lines);
    shown = lines;
    return writeAll(bytes);
}

void BoardTerminal::readKeys()
{
    std::array<char, 64> keys {};
    const ssize_t count = ::read(STDIN_FILENO, keys.data(), keys.size());
    if (count < 0 && errno == EINTR)
        return;
    // Without a user at the keys there is nobody who could end the board with them.
    if (count <= 0)
        keyNotifier->setEnabled(false);
    else if (QByteArrayView(keys.data(), count).contains('q'))
        onQuit();
}

void BoardTerminal::watchSize()
{
    // Without a pipe a new size is found at the next look.
    if (::pipe2(sizePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    sizeNotifier = std::make_unique<QSocketNotifier>(sizePipe[0], QSocketNotifier::Read);
    QObject::connect(sizeNotifier.get(), &QSocketNotifier::activated, sizeNotifier.get(),
                     [this] { onSizeChanged(); });
    sizeDescriptor = sizePipe[1];
    setHandlerForNewSizes(onNewSize);
}

void BoardTerminal::onSizeChanged()
{
    std::array<char, 64> bytes {};
    static_cast<void>(::read(sizePipe[0], bytes.data(), bytes.size()) < 0);
    static_cast<void>(writeAll(drawing::emptying()));
    shown.clear();
    onResize();
}

} // namespace zel::cli
