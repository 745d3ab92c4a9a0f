#include "ResourceCache_p.h"

#include "errors/Propagate.h"

namespace zel {

using namespace std::chrono_literals;

namespace {

/// Six pings. A process that waits for the semaphore longer than this is taken for dead too.
constexpr std::chrono::seconds inactivityThreshold = 30s;

} // namespace

Error ResourceCache::Private::cleanupInactiveClients()
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY_LET(const QList<qint64> clients,
                dao->selectInactiveClients(context.get(), inactivityThreshold));
    for (const qint64 clientId : clients)
        ZEL_TRY(error, cleanupAfterClient(context.get(), clientId));
    ZEL_TRY(error, context->commit());
    return error;
}

Error ResourceCache::Private::cleanupAfterClient(TransactionContext *const context, qint64 clientId)
{
    Error error;
    ZEL_TRY(error, removeUsagesForClient(context, clientId));
    ZEL_TRY(error, ResourceCacheDao::deleteRetrievingTasksForClient(context, clientId));
    ZEL_TRY(error, ResourceCacheDao::updateIntermediateStatusesForClient(context, clientId));
    ZEL_TRY(error, dao->deleteClientById(clientId));
    return error;
}

Error ResourceCache::Private::removeUsagesForClient(TransactionContext *const context,
                                                    qint64 clientId)
{
    Error error;
    // Empty as things are: see there.
    ZEL_TRY_LET(const auto usages,
                ResourceCacheDao::selectResourceUsagesForClient(context, clientId));
    QList<qint64> ids;
    QList<QString> lastUsed;
    for (const ResourceCacheDao::ResourceUsage &usage : usages) {
        ids.append(usage.id);
        if (usage.count == 0)
            lastUsed.append(usage.reference);
    }
    ZEL_TRY(error, ResourceCacheDao::deleteUsages(context, ids));

    // The stored policy as it is: the restriction is of a living process.
    for (const QString &reference : lastUsed) {
        ZEL_TRY_LET(const ResourceCleanupPolicy policy, dao->selectCleanupPolicy(reference));
        if (policy == ResourceCleanupPolicy::OnClose && isReady(reference))
            ZEL_TRY(error, removeIfNotInUse(context, reference));
    }
    return error;
}

} // namespace zel
