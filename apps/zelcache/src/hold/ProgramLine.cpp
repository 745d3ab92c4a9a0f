#include "hold/ProgramLine.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

QStringList withPaths(const QStringList &programLine, const QStringList &paths)
{
    const QString mark = u"{}"_s;
    QStringList line = programLine.first(qMin<qsizetype>(1, programLine.size()));
    for (const QString &argument : programLine.mid(1)) {
        if (!argument.contains(mark)) {
            line.append(argument);
            continue;
        }
        // A path that holds "{}" itself stays whole.
        const QStringList pieces = argument.split(mark);
        for (const QString &path : paths)
            line.append(pieces.join(path));
    }
    return line;
}

QString pathsVariable(const QStringList &paths)
{
    return paths.join(u'\n');
}

} // namespace zel::cli
