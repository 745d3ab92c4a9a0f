#include "board/BoardTerminal.h"

#include "board/BoardDrawing.h"
#include "platform/Streams.h"
#include "platform/Terminal.h"

namespace zel::cli {

using streams::standardOutput;

bool BoardTerminal::canBeDrawnOn()
{
    return terminal::canBeDrawnOn(standardOutput);
}

BoardRoom BoardTerminal::roomToAppend()
{
    BoardRoom room;
    constexpr int asWideAsItTakes = 10'000;
    room.columns = asWideAsItTakes;
    if (terminal::isTerminal(standardOutput))
        room.columns = terminal::sizeOf(standardOutput).columns;
    return room;
}

BoardTerminal::BoardTerminal(std::function<void()> onResize, std::function<void()> onQuit)
    : onResize(std::move(onResize))
    , onQuit(std::move(onQuit))
    , takeover({ drawing::entering(), drawing::leaving() },
               { [this] { startAnew(); },
                 [this](QByteArrayView keys) {
                     take(keys);
                 } })
{
}

BoardRoom BoardTerminal::room() const
{
    const terminal::Size size = terminal::sizeOf(standardOutput);
    BoardRoom room;
    room.columns = size.columns;
    room.rows = size.rows;
    return room;
}

std::error_code BoardTerminal::show(const QStringList &lines)
{
    const QByteArray bytes = drawing::change(shown, lines);
    shown = lines;
    return streams::writeAll(standardOutput, bytes);
}

void BoardTerminal::startAnew()
{
    static_cast<void>(streams::writeAll(standardOutput, drawing::emptying()));
    shown.clear();
    onResize();
}

void BoardTerminal::take(QByteArrayView keys)
{
    if (keys.contains('q'))
        onQuit();
}

} // namespace zel::cli
