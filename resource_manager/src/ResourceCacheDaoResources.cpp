#include "ResourceCacheDao_p.h"
#include "database/DatabaseHandler.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A text without content is a text; only a variant without a value stands for NULL.
QVariant bindableVariant(const QVariant &value)
{
    const bool isText = value.metaType() == QMetaType::fromType<QString>();
    return isText && !value.isNull() ? QVariant(bindable(value.toString())) : value;
}

} // namespace

// ---- One resource

Error ResourceCacheDao::insertResource(const QString &reference, const ResourceStatus &status,
                                       const ResourceCleanupPolicy &policy,
                                       const qint64 &lastAccess)
{
    const auto sql = u"INSERT INTO CachedResources(reference, status, cleanupPolicy, "
                     "lastAccessDateTime, lastStatusUpdateClientId) "
                     "VALUES (:ref, :status, :cleanupPolicy, "
                     ":lastAccess, :lastStatusUpdateClientId)"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":ref"_s, bindable(reference));
    query.bindValue(u":status"_s, toText(status));
    query.bindValue(u":cleanupPolicy"_s, toText(policy));
    query.bindValue(u":lastAccess"_s, lastAccess);
    query.bindValue(u":lastStatusUpdateClientId"_s, clientId);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Result<bool> ResourceCacheDao::containsResourceInDb(const QString &reference) const
{
    const auto sql = u"SELECT 1 FROM CachedResources WHERE reference = ?"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    return query.next();
}

Result<ResourceStatus> ResourceCacheDao::selectStatus(const QString &reference) const
{
    const auto sql = u"SELECT cr.status FROM CachedResources cr WHERE cr.reference = ?"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        qCCritical(lcResourceManager) << "Unable to find status for" << reference;
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Resource status data is missing."));
    }

    const auto status = toResourceStatus(query.value(0).toString(), ResourceStatus::Invalid);
    if (status == ResourceStatus::Invalid)
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Unknown resource status."));
    return status;
}

Result<ResourceCleanupPolicy> ResourceCacheDao::selectCleanupPolicy(const QString &reference) const
{
    const auto sql = u"SELECT cr.cleanupPolicy FROM CachedResources cr WHERE cr.reference = ?"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        qCCritical(lcResourceManager) << "Unable to find cleanup policy for" << reference;
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Resource cleanup policy data is missing."));
    }

    const auto policy
        = toResourceCleanupPolicy(query.value(0).toString(), ResourceCleanupPolicy::Invalid);
    if (policy == ResourceCleanupPolicy::Invalid)
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Unknown resource cleanup policy."));
    return policy;
}

Result<QString> ResourceCacheDao::selectLocalPath(const QString &reference) const
{
    const auto sql = u"SELECT cr.cachedPath FROM CachedResources cr WHERE cr.reference = ?"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.addBindValue(bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        qCCritical(lcResourceManager) << "Unable to find" << reference << "in cache";
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Resource is not cached."));
    }
    if (query.isNull(0)) {
        qCCritical(lcResourceManager) << reference << "is missing";
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("Unable to get local path for missing resource"));
    }
    return query.value(0).toString();
}

Error ResourceCacheDao::updateResourceStatus(TransactionContext *context, const QString &reference,
                                             const ResourceStatus &status, qint64 lastAccess)
{
    const auto sql
        = u"UPDATE CachedResources SET status = :status,lastAccessDateTime = :lastAccess, "
          "lastStatusUpdateClientId = :client WHERE reference = :ref"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    ZEL_TRY_LET(QSqlQuery *const query, transaction->kept(sql));
    query->bindValue(u":status"_s, toText(status));
    query->bindValue(u":lastAccess"_s, lastAccess);
    query->bindValue(u":client"_s, transaction->clientId);
    query->bindValue(u":ref"_s, bindable(reference));
    ZEL_TRY(error, db::qExec(*query));
    return error;
}

Error ResourceCacheDao::updateResourceVersion(TransactionContext *context, const QString &reference,
                                              const QVersionNumber &version)
{
    const auto sql = u"UPDATE CachedResources SET version = :version WHERE reference = :ref"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":version"_s, version.isNull() ? QVariant() : QVariant(version.toString()));
    query.bindValue(u":ref"_s, bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    return error;
}

Error ResourceCacheDao::updateResourceLocalPath(TransactionContext *context,
                                                const QString &reference, const QVariant &path,
                                                const QVariant &size)
{
    const auto sql = u"UPDATE CachedResources SET cachedPath = :cachedPath,fileSize = :size "
                     "WHERE reference = :ref"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    ZEL_TRY_LET(QSqlQuery *const query, transaction->kept(sql));
    query->bindValue(u":cachedPath"_s, bindableVariant(path));
    query->bindValue(u":size"_s, size);
    query->bindValue(u":ref"_s, bindable(reference));
    ZEL_TRY(error, db::qExec(*query));
    return error;
}

