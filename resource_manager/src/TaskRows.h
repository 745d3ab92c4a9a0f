#pragma once

#include "threads/Mutex.h"

#include <QMultiHash>
#include <QSet>
#include <QString>

namespace zel {

/// Which retrieve handles of this process have a row among the acquiring tasks.
///
/// The rows of one process for one resource cannot be told apart in the database: removing one
/// removes all. So a handle that only watches, or that never had a row, leaves them alone while
/// another handle of this process still needs its own. A row that could not be removed, as on a
/// full disk, is remembered: as long as this process lives, nobody else would take it for dead.
///
/// How a handle A that goes spares the row of a handle B that comes meanwhile:
/// 1. A leaves this list, finds nobody else in it and waits for the cache.
/// 2. B enters the list, and only then waits for the cache, to add its row.
/// 3. A holds the cache and asks once more. If B has entered, all rows stay; if not, A removes
///    those that there are, and B adds its own behind that.
///
/// May be used on any thread.
class TaskRows
{
public:
    void insert(const QString &reference, const void *handle)
    {
        const std::lock_guard lock(mutex);
        if (!rows.contains(reference, handle))
            rows.insert(reference, handle);
    }

    void remove(const QString &reference, const void *handle)
    {
        const std::lock_guard lock(mutex);
        rows.remove(reference, handle);
        if (fetchers.value(reference) == handle)
            fetchers.remove(reference);
    }

    /// The handle fetches from now on. One that did before has been taken for dead.
    void setFetcher(const QString &reference, const void *handle)
    {
        const std::lock_guard lock(mutex);
        fetchers.insert(reference, handle);
    }

    bool isFetchedByOther(const QString &reference, const void *handle) const
    {
        const std::lock_guard lock(mutex);
        return fetchers.value(reference, handle) != handle;
    }

    /// The cache was closed, and all rows of this process have gone.
    void clear()
    {
        const std::lock_guard lock(mutex);
        rows.clear();
        fetchers.clear();
        leftOver.clear();
    }

    bool contains(const QString &reference) const
    {
        const std::lock_guard lock(mutex);
        return rows.contains(reference);
    }

    void setLeftOver(const QString &reference, bool isLeftOver)
    {
        const std::lock_guard lock(mutex);
        if (isLeftOver)
            leftOver.insert(reference);
        else
            leftOver.remove(reference);
    }

    bool isLeftOver(const QString &reference) const
    {
        const std::lock_guard lock(mutex);
        return leftOver.contains(reference);
    }

    QList<QString> allLeftOver() const
    {
        const std::lock_guard lock(mutex);
        return leftOver.values();
    }

private:
    mutable Mutex mutex { "the rows of retrieve handles" };
    QMultiHash<QString, const void *> rows;
    QHash<QString, const void *> fetchers;
    QSet<QString> leftOver; ///< references of rows that no handle has any more
};

} // namespace zel
