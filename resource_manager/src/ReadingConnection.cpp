#include "ReadingConnection.h"

#include <QUrl>
#include <QUuid>

namespace zel {

using namespace Qt::Literals::StringLiterals;

bool ReadingConnection::isKind(const QSqlError &failure, FailureKind kind)
{
    // The upper bits tell more about a failure, the lower eight its kind.
    return failure.isValid() && (failure.nativeErrorCode().toInt() & 0xff) == kind;
}

ReadingConnection::ReadingConnection(const QString &path, Access access)
    : name(u"ResourceCacheReader_%1"_s.arg(QUuid::createUuid().toString()))
    , database(QSqlDatabase::addDatabase(u"QSQLITE"_s, name))
{
    const QString options = u"QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=10000"_s;
    if (access == Access::Shared) {
        database.setConnectOptions(options);
        database.setDatabaseName(path);
    } else {
        database.setConnectOptions(options + u";QSQLITE_OPEN_URI"_s);
        const QByteArray encoded = QUrl::toPercentEncoding(path, "/");
        database.setDatabaseName(u"file:%1?immutable=1"_s.arg(QString::fromLatin1(encoded)));
    }
}

ReadingConnection::~ReadingConnection()
{
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

QSqlError ReadingConnection::begin()
{
    if (!database.open())
        return database.lastError();
    QSqlQuery query(database);
    for (const QString &sql : { u"BEGIN"_s, u"SELECT COUNT(*) FROM sqlite_master"_s }) {
        if (!query.exec(sql))
            return query.lastError();
    }
    return {};
}

} // namespace zel