Error ResourceCacheDao::updateResourceSize(QSqlQuery &query, int id, qint64 size)
{
    const auto sql = u"UPDATE CachedResources SET fileSize = :size WHERE id = :id"_s;

    Error error;
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":size"_s, size);
    query.bindValue(u":id"_s, id);
    ZEL_TRY(error, db::qExec(query));
    return error;
}

Error ResourceCacheDao::updateResourceSize(int id, qint64 size)
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, updateResourceSize(query, id, size));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Error ResourceCacheDao::updateResourceSize(TransactionContext *context, int id, qint64 size)
{
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    return ZEL_PASS(updateResourceSize(transaction->query, id, size));
}

Error ResourceCacheDao::updateResourceCleanupPolicy(const QString &reference,
                                                    const ResourceCleanupPolicy &policy)
{
    const auto sql = u"UPDATE CachedResources SET cleanupPolicy = :policy WHERE reference = :ref"_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":policy"_s, toText(policy));
    query.bindValue(u":ref"_s, bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

// ---- Lists of resources

Result<QList<ResourceCacheDao::ReferenceAndPath>>
ResourceCacheDao::selectOldestReferencesWithCombinedSize(TransactionContext *context, qint64 size)
{
    const auto sql = u"SELECT cr.reference, cr.cachedPath, cr.fileSize from CachedResources cr "
                     "WHERE cr.fileSize > 0 "
                     "AND NOT EXISTS(SELECT 1 FROM ResourceUsages WHERE resourceId = cr.id) "
                     "ORDER BY cr.lastAccessDateTime ASC"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql));
    ZEL_TRY(error, db::qExec(query));

    QList<ReferenceAndPath> oldest;
    qint64 remaining = size;
    while (query.next()) {
        oldest.append({ query.value(0).toString(), query.value(1).toString() });
        remaining -= query.value(2).toLongLong();
        if (remaining < 0)
            break;
    }
    ZEL_TRY(error, db::checkReadToEnd(query));
    query.finish();
    return oldest;
}

Result<QList<ResourceCacheDao::VersionableResource>> ResourceCacheDao::selectResources(
    ResourceStatus status) const
{
    const auto sql = u"SELECT reference, version FROM CachedResources WHERE status=:status"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":status"_s, toText(status));
    ZEL_TRY(error, db::qExec(query));

    QList<VersionableResource> resources;
    while (query.next()) {
        const QString version = query.value(1).toString();
        resources.append(
            { query.value(0).toString(),
              version.isEmpty() ? QVersionNumber() : QVersionNumber::fromString(version) });
    }
    ZEL_TRY(error, db::checkReadToEnd(query));
    return resources;
}

Result<QList<ResourceCacheDao::Resource>> ResourceCacheDao::selectResourcesWithStatus(
    ResourceStatus status) const
{
    const auto sql
        = u"SELECT id, reference, cachedPath, fileSize FROM CachedResources WHERE status=:status"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":status"_s, toText(status));
    ZEL_TRY(error, db::qExec(query));

    QList<Resource> resources;
    while (query.next()) {
        resources.append({ query.value(0).toInt(), query.value(1).toString(),
                           query.value(2).toString(), query.value(3).toLongLong(), status });
    }
    ZEL_TRY(error, db::checkReadToEnd(query));
    return resources;
}

Result<QList<ResourceCacheDao::Resource>> ResourceCacheDao::selectAllResources() const
{
    const auto sql = u"SELECT id, reference, cachedPath, fileSize, status FROM CachedResources"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    ZEL_TRY(error, db::qExec(query));

    QList<Resource> resources;
    while (query.next()) {
        resources.append({ query.value(0).toInt(), query.value(1).toString(),
                           query.value(2).toString(), query.value(3).toLongLong(),
                           toResourceStatus(query.value(4).toString(), ResourceStatus::Invalid) });
    }
    ZEL_TRY(error, db::checkReadToEnd(query));
    return resources;
}

Result<ResourceCacheDao::Resource> ResourceCacheDao::selectResourceWithStatus(
    const QString &reference, ResourceStatus status) const
{
    const auto sql = u"SELECT id, cachedPath, fileSize FROM CachedResources "
                     "WHERE status=:status AND reference=:ref"_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql));
    query.bindValue(u":status"_s, toText(status));
    query.bindValue(u":ref"_s, bindable(reference));
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            tr("Could not find resource \"%1\" with status \"%2\"").arg(reference, toText(status)));
    }
    return Resource { query.value(0).toInt(), reference, query.value(1).toString(),
                      query.value(2).toLongLong(), ResourceStatus::Invalid };
}

} // namespace zel
