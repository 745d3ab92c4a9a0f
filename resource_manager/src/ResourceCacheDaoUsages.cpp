#include "ResourceCacheDao_p.h"
#include "database/DatabaseHandler.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

#include <QDateTime>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// The first column of the rows that the executed query has left.
Result<QList<qint64>> readIds(QSqlQuery &query)
{
    Error error;
    QList<qint64> ids;
    while (query.next())
        ids.append(query.value(0).toLongLong());
    ZEL_TRY(error, db::checkReadToEnd(query));
    return ids;
}

Result<QList<qint64>> selectTransientResources(QSqlQuery &query, qint64 clientId)
{
    const auto sql = u"SELECT id FROM CachedResources WHERE lastStatusUpdateClientId = :client "
                     "AND (status = :acquiring OR status = :scheduledForAcquire)"_s;

    Error error;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":client"_s, clientId);
    query.bindValue(u":acquiring"_s, toText(ResourceStatus::Acquiring));
    query.bindValue(u":scheduledForAcquire"_s, toText(ResourceStatus::ScheduledForAcquire));
    ZEL_TRY(error, db::qExec(query));
    return ZEL_PASS(readIds(query));
}

/// Whether what the bound query counts is there at all.
Result<bool> countsAny(QSqlQuery &query)
{
    Error error;
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         ResourceCacheDao::tr("Unable to get necessary data from database."));
    }
    return query.value(0).toInt() > 0;
}

/// How many tasks there are for other resources than this one, of whatever client. Tasks for this
/// one do not count, on purpose: who still wants it finds it Missing and begins anew.
Result<int> countTasksForOthers(QSqlQuery &query, qint64 resourceId)
{
    const auto sql = u"SELECT COUNT(1) FROM AcquiringTasks WHERE resourceId != :resourceId "_s;

    Error error;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":resourceId"_s, resourceId);
    ZEL_TRY(error, db::qExec(query));
    if (!query.next())
        return ZEL_ERROR(ErrorCode::BadArgument, QString());
    return query.value(0).toInt();
}

Error revertStatus(QSqlQuery &query, qint64 resourceId, ResourceStatus status)
{
    const auto sql
        = u"UPDATE CachedResources SET status = :statusToRevert WHERE id = :resourceId "_s;

    Error error;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":statusToRevert"_s, toText(status));
    query.bindValue(u":resourceId"_s, resourceId);
    ZEL_TRY(error, db::qExec(query));
    return error;
}

} // namespace

// ---- Usages

Result<qint64> ResourceCacheDao::insertResourceUsage(TransactionContext *context,
                                                     const QString &reference)
{
    const auto sql = u"INSERT INTO ResourceUsages (resourceId, clientId) VALUES "
                     "((SELECT cr.id FROM CachedResources cr WHERE cr.reference = ?), ?)"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    query.addBindValue(transaction->clientId);
    ZEL_TRY(error, db::qExec(query));
    return query.lastInsertId().toLongLong();
}

Result<int> ResourceCacheDao::deleteResourceUsage(TransactionContext *context, qint64 usageId)
{
    const auto sql = u"DELETE FROM ResourceUsages WHERE id = ?"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(usageId);
    ZEL_TRY(error, db::qExec(query));
    return query.numRowsAffected();
}

Error ResourceCacheDao::deleteUsages(TransactionContext *context, const QList<qint64> &usageIds)
{
    for (const qint64 usageId : usageIds) {
        ZEL_TRY_LET([[maybe_unused]] const int removed, deleteResourceUsage(context, usageId));
    }
    return Error();
}

Result<bool> ResourceCacheDao::containsResourceUsage(const QString &reference) const
{
    const auto sql = u"SELECT 1 FROM ResourceUsages ru WHERE ru.resourceId = "
                     "(SELECT cr.id FROM CachedResources cr WHERE cr.reference = ?)"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    return query.next();
}

Result<QList<ResourceCacheDao::ResourceUsage>> ResourceCacheDao::selectResourceUsagesForClient(
    TransactionContext *context, qint64 clientId)
{
    const auto sql = u"SELECT ru.id, (SELECT reference FROM CachedResources WHERE resourceId = "
                     u"ru.resourceId), "
                     "(SELECT COUNT(1) FROM ResourceUsages ru2 "
                     "WHERE ru2.resourceId = ru.resourceId AND ru2.clientId != :clientId) as count "
                     "FROM ResourceUsages ru WHERE ru.clientId = :clientId"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u"clientId"_s, clientId);

    // Not executed, so there are no rows: the usages of a client that died must stay until the next
    // open() or close(). Executed, the statement would name a wrong resource for each of them, and
    // the caller would remove the data of that one.
    QList<ResourceUsage> usages;
    while (query.next()) {
        usages.append({ query.value(0).toLongLong(), query.value(1).toString(),
                        query.value(2).toLongLong() });
    }
    return usages;
}

Result<ResourceCacheDao::PinnedSize> ResourceCacheDao::selectPinnedSize() const
{
    const auto sql = u"SELECT COUNT(1), COALESCE(SUM(cr.fileSize), 0), COUNT(at.resourceId), "
                     "COALESCE(SUM(cr.fileSize * (at.resourceId IS NOT NULL)), 0) "
                     "FROM CachedResources cr LEFT JOIN (SELECT DISTINCT resourceId "
                     "FROM AcquiringTasks WHERE progress IS NOT NULL) at ON at.resourceId = cr.id "
                     "WHERE cr.fileSize > 0 AND cr.id IN (SELECT resourceId FROM ResourceUsages)"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Unable to get necessary data from database."));
    }
    return PinnedSize { query.value(0).toLongLong(), query.value(1).toLongLong(),
                        query.value(2).toLongLong(), query.value(3).toLongLong() };
}

