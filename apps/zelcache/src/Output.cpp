#include "Output.h"

#include "Json.h"
#include "Text.h"

#include <cerrno>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto red = "\x1b[31m";
constexpr auto yellow = "\x1b[33m";
constexpr auto plain = "\x1b[0m";

/// Writes everything; 0 or the errno that stopped it.
int writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), std::size_t(bytes.size()));
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            bytes = bytes.sliced(written);
    }
    return 0;
}

int terminalColumns(int descriptor)
{
    winsize size {};
    constexpr int usual = 80;
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

} // namespace

Output::Output(const Manner &manner)
    : manner(manner)
    , answerToTerminal(::isatty(manner.answerDescriptor) != 0)
    , messagesToTerminal(::isatty(manner.messageDescriptor) != 0)
{
    const bool canDraw = messagesToTerminal && qgetenv("TERM") != "dumb";
    colors = canDraw && qEnvironmentVariableIsEmpty("NO_COLOR");
    progress = canDraw && manner.showProgress && !manner.quiet;
}

Output::~Output()
{
    clearProgress();
}

void Output::answer(const QString &line)
{
    clearProgress();
    if (answerErrno != 0)
        return;
    const QString shown = answerToTerminal ? escaped(line) : line;
    answerErrno = writeAll(manner.answerDescriptor, shown.toLocal8Bit() + manner.lineEnd);
}

int Output::answerColumns() const
{
    return terminalColumns(manner.answerDescriptor);
}

void Output::answer(const QJsonObject &object)
{
    answer(json::text(object));
}

bool Output::isAnswerWanted()
{
    pollfd answers { manner.answerDescriptor, 0, 0 };
    if (answerErrno == 0 && ::poll(&answers, 1, 0) > 0 && (answers.revents & POLLERR) != 0)
        answerErrno = EPIPE;
    return answerErrno == 0;
}

void Output::error(const QString &message)
{
    this->message("error: ", red, message);
}

void Output::warning(const QString &message)
{
    if (!manner.quiet)
        this->message("warning: ", yellow, message);
}

void Output::note(const QString &message)
{
    if (manner.verbosity > 0 && !message.isEmpty())
        this->message("", "", message);
}

void Output::line(const QString &text)
{
    clearProgress();
    writeMessage(escaped(text) + u'\n');
}

void Output::question(const QString &text)
{
    clearProgress();
    writeMessage(escaped(text) + u' ');
}

void Output::message(const char *kind, const char *color, const QString &text)
{
    clearProgress();
    QString shownKind = QLatin1StringView(kind);
    if (colors && !shownKind.isEmpty())
        shownKind = QLatin1StringView(color) + shownKind + QLatin1StringView(plain);
    // A message of several failures has a line for each.
    for (const QString &line : text.split(u'\n'))
        writeMessage(u"zelcache: "_s + shownKind + escaped(line) + u'\n');
}

void Output::writeMessage(const QString &text)
{
    // Nobody is left to be told if this does not work out.
    static_cast<void>(writeAll(manner.messageDescriptor, text.toLocal8Bit()));
}

void Output::showProgress(const ProgressState &state)
{
    if (!progress)
        return;
    const QString line = progressLine(state, terminalColumns(manner.messageDescriptor));
    if (line == shownLine)
        return;
    writeMessage(u"\r"_s + line + u"\x1b[K"_s);
    shownLine = line;
}

void Output::clearProgress()
{
    if (shownLine.isEmpty())
        return;
    writeMessage(u"\r\x1b[K"_s);
    shownLine.clear();
}

} // namespace zel::cli
