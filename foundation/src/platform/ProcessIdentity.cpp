#include "platform/ProcessIdentity.h"

#include <QDateTime>
#include <QFile>

#include <ctime>

#include <unistd.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The 22nd field. The second one is the program's name, which may hold blanks and parentheses.
std::optional<qint64> startTimeOf(qint64 pid)
{
    const QByteArray status = contentOf(u"/proc/%1/stat"_s.arg(pid));
    const QList<QByteArray> fields = status.mid(status.lastIndexOf(')') + 2).split(' ');
    constexpr qsizetype startTimeField = 22 - 3;
    bool isNumber = false;
    const qint64 time = fields.value(startTimeField).toLongLong(&isNumber);
    return isNumber ? std::optional(time) : std::nullopt;
}

/// Milliseconds since the machine started, those in which it slept included.
qint64 upTime()
{
    timespec time {};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1'000'000;
}

QString bootIdNow()
{
    return QString::fromLatin1(contentOf(u"/proc/sys/kernel/random/boot_id"_s).trimmed());
}

} // namespace

ProcessIdentity ProcessIdentity::current()
{
    const qint64 pid = ::getpid();
    return { pid, startTimeOf(pid).value_or(0), bootIdNow() };
}

bool ProcessIdentity::isAlive() const
{
    return pid > 0 && bootId == bootIdNow() && startTimeOf(pid) == startTime;
}

std::optional<qint64> ProcessIdentity::startOf(qint64 pid)
{
    const auto ticks = startTimeOf(pid);
    if (!ticks)
        return {};
    const qint64 machineStarted = QDateTime::currentMSecsSinceEpoch() - upTime();
    return machineStarted + *ticks * 1000 / ::sysconf(_SC_CLK_TCK);
}

} // namespace zel
