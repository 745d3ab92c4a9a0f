#include "board/BoardWatch.h"

#include "Library.h"
#include "SignalWatch.h"
#include "board/BoardJson.h"
#include "board/BoardSource.h"
#include "board/BoardTerminal.h"

#include <QDateTime>
#include <QEventLoop>
#include <QTimer>

#include <cmath>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

class BoardWatch
{
public:
    explicit BoardWatch(const Context &context)
        : context(context)
        , settings(settingsOf(context.options))
        , model(settings.cachePath.baseDirPath(), settings.sizes)
    {
    }

    /// The number of the signal that ended it, else 0.
    int run(std::chrono::milliseconds interval);

private:
    void look();
    void show();
    void append(const QStringList &lines);

    const Context &context;
    const ResourceManagerSettings settings;
    BoardModel model;
    Board board;
    bool isFirstBlock = true;
    QEventLoop loop;
    std::unique_ptr<BoardTerminal> terminal;
};

int BoardWatch::run(std::chrono::milliseconds interval)
{
    const SignalWatch signalWatch([this](int) { loop.quit(); });
    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, &loop, [this] { look(); });
    // The first look comes from the loop too: whatever ends the board ends a running loop.
    QTimer::singleShot(0, &loop, [this] { look(); });
    ticks.start(interval);
    // The lines of a log would stand in those of the board.
    const bool isAlone = !context.options.json && context.options.verbosity == 0;
    if (isAlone && BoardTerminal::canBeDrawnOn())
        terminal = std::make_unique<BoardTerminal>([this] { show(); }, [this] { loop.quit(); });
    loop.exec();
    terminal.reset();
    return signalWatch.received();
}

void BoardWatch::look()
{
    const auto seen = lookAt(settings);
    board = seen.hasValue()
        ? model.update(seen.value())
        : model.unreadable(QDateTime::currentMSecsSinceEpoch(), seen.error().errorMessage());
    show();
}

void BoardWatch::show()
{
    if (terminal) {
        if (terminal->show(boardLines(board, terminal->room())) != 0)
            loop.quit();
        return;
    }
    if (context.options.json) {
        context.output.answer(context.answerWith(boardJson(board)));
    } else {
        append(boardLines(board, BoardTerminal::roomToAppend()));
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
    const int signalNumber = BoardWatch(context).run(interval);
    return signalNumber == 0 ? ExitCode::Success : exitCodeOfSignal(signalNumber);
}

std::optional<std::chrono::milliseconds> intervalFromText(const QString &text)
{
    constexpr double shortest = 0.1;
    constexpr double longest = 3'600;
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !(seconds >= shortest && seconds <= longest))
        return {};
    return std::chrono::milliseconds(qint64(std::round(seconds * 1'000)));
}

} // namespace zel::cli
