#include "ProcessUse.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>

#include <algorithm>

#include <malloc.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
// GCC does not bring the header.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

#ifdef __SANITIZE_ADDRESS__
qint64 heapBytes()
{
    return qint64(__sanitizer_get_current_allocated_bytes());
}
#else
qint64 heapBytes()
{
    const struct mallinfo2 info = ::mallinfo2();
    return qint64(info.uordblks + info.hblkhd);
}
#endif

/// The number behind a word of /proc/self/status.
qint64 fromStatus(const QByteArray &word)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(word + ':'))
            return line.mid(word.size() + 1).simplified().split(' ').first().toLongLong();
    }
    return -1;
}

qint64 entriesBelow(const QString &folder)
{
    qint64 count = 0;
    for (QDirIterator all(folder, everything, QDirIterator::Subdirectories); all.hasNext(); ++count)
        all.next();
    return count;
}

/// The kernel does not say who made a set, but which process has last worked with it.
qint64 kernelSemaphores()
{
    struct seminfo limits = {};
    const int last = ::semctl(0, 0, SEM_INFO, &limits);
    qint64 count = 0;
    for (int index = 0; index <= last; ++index) {
        struct semid_ds description = {};
        const int set = ::semctl(index, 0, SEM_STAT, &description);
        if (set >= 0 && ::semctl(set, 0, GETPID) == ::getpid())
            ++count;
    }
    return count;
}

qint64 namedSemaphores()
{
    return QDir(u"/dev/shm"_s).entryList({ u"sem.*"_s }, everything).size();
}

/// The least, or the most, of the first and of the last third.
template<typename Choose>
std::pair<qint64, qint64> ofThirds(const QList<qint64> &row, Choose choose)
{
    const qsizetype third = std::max<qsizetype>(row.size() / 3, 1);
    return { *choose(row.begin(), row.begin() + third), *choose(row.end() - third, row.end()) };
}

constexpr qint64 kibi = 1024;
constexpr qint64 mebi = kibi * kibi;

/// By how much a quantity may grow whatever is done; nothing for most.
qint64 slackOf(ProcessUse::Quantity quantity)
{
    switch (quantity) {
    // How full tables and caches are when it is looked.
    case ProcessUse::HeapBytes:
        return 8 * kibi;
    // What malloc() cannot give back: holes, and an arena for each of a few threads. A leak shows
    // in what it has given out.
    case ProcessUse::ResidentBytes:
#ifdef __SANITIZE_ADDRESS__
        // It keeps what is freed aside for a while, to see who uses it nevertheless.
        return 512 * mebi;
#else
        return 16 * mebi;
#endif
    // Rows come and go, and so do pages; a few are kept in reserve.
    case ProcessUse::DatabaseBytes:
        return 64 * kibi;
    // Begins anew after a thousand pages, when the transaction that is under way has ended.
    case ProcessUse::JournalBytes:
        return 5 * mebi;
    default:
        return 0;
    }
}

/// What stays of a resource for good: a row that says that it is missing, the page of which SQLite
/// may keep in memory, and the record of its fetch, until somebody verifies the cache.
qint64 remembranceOf(ProcessUse::Quantity quantity)
{
    switch (quantity) {
    case ProcessUse::HeapBytes:
    case ProcessUse::DatabaseBytes:
        return kibi;
    case ProcessUse::Entries:
        return 1;
    default:
        return 0;
    }
}

} // namespace

const char *ProcessUse::name(Quantity quantity)
{
    static constexpr const char *names[]
        = { "heap bytes",  "resident bytes", "descriptors",    "threads",       "semaphores",
            "connections", "objects",        "database bytes", "journal bytes", "entries" };
    return names[quantity];
}

ProcessUse ProcessUse::now(const QString &folder, const QString &databasePath)
{
    ::malloc_trim(0);
    ProcessUse use;
    use.amounts[HeapBytes] = heapBytes();
    use.amounts[ResidentBytes] = fromStatus("VmRSS") * 1024;
    use.amounts[Descriptors] = QDir(u"/proc/self/fd"_s).entryList(everything).size();
    use.amounts[Threads] = fromStatus("Threads");
    use.amounts[Semaphores] = kernelSemaphores() + namedSemaphores();
    use.amounts[Connections] = QSqlDatabase::connectionNames().size();
    use.amounts[DatabaseBytes] = QFileInfo(databasePath).size();
    use.amounts[JournalBytes] = QFileInfo(databasePath + u"-wal"_s).size();
    use.amounts[Entries] = entriesBelow(folder);
    return use;
}

QString Growth::row(ProcessUse::Quantity quantity) const
{
    QStringList texts;
    for (const ProcessUse &use : uses)
        texts.append(QString::number(use.amounts[quantity]));
    return texts.join(u' ');
}

qint64 Growth::of(ProcessUse::Quantity quantity) const
{
    QList<qint64> amounts;
    for (const ProcessUse &use : uses)
        amounts.append(use.amounts[quantity]);
    if (amounts.isEmpty())
        return 0;
    using Iterator = QList<qint64>::const_iterator;
    const auto least = ofThirds(amounts, std::min_element<Iterator>);
    const auto most = ofThirds(amounts, std::max_element<Iterator>);
    return std::min(least.second - least.first, most.second - most.first);
}

qint64 Growth::most(ProcessUse::Quantity quantity, const Allowance &allowance) const
{
    const qint64 retrieves = uses.size() * retrievesBetween;
    qint64 bytes = slackOf(quantity);
    if (quantity == ProcessUse::HeapBytes)
        bytes += qint64(allowance.heapBytesPerRetrieve * double(retrieves));
    if (allowance.namesAnew)
        bytes += remembranceOf(quantity) * retrieves;
    return bytes;
}

QStringList Growth::violations(const Allowance &allowance) const
{
    QStringList found;
    for (int i = 0; i < ProcessUse::QuantityCount; ++i) {
        const auto quantity = ProcessUse::Quantity(i);
        if (of(quantity) <= most(quantity, allowance))
            continue;
        found.append(u"%1 grow by %2: %3"_s.arg(QString::fromLatin1(ProcessUse::name(quantity)),
                                                QString::number(of(quantity)), row(quantity)));
    }
    return found;
}

} // namespace zel::test
