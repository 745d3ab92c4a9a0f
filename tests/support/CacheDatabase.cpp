#include "CacheDatabase.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

QSqlQuery executed(const QSqlDatabase &database, const QString &sql, const QList<QVariant> &values)
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    EXPECT_TRUE(query.prepare(sql)) << qPrintable(sql + u": "_s + query.lastError().text());
    for (const QVariant &value : values)
        query.addBindValue(value);
    EXPECT_TRUE(query.exec()) << qPrintable(sql + u": "_s + query.lastError().text());
    return query;
}

} // namespace

CacheDatabase::CacheDatabase(const QString &path)
    : connectionName(QUuid::createUuid().toString())
    , database(QSqlDatabase::addDatabase(u"QSQLITE"_s, connectionName))
{
    database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=20000"_s);
    database.setDatabaseName(path);
    EXPECT_TRUE(database.open()) << qPrintable(database.lastError().text());
}

CacheDatabase::~CacheDatabase()
{
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName);
}

void CacheDatabase::run(const QString &sql, const QList<QVariant> &values)
{
    executed(database, sql, values);
}

bool CacheDatabase::tryRun(const QString &sql, const QList<QVariant> &values,
                           std::chrono::milliseconds limit)
{
    run(u"PRAGMA busy_timeout = %1"_s.arg(limit.count()));
    QSqlQuery query(database);
    bool isRun = query.prepare(sql);
    for (const QVariant &value : values)
        query.addBindValue(value);
    isRun = isRun && query.exec();
    run(u"PRAGMA busy_timeout = 20000"_s);
    return isRun;
}

QVariant CacheDatabase::value(const QString &sql, const QList<QVariant> &values)
{
    QSqlQuery query = executed(database, sql, values);
    return query.next() ? query.value(0) : QVariant();
}

QStringList CacheDatabase::column(const QString &sql, const QList<QVariant> &values)
{
    QSqlQuery query = executed(database, sql, values);
    QStringList texts;
    while (query.next())
        texts.append(query.value(0).toString());
    return texts;
}

int CacheDatabase::count(const QString &table)
{
    return value(u"SELECT COUNT(*) FROM %1"_s.arg(table)).toInt();
}

QString CacheDatabase::status(const QString &reference)
{
    return value(u"SELECT status FROM CachedResources WHERE reference = ?"_s, { reference })
        .toString();
}

void CacheDatabase::setLastPing(qint64 clientId, std::chrono::milliseconds age)
{
    run(u"UPDATE Clients SET lastPingTime = ? WHERE id = ?"_s,
        { QDateTime::currentMSecsSinceEpoch() - qint64 { age.count() }, clientId });
}

} // namespace zel::test
