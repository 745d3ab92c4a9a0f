#pragma once

#include "errors/Error.h"

#include <QList>

QT_BEGIN_NAMESPACE
class QSqlDatabase;
QT_END_NAMESPACE

namespace zel {

/// The transactions of one connection, which nest.
///
/// The outermost one takes the file's write lock at its begin: one that asked for it only at its
/// first write could find that it may neither go on nor wait. Those inside it are savepoints, so
/// ending one leaves the outer ones able to commit or to roll back.
///
/// Finish every query before a commit: one that is still being read keeps the file locked.
/// Threads: those of the connection, one at a time. Ownership: borrows the database object, which
/// must outlive the handler.
class DatabaseHandler
{
public:
    explicit DatabaseHandler(QSqlDatabase *database);
    DatabaseHandler(const DatabaseHandler &) = delete;
    DatabaseHandler &operator=(const DatabaseHandler &) = delete;
    virtual ~DatabaseHandler();

    Error beginTransaction();
    /// Commits the innermost open transaction, which stays open if that fails.
    Error commitTransaction();
    /// Undoes the innermost open transaction, which is over in any case.
    Error rollbackTransaction();

    /// The innermost open transaction; 0 without one. A number is never used again.
    quint64 currentTransaction() const;
    bool isTransactionOpen(quint64 transaction) const;

private:
    /// One whose rollback has failed would let every further beginning fail, and keep all other
    /// processes locked out.
    void endLeftTransaction();
    Error run(const QString &sql);
    static QString nameOf(quint64 transaction);

    QSqlDatabase *database;
    QList<quint64> openTransactions; ///< outermost first
    quint64 lastTransaction = 0;
    bool isLeftOpen = false;
};

} // namespace zel
