#include "board/BoardWatch.h"

#include "board/BoardJson.h"
#include "board/BoardLooker.h"
#include "board/BoardTerminal.h"
#include "cache/CacheOpening.h"
#include "platform/SignalWatch.h"

#include <QDateTime>
#include <QEventLoop>
#include <QRegularExpression>
#include <QTimer>

#include <cmath>
#include <cstdlib>
#include <optional>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

class BoardWatch
{
public:
    explicit BoardWatch(const Context &context)
        : context(context)
        , settings(settingsOf(context.options))
        , looker(settings, [this](const Result<BoardLook> &seen) { take(seen); })
        , model(settings.cachePath.baseDirPath(), settings.sizes)
    {
    }

    /// The number of the signal that ended it, else 0.
    int run(std::chrono::milliseconds interval);

private:
    void take(const Result<BoardLook> &seen);
    void show();
    void append(const QStringList &lines);

    const Context &context;
    const ResourceManagerSettings settings;
    BoardLooker looker;
    BoardModel model;
    std::optional<Board> board; ///< empty before the first look
    bool isFirstBlock = true;
    QEventLoop loop;
    std::unique_ptr<BoardTerminal> terminal;
};

int BoardWatch::run(std::chrono::milliseconds interval)
{
    const SignalWatch signalWatch([this](int) { loop.quit(); });
    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, &loop, [this] { looker.look(); });
    looker.look();
    ticks.start(interval);
    // The lines of a log would stand in those of the board.
    const bool isAlone = !context.options.json && context.options.verbosity == 0;
    if (isAlone && BoardTerminal::canBeDrawnOn())
        terminal = std::make_unique<BoardTerminal>([this] { show(); }, [this] { loop.quit(); });
    loop.exec();
    terminal.reset();
    const int signalNumber = signalWatch.received();
    // A file system that does not answer is not waited for, and nothing is left to be done.
    if (!looker.isOver())
        std::_Exit(int(exitCodeAfter(signalNumber, ExitCode::Success)));
    return signalNumber;
}

void BoardWatch::take(const Result<BoardLook> &seen)
{
    board = seen.hasValue()
        ? model.update(seen.value())
        : model.unreadable(QDateTime::currentMSecsSinceEpoch(), seen.error().errorMessage());
    show();
}

void BoardWatch::show()
{
    if (!board)
        return;
    if (terminal) {
        if (terminal->show(boardLines(*board, terminal->room())))
            loop.quit();
        return;
    }
    if (context.options.json) {
        context.output.answer(context.answerWith(boardJson(*board)));
    } else {
        append(boardLines(*board, BoardTerminal::roomToAppend()));
    }
    if (!context.output.isAnswerWanted())
        loop.quit();
}

void BoardWatch::append(const QStringList &lines)
{
    if (!isFirstBlock)
        context.output.answer(QString());
    isFirstBlock = false;
    for (const QString &line : lines)
        context.output.answer(line);
}

} // namespace

ExitCode watchBoard(const Context &context, std::chrono::milliseconds interval)
{
    return exitCodeAfter(BoardWatch(context).run(interval), ExitCode::Success);
}

std::optional<std::chrono::milliseconds> intervalFromText(const QString &text)
{
    constexpr double shortest = 0.1;
    constexpr double longest = 3'600;
    const QRegularExpression pattern(u"^[0-9]{1,4}(\\.[0-9]{1,9})?\\z"_s);
    const double seconds = pattern.match(text).captured().toDouble();
    if (seconds < shortest || seconds > longest)
        return {};
    return std::chrono::milliseconds(qint64(std::round(seconds * 1'000)));
}

} // namespace zel::cli
