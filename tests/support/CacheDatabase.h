#pragma once

#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QVariant>

#include <chrono>

namespace zel::test {

/// A second, independent look at a cache's database file, as another process has it.
class CacheDatabase
{
public:
    explicit CacheDatabase(const QString &path);
    ~CacheDatabase();
    CacheDatabase(const CacheDatabase &) = delete;
    CacheDatabase &operator=(const CacheDatabase &) = delete;

    /// Runs one statement, values bound to its "?" in order; fails the test if it fails.
    void run(const QString &sql, const QList<QVariant> &values = {});
    /// The same where somebody may keep the file locked: false if he does so for this long.
    bool tryRun(const QString &sql, const QList<QVariant> &values, std::chrono::milliseconds limit);
    /// The first value of the first row; an invalid variant without a row.
    QVariant value(const QString &sql, const QList<QVariant> &values = {});
    /// The first column of all rows, as texts.
    QStringList column(const QString &sql, const QList<QVariant> &values = {});

    int count(const QString &table);
    QString status(const QString &reference);
    /// Lets the client's last ping be this long ago.
    void setLastPing(qint64 clientId, std::chrono::milliseconds age);

private:
    QString connectionName;
    QSqlDatabase database;
};

} // namespace zel::test
