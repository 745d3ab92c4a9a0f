#include "PtyRun.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace zel::test {

namespace {

winsize sizeOf(int columns, int rows)
{
    winsize size {};
    size.ws_col = static_cast<unsigned short>(columns);
    size.ws_row = static_cast<unsigned short>(rows);
    return size;
}

constexpr int limit = 40'000;

std::vector<char *> pointersTo(std::vector<QByteArray> &texts)
{
    std::vector<char *> pointers;
    for (QByteArray &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

PtyRun::PtyRun(const QString &program, const QStringList &arguments)
    : PtyRun(program, arguments, Options())
{
}

PtyRun::PtyRun(const QString &program, const QStringList &arguments, const Options &options)
{
    winsize size = sizeOf(options.columns, options.rows);
    child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0)
        becomeProgram(program, arguments, options);
    EXPECT_GT(child, 0) << "no terminal: errno " << errno;
}

PtyRun::~PtyRun()
{
    if (child > 0) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    if (terminal >= 0)
        ::close(terminal);
}

void PtyRun::becomeProgram(const QString &program, const QStringList &arguments,
                           const Options &options)
{
    for (const QString &setting : options.environment)
        ::setenv(qPrintable(setting.section(u'=', 0, 0)), qPrintable(setting.section(u'=', 1)), 1);
    if (!options.inputIsTerminal)
        ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    if (!options.outputIsTerminal)
        ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
    if (options.outputIsNonBlocking)
        ::fcntl(STDOUT_FILENO, F_SETFL, O_RDWR | O_NONBLOCK);
    std::vector<QByteArray> texts { QFile::encodeName(program) };
    for (const QString &argument : arguments)
        texts.push_back(argument.toUtf8());
    ::execv(texts.front().constData(), pointersTo(texts).data());
    ::_exit(127);
}

void PtyRun::type(const QByteArray &keys) const
{
    EXPECT_EQ(::write(terminal, keys.constData(), std::size_t(keys.size())), keys.size());
}

void PtyRun::resize(int columns, int rows) const
{
    const winsize size = sizeOf(columns, rows);
    EXPECT_EQ(::ioctl(terminal, TIOCSWINSZ, &size), 0);
}

void PtyRun::hangUp()
{
    ::close(terminal);
    terminal = -1;
    atEnd = true;
}

bool PtyRun::isUsual() const
{
    termios settings {};
    EXPECT_EQ(::tcgetattr(terminal, &settings), 0);
    const tcflag_t usual = ECHO | ICANON;
    return (settings.c_lflag & usual) == usual;
}

QByteArray PtyRun::seen()
{
    return seenSoFar;
}

bool PtyRun::waitFor(const QByteArray &text)
{
    const bool came = waitUntil([this, &text] { return seenSoFar.contains(text); });
    EXPECT_TRUE(came) << "no \"" << text.toStdString() << "\" in:\n" << seenSoFar.toStdString();
    return came;
}

bool PtyRun::waitForSeen(const QString &what,
                         const std::function<bool(const QByteArray &)> &condition)
{
    const bool came = waitUntil([this, &condition] { return condition(seenSoFar); });
    EXPECT_TRUE(came) << "no " << what.toStdString() << " in:\n" << seenSoFar.toStdString();
    return came;
}

int PtyRun::exitCode()
{
    EXPECT_TRUE(waitUntil([this] { return atEnd; })) << "still running:\n"
                                                     << seenSoFar.toStdString();
    if (!atEnd)
        return -1;
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    child = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void PtyRun::readSome()
{
    char bytes[4096];
    const ssize_t count = ::read(terminal, bytes, sizeof bytes);
    // The terminal's last user is gone: Linux says so with an error.
    if (count == 0 || (count < 0 && errno != EINTR))
        atEnd = true;
    if (count > 0)
        seenSoFar.append(bytes, count);
}

bool PtyRun::waitUntil(const std::function<bool()> &condition)
{
    const QDeadlineTimer deadline(limit);
    while (!condition()) {
        if (atEnd || deadline.hasExpired())
            return false;
        pollfd terminalReady { terminal, POLLIN, 0 };
        if (::poll(&terminalReady, 1, int(deadline.remainingTime())) > 0)
            readSome();
    }
    return true;
}

} // namespace zel::test
