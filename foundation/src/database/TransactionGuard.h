#pragma once

#include <QObject>

namespace zel {

class DatabaseHandler;

/// Sees to it that a transaction ends: the one that is innermost when the guard is made. Begins
/// nothing itself, and does nothing if that transaction has ended before the guard does.
class TransactionGuard : public QObject
{
    Q_OBJECT

public:
    /// Borrows the handler, which must outlive the guard.
    explicit TransactionGuard(DatabaseHandler *handler);
    /// Commits, or rolls back if asked to or if the commit fails, so that the connection is never
    /// left inside a transaction. Transactions begun inside this one and still open go along.
    ~TransactionGuard() override;

    /// False unless told otherwise.
    void setRollbackOnDestruction(bool shouldRollback);

private:
    void endInnermost();

    DatabaseHandler *handler;
    quint64 transaction;
    bool rollbackOnDestruction = false;
};

} // namespace zel
