#include "platform/ProcessFacts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<QByteArray> contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

/// When the machine started, in milliseconds since the epoch.
std::optional<qint64> startOfMachine()
{
    const QList<QByteArray> lines = contentOf(u"/proc/stat"_s).value_or(QByteArray()).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("btime "))
            return line.mid(6).toLongLong() * 1000;
    }
    return {};
}

/// The 22nd field, in ticks since the machine started. The second one is the program's name, which
/// may hold blanks and parentheses.
std::optional<qint64> startOf(const QByteArray &status)
{
    const QList<QByteArray> fields = status.mid(status.lastIndexOf(')') + 2).split(' ');
    constexpr qsizetype startField = 22 - 3;
    bool isNumber = false;
    const qint64 ticks = fields.value(startField).toLongLong(&isNumber);
    const qint64 ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    const auto machine = startOfMachine();
    if (!isNumber || !machine || ticksPerSecond <= 0)
        return {};
    return *machine + ticks * 1000 / ticksPerSecond;
}

/// As QDir::tempPath() gives it there. What the process has set since its start is not seen.
std::optional<QString> temporaryFolderOf(const QString &folder)
{
    const auto environment = contentOf(folder + u"/environ"_s);
    if (!environment || environment->isEmpty())
        return {};
    QString path = u"/tmp"_s;
    for (const QByteArray &variable : environment->split('\0')) {
        if (variable.startsWith("TMPDIR=") && variable.size() > 7)
            path = QFile::decodeName(variable.mid(7));
    }
    return QDir::cleanPath(path);
}

} // namespace

ProcessFacts ProcessFacts::of(qint64 processId)
{
    const QString folder = u"/proc/%1"_s.arg(processId);
    const auto status = contentOf(folder + u"/stat"_s);
    if (processId <= 0 || !status)
        return {};
    ProcessFacts facts;
    facts.exists = true;
    const qsizetype name = status->indexOf('(') + 1;
    facts.program = QString::fromLocal8Bit(status->mid(name, status->lastIndexOf(')') - name));
    facts.started = startOf(*status);
    const QFileInfo info(folder);
    facts.user = info.owner().isEmpty() ? QString::number(info.ownerId()) : info.owner();
    facts.temporaryFolder = temporaryFolderOf(folder);
    return facts;
}

} // namespace zel
