#pragma once

#include "ResourceCacheDao.h"
#include "database/TransactionGuard.h"

#include <QSqlQuery>

#include <map>

namespace zel {

class DatabaseHandler;

/// The one implementation of the context: a transaction that rolls back unless it is committed, the
/// query that everything in it shares, and the statements that it keeps.
class TransactionRaiiImpl : public ResourceCacheDao::TransactionContext
{
public:
    static Result<std::unique_ptr<TransactionContext>> create(DatabaseHandler *handler,
                                                              QSqlDatabase &database,
                                                              qint64 clientId);
    /// What a function that is given a context works with. Fails with code 2 on a null context.
    static Result<TransactionRaiiImpl *> of(TransactionContext *context);

    Error commit() override;
    /// For a statement that changes one of many rows and gives none: it is compiled at its first
    /// use only, which costs more than to run it, and kept until the transaction ends.
    Result<QSqlQuery *> kept(const QString &sql);

private:
    TransactionRaiiImpl(DatabaseHandler *handler, std::unique_ptr<TransactionGuard> guard,
                        const QSqlDatabase &database, qint64 clientId);

    DatabaseHandler *handler;
    const QSqlDatabase &database;
    std::unique_ptr<TransactionGuard> guard;

public:
    // After the guard: a statement is to be released before its transaction ends.
    QSqlQuery query;
    const qint64 clientId;

private:
    std::map<QString, QSqlQuery> statements; ///< by their texts; after the guard as well
};

/// The process id under which pings and close() look for the client row.
qint64 applicationProcessId();

/// A null text would be stored, and looked for, as NULL.
inline QString bindable(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace zel
