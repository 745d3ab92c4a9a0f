#pragma once

#include "ResourceCacheDao.h"
#include "database/TransactionGuard.h"

#include <QSqlQuery>

namespace zel {

class DatabaseHandler;

/// The one implementation of the context: a transaction that rolls back unless it is committed, and
/// the query that everything in it shares.
class TransactionRaiiImpl : public ResourceCacheDao::TransactionContext
{
public:
    static Result<std::unique_ptr<TransactionContext>> create(DatabaseHandler *handler,
                                                              QSqlDatabase &database,
                                                              qint64 clientId);
    /// What a function that is given a context works with. Fails with code 2 on a null context.
    static Result<TransactionRaiiImpl *> of(TransactionContext *context);

    Error commit() override;

private:
    TransactionRaiiImpl(DatabaseHandler *handler, std::unique_ptr<TransactionGuard> guard,
                        const QSqlDatabase &database, qint64 clientId);

    DatabaseHandler *handler;
    std::unique_ptr<TransactionGuard> guard;

public:
    // After the guard: a statement is to be released before its transaction ends.
    QSqlQuery query;
    const qint64 clientId;
};

/// The process id under which pings and close() look for the client row.
qint64 applicationProcessId();

/// A null text would be stored, and looked for, as NULL.
inline QString bindable(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace zel
