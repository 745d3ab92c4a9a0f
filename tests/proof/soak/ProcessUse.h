#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>

namespace zel::test {

/// What this process takes up at one moment, and a cache on the disk with it. Only what belongs to
/// this process is counted, whatever else runs on the machine.
struct ProcessUse
{
    enum Quantity {
        HeapBytes, ///< what malloc(), or the address sanitizer's, has given out, on all threads
        ResidentBytes,
        Descriptors,
        Threads,
        Semaphores, ///< sets of the kernel that this process was the last to touch, and named ones
        Connections, ///< of QtSql, by name
        Objects, ///< below the manager, its queue and the application
        DatabaseBytes,
        JournalBytes,
        Entries, ///< files and folders below the cache's and their parent, hidden ones too
        QuantityCount
    };

    static const char *name(Quantity quantity);
    /// All but Objects, which only those who know the manager can count.
    static ProcessUse now(const QString &folder, const QString &databasePath);

    std::array<qint64, QuantityCount> amounts {};
};

/// Looks at a row of uses with the same number of retrieves between each two.
///
/// Steps that come once are no growth (a table that doubles, a page that enters a cache), nor are
/// ups and downs. What is lost with each retrieve is: the least of the last third of the row then
/// lies above the least of the first third, and the most above the most.
class Growth
{
public:
    struct Allowance
    {
        double heapBytesPerRetrieve = 0;
        /// Each retrieve names a resource that nobody has named before, which the cache remembers.
        bool namesAnew = false;
    };

    explicit Growth(int retrievesBetween)
        : retrievesBetween(retrievesBetween)
    {
    }

    void add(const ProcessUse &use) { uses.append(use); }
    qint64 of(ProcessUse::Quantity quantity) const;
    /// A sentence for each quantity that has grown by more than it may, with its row.
    QStringList violations(const Allowance &allowance) const;

private:
    qint64 most(ProcessUse::Quantity quantity, const Allowance &allowance) const;
    QString row(ProcessUse::Quantity quantity) const;

    int retrievesBetween;
    QList<ProcessUse> uses;
};

} // namespace zel::test