Result<QList<ResourceCacheDao::PinningClient>> ResourceCacheDao::selectPinningClients(
    int maximum) const
{
    const auto sql = u"SELECT used.clientId, c.processId, COUNT(1), SUM(cr.fileSize) "
                     "FROM (SELECT DISTINCT resourceId, clientId FROM ResourceUsages) used "
                     "JOIN CachedResources cr ON cr.id = used.resourceId "
                     "LEFT JOIN Clients c ON c.id = used.clientId WHERE cr.fileSize > 0 "
                     "GROUP BY used.clientId ORDER BY SUM(cr.fileSize) DESC, used.clientId ASC "
                     "LIMIT ?"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(qint64 { maximum });
    ZEL_TRY(error, db::qExec(query));

    QList<PinningClient> clients;
    while (query.next()) {
        const QVariant process = query.value(1);
        clients.append(
            { query.value(0).toLongLong(),
              process.isNull() ? std::nullopt : std::optional<qint64>(process.toLongLong()),
              query.value(2).toLongLong(), query.value(3).toLongLong() });
    }
    ZEL_TRY(error, db::checkReadToEnd(query));
    return clients;
}

// ---- Clients

Error ResourceCacheDao::updateClientLastPingTime(qint64 time)
{
    const auto sql = u"UPDATE Clients SET lastPingTime = :time WHERE processId = :pid"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":pid"_s, applicationProcessId());
    query.bindValue(u":time"_s, time);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Result<QList<qint64>> ResourceCacheDao::selectInactiveClients(TransactionContext *context,
                                                              const std::chrono::seconds &timeout)
{
    const auto sql = u"SELECT id from Clients WHERE lastPingTime < ?"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(
        QDateTime::currentDateTime().addSecs(-qint64 { timeout.count() }).toMSecsSinceEpoch());
    ZEL_TRY(error, db::qExec(query));
    return ZEL_PASS(readIds(query));
}

Error ResourceCacheDao::deleteClientById(qint64 clientId)
{
    const auto sql = u"DELETE FROM Clients WHERE id = :id"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":id"_s, clientId);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

// ---- Acquiring tasks

Error ResourceCacheDao::deleteRetrievingTasksForClient(TransactionContext *context, qint64 clientId)
{
    const auto sql = u"DELETE FROM AcquiringTasks WHERE clientId = ?"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(clientId);
    ZEL_TRY(error, db::qExec(query));
    return error;
}

Error ResourceCacheDao::updateIntermediateStatusesForClient(TransactionContext *context,
                                                            qint64 clientId)
{
    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    // All of them first: the context has one query, which each of them needs anew.
    ZEL_TRY_LET(const auto resourceIds, selectTransientResources(query, clientId));
    for (const qint64 resourceId : resourceIds) {
        ZEL_TRY_LET(const int otherTasks, countTasksForOthers(query, resourceId));
        const auto status
            = otherTasks < 1 ? ResourceStatus::Missing : ResourceStatus::ScheduledForAcquire;
        ZEL_TRY(error, revertStatus(query, resourceId, status));
    }
    return error;
}

Error ResourceCacheDao::addRetrievingTask(const QString &reference)
{
    const auto sql = u"INSERT INTO AcquiringTasks (resourceId, progress, clientId) VALUES "
                     "((SELECT id FROM CachedResources WHERE reference = :ref), NULL, :clientId)"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":ref"_s, bindable(reference));
    query.bindValue(u":clientId"_s, clientId);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Error ResourceCacheDao::deleteRetrievingTask(const QString &reference)
{
    const auto sql = u"DELETE FROM AcquiringTasks WHERE resourceId = "
                     "(SELECT id FROM CachedResources WHERE reference = :ref) "
                     "AND clientId = :clientId"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":ref"_s, bindable(reference));
    query.bindValue(u":clientId"_s, clientId);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Result<bool> ResourceCacheDao::retrieveInProgress(const QString &reference) const
{
    const auto sql = u"SELECT COUNT(1) FROM AcquiringTasks at "
                     "WHERE (at.progress IS NOT NULL) AND at.resourceId = "
                     "(SELECT id FROM CachedResources WHERE reference = ?)"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    return ZEL_PASS(countsAny(query));
}

Result<bool> ResourceCacheDao::retrieveInProgressElsewhere(const QString &reference) const
{
    const auto sql = u"SELECT COUNT(1) FROM AcquiringTasks at "
                     "WHERE (at.progress IS NOT NULL) AND at.clientId != ? AND at.resourceId = "
                     "(SELECT id FROM CachedResources WHERE reference = ?)"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(clientId);
    query.addBindValue(bindable(reference));
    return ZEL_PASS(countsAny(query));
}

Result<std::optional<int>> ResourceCacheDao::readProgress(const QString &reference)
{
    const auto sql = u"SELECT at.progress FROM AcquiringTasks at "
                     "WHERE (at.progress IS NOT NULL) AND at.resourceId = "
                     "(SELECT id FROM CachedResources WHERE reference = ?)"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    return query.next() ? std::optional<int>(query.value(0).toInt()) : std::nullopt;
}

Error ResourceCacheDao::updateProgress(const QString &reference, std::optional<int> progress)
{
    const auto sql = u"UPDATE AcquiringTasks SET progress = :progress "
                     "WHERE clientId = :clientId AND resourceId = "
                     "(SELECT id FROM CachedResources WHERE reference = :ref)"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":progress"_s, progress ? QVariant(qint64 { *progress }) : QVariant());
    query.bindValue(u":clientId"_s, clientId);
    query.bindValue(u":ref"_s, bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

} // namespace zel
