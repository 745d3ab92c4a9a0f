#pragma once

#include <QMultiHash>
#include <QMutex>
#include <QString>

namespace zel {

/// Which retrieve handles of this process have a row among the acquiring tasks.
///
/// The rows of one process for one resource cannot be told apart in the database: removing one
/// removes all. So a handle that only watches, or that never had a row, leaves them alone while
/// another handle of this process still needs its own. May be used on any thread.
class TaskRows
{
public:
    void insert(const QString &reference, const void *handle)
    {
        const QMutexLocker lock(&mutex);
        if (!rows.contains(reference, handle))
            rows.insert(reference, handle);
    }

    void remove(const QString &reference, const void *handle)
    {
        const QMutexLocker lock(&mutex);
        rows.remove(reference, handle);
    }

    /// The cache was closed, and all rows of this process have gone.
    void clear()
    {
        const QMutexLocker lock(&mutex);
        rows.clear();
    }

    bool contains(const QString &reference) const
    {
        const QMutexLocker lock(&mutex);
        return rows.contains(reference);
    }

private:
    mutable QMutex mutex;
    QMultiHash<QString, const void *> rows;
};

} // namespace zel
