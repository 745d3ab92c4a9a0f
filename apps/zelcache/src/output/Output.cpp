#include "output/Output.h"

#include "output/Json.h"
#include "output/Text.h"
#include "platform/Terminal.h"

#include <QCoreApplication>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Output)
};

/// Many lines are written in parts of about so many letters.
constexpr qsizetype partSize = 32 * 1024;

constexpr auto red = "\x1b[31m";
constexpr auto yellow = "\x1b[33m";
constexpr auto plain = "\x1b[0m";

/// A message is read by somebody, so it repeats a long name in part only.
constexpr int longestWord = 1'000;
constexpr int longestLine = 4'000;

QString shortened(const QString &line)
{
    if (line.size() <= longestWord)
        return line;
    QStringList words = line.split(u' ');
    for (QString &word : words) {
        if (word.size() > longestWord)
            word = elided(word, longestWord);
    }
    return elided(words.join(u' '), longestLine);
}

} // namespace

Output::Output(const Manner &manner)
    : manner(manner)
    , answerToTerminal(terminal::isTerminal(manner.answerDescriptor))
{
    const bool canDraw = terminal::canBeDrawnOn(manner.messageDescriptor);
    colors = canDraw && qEnvironmentVariableIsEmpty("NO_COLOR");
    progress = canDraw && manner.showProgress && !manner.quiet;
}

Output::~Output()
{
    clearProgress();
}

void Output::answer(const QString &line)
{
    answerLines(1, [&line](qsizetype) { return line; });
}

int Output::answerColumns() const
{
    return terminal::sizeOf(manner.answerDescriptor).columns;
}

void Output::answer(const QJsonObject &object)
{
    answer(json::text(object));
}

void Output::answerLines(qsizetype count, const TextAt &lineAt)
{
    clearProgress();
    QString part;
    for (qsizetype i = 0; i < count && !answerFailure_; ++i) {
        part += shown(lineAt(i));
        part += QLatin1Char(manner.lineEnd);
        writePart(part, partSize);
    }
    writePart(part, 1);
}

void Output::answer(const QJsonObject &frame, const QList<LongArray> &arrays)
{
    clearProgress();
    QString rest = json::text(frame);
    QString part;
    for (const LongArray &array : arrays) {
        // Quotes in a text are escaped, so that only the member can look like this.
        const qsizetype gap = rest.indexOf(u'"' + array.name + u"\":[]"_s) + array.name.size() + 4;
        part += shown(rest.left(gap));
        writeElements(part, array);
        rest = rest.mid(gap);
    }
    part += shown(rest);
    part += QLatin1Char(manner.lineEnd);
    writePart(part, 1);
}

void Output::writeElements(QString &part, const LongArray &array)
{
    for (qsizetype i = 0; i < array.count && !answerFailure_; ++i) {
        if (i > 0)
            part += u',';
        part += shown(array.elementAt(i));
        writePart(part, partSize);
    }
}

/// Writes what has come together, once it is so much. Encoded as a whole: line by line that takes
/// several times as long.
void Output::writePart(QString &part, qsizetype atLeast)
{
    if (answerFailure_ || part.size() < atLeast)
        return;
    answerFailure_ = streams::writeAll(manner.answerDescriptor, part.toLocal8Bit());
    part.resize(0); // its room is used again
}

QString Output::shown(const QString &text) const
{
    return answerToTerminal ? escaped(text) : text;
}

bool Output::isAnswerWanted()
{
    if (!answerFailure_ && streams::isReaderGone(manner.answerDescriptor))
        answerFailure_ = std::make_error_code(std::errc::broken_pipe);
    return !answerFailure_;
}

void Output::error(const QString &message)
{
    this->message(Texts::tr("error: "), red, message);
}

void Output::warning(const QString &message)
{
    if (!manner.quiet)
        this->message(Texts::tr("warning: "), yellow, message);
}

void Output::note(const QString &message)
{
    if (manner.verbosity > 0 && !message.isEmpty())
        this->message({}, "", message);
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

void Output::message(const QString &kind, const char *color, const QString &text)
{
    clearProgress();
    QString shownKind = kind;
    if (colors && !shownKind.isEmpty())
        shownKind = QLatin1StringView(color) + shownKind + QLatin1StringView(plain);
    // A message of several failures has a line for each.
    for (const QString &line : text.split(u'\n'))
        writeMessage(u"zelcache: "_s + shownKind + shortened(escaped(line)) + u'\n');
}

void Output::writeMessage(const QString &text)
{
    // Nobody is left to be told if this does not work out.
    static_cast<void>(streams::writeAll(manner.messageDescriptor, text.toLocal8Bit()));
}

void Output::showProgress(const ProgressState &state)
{
    if (!progress)
        return;
    const QString line = progressLine(state, terminal::sizeOf(manner.messageDescriptor).columns);
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
