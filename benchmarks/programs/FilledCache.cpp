#include "FilledCache.h"

#include "OpenCache.h"
#include "Protocol.h"

#include <QDir>
#include <QLockFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace zel::bench {

using namespace Qt::Literals::StringLiterals;

namespace {

const auto insertResources
    = u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ?) "
      "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, cleanupPolicy, "
      "lastAccessDateTime, lastStatusUpdateClientId, version) "
      "SELECT 'share:/data/runs/sample-' || i || '.raw', "
      "? || '/Cache/share/' || i || '/sample-' || i || '.raw', 1, 'Ready', 'OnDemand', i, 1, '1' "
      "FROM n"_s;

void run(const QString &databasePath, const QString &sql, const QVariantList &values = {})
{
    const QString connection = u"filling"_s;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
        database.setDatabaseName(databasePath);
        database.open();
        QSqlQuery query(database);
        query.prepare(sql);
        for (const QVariant &value : values)
            query.addBindValue(value);
        if (!query.exec())
            giveUp(query.lastError().text().toStdString());
    }
    QSqlDatabase::removeDatabase(connection);
}

} // namespace

QString databaseOf(const QString &directory)
{
    return directory + u"/ResourceCache.db"_s;
}

void emptyJournal(const QString &databasePath)
{
    run(databasePath, u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
}

QStringList fillCache(const QString &directory, int resources)
{
    QDir().mkpath(directory);
    QLockFile lock(directory + u".filling"_s);
    lock.lock();
    if (!QFile::exists(databaseOf(directory))) {
        openCache(directory);
        if (resources > 0)
            run(databaseOf(directory), insertResources, { resources, directory });
    }
    lock.unlock();

    QStringList references;
    for (int i = 1; i <= resources; ++i)
        references.append(u"share:/data/runs/sample-%1.raw"_s.arg(i));
    return references;
}

} // namespace zel::bench
