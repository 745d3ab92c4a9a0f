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

/// Of a process's status behind its second field, the program's name, which may hold blanks and
/// parentheses. The numbers of fields begin with 1.
QByteArray fieldOf(const QList<QByteArray> &fieldsFromThird, qsizetype number)
{
    return fieldsFromThird.value(number - 3);
}

/// Whether it has ended and is only not reaped yet. Where its first thread alone has ended, the
/// others live on.
bool isOver(const QList<QByteArray> &fieldsFromThird)
{
    const QByteArray state = fieldOf(fieldsFromThird, 3);
    const int threads = fieldOf(fieldsFromThird, 20).toInt();
    return (state == "Z" || state == "X") && threads <= 1;
}

/// In ticks; empty without a process.
std::optional<qint64> startTimeOf(qint64 pid)
{
    const QByteArray status = contentOf(u"/proc/%1/stat"_s.arg(pid));
    const QList<QByteArray> fields = status.mid(status.lastIndexOf(')') + 2).split(' ');
    bool isNumber = false;
    const qint64 time = fieldOf(fields, 22).toLongLong(&isNumber);
    return isNumber && !isOver(fields) ? std::optional(time) : std::nullopt;
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

qint64 ProcessIdentity::numberSpace()
{
    // A link to "pid:[4026531836]".
    const QString name = QFile::symLinkTarget(u"/proc/self/ns/pid"_s);
    return name.section(u'[', 1).chopped(name.endsWith(u']') ? 1 : 0).toLongLong();
}

std::optional<qint64> ProcessIdentity::startOf(qint64 pid)
{
    const auto ticks = startTimeOf(pid);
    if (!ticks)
        return {};
    // The clock first: should something come between, the process seems older than it is, never
    // younger than what it has done.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 machineStarted = now - upTime();
    return machineStarted + *ticks * 1000 / ::sysconf(_SC_CLK_TCK);
}

} // namespace zel
