#include "Replay.h"

#include "Protocol.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

namespace zel::bench {

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList pragmas(Replay::Settings settings)
{
    if (settings == Replay::Settings::Default)
        return { u"PRAGMA journal_mode=DELETE"_s };
    return { u"PRAGMA busy_timeout=10000"_s, u"PRAGMA journal_mode=WAL"_s,
             u"PRAGMA synchronous=NORMAL"_s };
}

} // namespace

Replay::Replay(const QString &databasePath, Settings settings)
    : connection(QUuid::createUuid().toString())
    , semaphore(databasePath, 1)
    , database(QSqlDatabase::addDatabase(u"QSQLITE"_s, connection))
{
    database.setDatabaseName(databasePath);
    database.open();
    for (const QString &pragma : pragmas(settings))
        run(pragma);
    // The files beside it are made with the first change.
    run(u"BEGIN IMMEDIATE"_s);
    run(u"UPDATE CacheMetadata SET currentSize = currentSize"_s);
    run(u"COMMIT"_s);
}

Replay::~Replay()
{
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(connection);
}

void Replay::play(const Script &script)
{
    for (const Step &step : script) {
        switch (step.kind) {
        case Step::Kind::Take:
            semaphore.acquire();
            break;
        case Step::Kind::Give:
            semaphore.release();
            break;
        case Step::Kind::Statement:
            run(step.sql, step.values);
            break;
        }
    }
}

void Replay::run(const QString &sql, const QVariantList &values)
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    query.prepare(sql);
    for (const QVariant &value : values)
        query.addBindValue(value);
    if (!query.exec())
        giveUp((sql + u": "_s + query.lastError().text()).toStdString());
    while (query.next())
        query.value(0);
}

} // namespace zel::bench
