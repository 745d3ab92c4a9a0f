#include "database/TransactionGuard.h"

#include "database/DatabaseHandler.h"
#include "errors/Propagate.h"

namespace zel {

TransactionGuard::TransactionGuard(DatabaseHandler *handler)
    : handler(handler)
    , transaction(handler->currentTransaction())
{
}

TransactionGuard::~TransactionGuard()
{
    // A rollback takes its transaction off the handler's list even if it fails, so this ends.
    while (handler->isTransactionOpen(transaction))
        endInnermost();
}

void TransactionGuard::setRollbackOnDestruction(bool shouldRollback)
{
    rollbackOnDestruction = shouldRollback;
}

void TransactionGuard::endInnermost()
{
    if (!rollbackOnDestruction) {
        const Error error = handler->commitTransaction();
        if (!error.hasError())
            return;
        // Nobody to tell: a destructor returns nothing.
        ZEL_DROP(error);
    }
    ZEL_DROP(handler->rollbackTransaction());
}

} // namespace zel
