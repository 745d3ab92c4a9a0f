#pragma once

#include "FaultLoop.h"

namespace zel::test {

// The tables of all that ResourceCache, ResourceRetrieveHandle, RemoteResourceHandler and
// ResourceCacheReader offer and that asks the database or the disk.

QList<FaultOperation> openingOperations();
QList<FaultOperation> rowOperations();
QList<FaultOperation> removalOperations();
QList<FaultOperation> fetchOperations();
QList<FaultOperation> handlerOperations();
QList<FaultOperation> readerOperations();
/// Those of ResourceCacheDao.
QList<FaultOperation> daoOperations();
/// Those of them that are about clients, their uses and their tasks.
QList<FaultOperation> daoOperationsOfClients();

} // namespace zel::test
