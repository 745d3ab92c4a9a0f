#include "ResourceCacheDaoSchema.h"
#include "ResourceCacheDao_p.h"
#include "database/DatabaseHandler.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Result<qint64> ResourceCacheDao::lastScanTimestamp() const
{
    return ZEL_PASS(selectSizeFromMetadataTable(ResourceCacheDaoSchema::kLastScanTimestamp));
}

Error ResourceCacheDao::updateLastScanTimestamp(TransactionContext *context, qint64 timestamp)
{
    const auto sql = u"UPDATE CacheMetadata SET %1 = :timestamp"_s;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    ZEL_TRY(error, db::qPrepare(query, sql.arg(ResourceCacheDaoSchema::kLastScanTimestamp)));
    query.bindValue(u":timestamp"_s, timestamp);
    ZEL_TRY(error, db::qExec(query));
    return error;
}

Result<qint64> ResourceCacheDao::selectCurrentSize()
{
    return ZEL_PASS(selectSizeFromMetadataTable(ResourceCacheDaoSchema::kCurrentSize));
}

Error ResourceCacheDao::rebuildMetadata(TransactionContext *context)
{
    using namespace ResourceCacheDaoSchema;

    Error error;
    ZEL_TRY_LET(auto *const transaction, TransactionRaiiImpl::of(context));
    QSqlQuery &query = transaction->query;
    for (const QString &sql : { kDeleteOtherMetadata, kInsertMissingMetadata, kSumUpSizes }) {
        ZEL_TRY(error, db::qPrepare(query, sql));
        ZEL_TRY(error, db::qExec(query));
    }
    return error;
}

Result<qint64> ResourceCacheDao::selectSizeFromMetadataTable(const QString &column) const
{
    const auto sql = u"SELECT %1 FROM CacheMetadata cp "_s;

    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql.arg(column)));
    ZEL_TRY(error, db::qExec(query));
    if (!query.next()) {
        qCCritical(lcResourceManager) << "Unable to read" << column;
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Cache metadata is missing."));
    }
    return static_cast<qint64>(query.value(0).toULongLong());
}

Error ResourceCacheDao::updateSizeInMetadataTable(const QString &column, qint64 value)
{
    const auto sql = u"UPDATE CacheMetadata SET %1 = ? "_s;

    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, sql.arg(column)));
    query.addBindValue(value);
    ZEL_TRY(error, db::qExec(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

} // namespace zel
