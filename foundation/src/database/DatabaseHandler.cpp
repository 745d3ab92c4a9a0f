#include "database/DatabaseHandler.h"

#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"
#include "threads/LockOrder.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kind = "the transaction of a connection";

} // namespace

DatabaseHandler::DatabaseHandler(QSqlDatabase *database)
    : database(database)
{
}

DatabaseHandler::~DatabaseHandler()
{
    LockOrder::beforeGivingBack(this); // with a transaction that could not be ended
}

Error DatabaseHandler::beginTransaction()
{
    // Why the file could not be opened says more than that it is not open.
    if (!database->isOpen() && database->lastError().isValid())
        return ZEL_ERROR(ErrorCode::OperationFailed, db::driverText(database->lastError()));

    endLeftTransaction();
    const quint64 transaction = lastTransaction + 1;
    const bool isOutermost = openTransactions.isEmpty();
    Error error;
    if (isOutermost)
        LockOrder::beforeTake(this, kind);
    ZEL_TRY(error, run(isOutermost ? u"BEGIN IMMEDIATE"_s : u"SAVEPOINT "_s + nameOf(transaction)));
    if (isOutermost)
        LockOrder::afterTake(this, kind);
    lastTransaction = transaction;
    openTransactions.append(transaction);
    return error;
}

Error DatabaseHandler::commitTransaction()
{
    Error error;
    if (openTransactions.size() <= 1) {
        ZEL_TRY(error, run(u"COMMIT"_s));
        openTransactions.clear();
        LockOrder::beforeGivingBack(this);
        return error;
    }
    ZEL_TRY(error, run(u"RELEASE "_s + nameOf(currentTransaction())));
    openTransactions.removeLast();
    return error;
}

Error DatabaseHandler::rollbackTransaction()
{
    if (openTransactions.size() <= 1) {
        openTransactions.clear();
        LockOrder::beforeGivingBack(this);
        const Error error = ZEL_PASS(run(u"ROLLBACK"_s));
        isLeftOpen = error.hasError();
        return error;
    }
    const QString name = nameOf(openTransactions.takeLast());
    Error error;
    ZEL_TRY(error, run(u"ROLLBACK TO "_s + name));
    // Going back to a savepoint leaves it open.
    ZEL_TRY(error, run(u"RELEASE "_s + name));
    return error;
}

void DatabaseHandler::endLeftTransaction()
{
    if (!isLeftOpen || !openTransactions.isEmpty())
        return;
    // Often SQLite has undone it already; then there is none, which is as good. One that stays
    // shows itself: no other can begin.
    ZEL_IGNORE(run(u"ROLLBACK"_s));
    isLeftOpen = false;
}

quint64 DatabaseHandler::currentTransaction() const
{
    return openTransactions.isEmpty() ? 0 : openTransactions.last();
}

bool DatabaseHandler::isTransactionOpen(quint64 transaction) const
{
    return openTransactions.contains(transaction);
}

Error DatabaseHandler::run(const QString &sql)
{
    QSqlQuery query(*database);
    Error error;
    ZEL_TRY(error, db::qPrepare(query, sql));
    ZEL_TRY(error, db::qExec(query));
    return error;
}

QString DatabaseHandler::nameOf(quint64 transaction)
{
    return u"zel_%1"_s.arg(transaction);
}

} // namespace zel
