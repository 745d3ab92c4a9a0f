#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace zel::test {

/// A base directory of a test's own, and so a semaphore of its own. Both go with the object: a set
/// of System V semaphores outlives its processes, and the machine has a fixed number of them.
/// Destroy it after every cache that was opened on it; a manager's lives until the program ends.
class TemporaryCache
{
public:
    TemporaryCache();
    ~TemporaryCache();
    TemporaryCache(const TemporaryCache &) = delete;
    TemporaryCache &operator=(const TemporaryCache &) = delete;

    QString baseDir() const;
    QString dataDir() const;
    QString databasePath() const;
    /// A path below the temporary directory but beside the cache.
    QString outside(const QString &name) const;
    /// A base directory for one more cache, beside this one, whose semaphore goes with the object
    /// as well.
    QString addBaseDir(const QString &name);
    /// The semaphore's key for a base directory spelled like this.
    static QString semaphoreKey(const QString &baseDir);

private:
    QTemporaryDir directory;
    QStringList baseDirs; // all that have a semaphore
};

/// Writes a file with its parent folders; fails the test if it cannot.
void writeFile(const QString &path, const QByteArray &content);
QByteArray readFile(const QString &path);

} // namespace zel::test
