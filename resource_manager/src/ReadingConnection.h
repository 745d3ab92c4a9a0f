#pragma once

#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>

namespace zel {

/// A connection to a cache's database that only reads, for as long as it lives.
class ReadingConnection
{
public:
    enum class Access {
        Shared, ///< others may write meanwhile; their locks are respected
        Unchanging, ///< nobody writes: no locks, and none of the files beside the database
    };

    /// SQLite's own numbers for the failures that need an answer of their own.
    enum FailureKind {
        ReadOnly = 8, ///< something would have to be written first
        CannotOpen = 14,
        NotADatabase = 26,
    };
    static bool isKind(const QSqlError &failure, FailureKind kind);

    ReadingConnection(const QString &path, Access access);
    ~ReadingConnection();
    ReadingConnection(const ReadingConnection &) = delete;
    ReadingConnection &operator=(const ReadingConnection &) = delete;

    /// Opens the file and begins the transaction that ends with the connection. The moment that
    /// the snapshot shows is that of the first read, so there is one.
    QSqlError begin();

    /// Hands each row of the statement to `read`. Without a copy of the rows: there can be many.
    template<typename Read>
    Error forEachRow(const QString &sql, const Read &read, const QVariantList &values = {}) const
    {
        Error error;
        QSqlQuery query(database);
        query.setForwardOnly(true);
        ZEL_TRY(error, db::qPrepare(query, sql));
        for (const QVariant &value : values)
            query.addBindValue(value);
        ZEL_TRY(error, db::qExec(query));
        while (query.next())
            read(query);
        return ZEL_PASS(db::checkReadToEnd(query));
    }

private:
    QString name;
    QSqlDatabase database;
};

} // namespace zel
