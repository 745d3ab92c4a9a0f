#include "board/BoardDrawing.h"

#include <algorithm>

namespace zel::cli::drawing {

QByteArray entering()
{
    return "\x1b[?1049h\x1b[?25l" + emptying();
}

QByteArray leaving()
{
    return "\x1b[?25h\x1b[?1049l";
}

QByteArray emptying()
{
    return "\x1b[H\x1b[2J";
}

QByteArray change(const QStringList &before, const QStringList &after)
{
    QByteArray bytes;
    const qsizetype rows = std::max(before.size(), after.size());
    for (qsizetype row = 0; row < rows; ++row) {
        const QString line = after.value(row);
        if (row < before.size() && before.at(row) == line)
            continue;
        // The rest is erased after the text: before it, the line would be seen empty.
        bytes += "\x1b[" + QByteArray::number(row + 1) + ";1H" + line.toLocal8Bit() + "\x1b[K";
    }
    return bytes;
}

} // namespace zel::cli::drawing
