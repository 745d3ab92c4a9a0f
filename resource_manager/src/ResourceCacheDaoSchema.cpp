#include "ResourceCacheDaoSchema.h"
#include "ResourceCacheDao_p.h"
#include "database/DatabaseHandler.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

#include <QSqlDatabase>

#include <map>
#include <utility>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using namespace ResourceCacheDaoSchema;

namespace {

using NameAndType = std::pair<QString, QString>;

/// By table, the columns that files of older programs lack.
const std::map<QString, QList<NameAndType>> &addedColumns()
{
    static const std::map<QString, QList<NameAndType>> columns {
        { u"CacheMetadata"_s, { { kLastScanTimestamp, u"INTEGER"_s } } },
        { u"CachedResources"_s, { { u"version"_s, u"TEXT"_s } } },
    };
    return columns;
}

Error runAll(QSqlQuery &query, const QStringList &statements)
{
    Error error;
    for (const QString &sql : statements) {
        ZEL_TRY(error, db::qPrepare(query, sql));
        ZEL_TRY(error, db::qExec(query));
    }
    return error;
}

Result<int> countColumns(QSqlDatabase *database, const QString &table, const QString &column)
{
    Error error;
    QSqlQuery query(*database);
    ZEL_TRY(error, db::qPrepare(query, kCountColumns));
    query.bindValue(u":table"_s, table);
    query.bindValue(u":column"_s, column);
    ZEL_TRY(error, db::qExec(query));
    return query.next() ? query.value(0).toInt() : 0;
}

bool hasColumn(QSqlDatabase *database, const QString &table, const QString &column)
{
    const auto count = ZEL_PASS(countColumns(database, table, column));
    // Taken for missing, the column is added, and that tells what is wrong with the file.
    if (!count.hasValue())
        ZEL_DROP(count);
    return count.hasValue() && count.value() > 0;
}

} // namespace

/// A process that was killed while it made the file leaves one without tables: that is a new file
/// still. Asked inside the transaction, so that of two that make a file at once one does it.
/// All or nothing: a file with a part of its tables would be taken for an old one ever after.
Error ResourceCacheDao::prepareFile()
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    TransactionGuard guard(databaseHandler.get());
    guard.setRollbackOnDestruction(true);
    ZEL_TRY_LET(const bool isOldFile, hasTables());
    ZEL_TRY(error, isOldFile ? updateDb() : initializeDb());
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Result<bool> ResourceCacheDao::hasTables() const
{
    Error error;
    QSqlQuery query = newQuery();
    ZEL_TRY(error, db::qPrepare(query, u"SELECT 1 FROM sqlite_master"_s));
    ZEL_TRY(error, db::qExec(query));
    return query.next();
}

Error ResourceCacheDao::initializeDb()
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, createTables(query));
    ZEL_TRY(error, createIndexes(query));
    ZEL_TRY(error, insertDefaultValues(query));
    ZEL_TRY(error, createTriggers(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Error ResourceCacheDao::updateDb()
{
    Error error;
    ZEL_TRY(error, beginTransaction());
    const TransactionGuard guard(databaseHandler.get());
    QSqlQuery query = newQuery();
    ZEL_TRY(error, createMissingColumns(query));
    query.finish();
    return ZEL_PASS(databaseHandler->commitTransaction());
}

Error ResourceCacheDao::createTables(QSqlQuery &query)
{
    return ZEL_PASS(runAll(query,
                           { kCreateCachedResources, kCreateResourceUsages,
                             kCreateCacheMetadata.arg(kLastScanTimestamp), kCreateAcquiringTasks,
                             kCreateClients }));
}

Error ResourceCacheDao::createIndexes(QSqlQuery &query)
{
    return ZEL_PASS(runAll(query, { kCreateReferenceIndex }));
}

Error ResourceCacheDao::insertDefaultValues(QSqlQuery &query)
{
    Error error;
    ZEL_TRY(error, db::qPrepare(query, kInsertDefaultValues));
    query.addBindValue(0);
    ZEL_TRY(error, db::qExec(query));
    return error;
}

Error ResourceCacheDao::createTriggers(QSqlQuery &query)
{
    const QString missing = toText(ResourceStatus::Missing);
    const QString scheduled = toText(ResourceStatus::ScheduledForAcquire);
    const QString acquiring = toText(ResourceStatus::Acquiring);
    return ZEL_PASS(runAll(query,
                           { kCreateSizeOnInsert, kCreateSizeOnUpdate, kCreateSizeOnDelete,
                             kCreateStatusOnTaskInsert.arg(missing, scheduled),
                             kCreateStatusOnTaskDelete.arg(acquiring, scheduled, missing) }));
}

Error ResourceCacheDao::createMissingColumns(QSqlQuery &query)
{
    Error error;
    for (const auto &[table, columns] : addedColumns()) {
        for (const auto &[column, type] : columns) {
            if (hasColumn(database.get(), table, column))
                continue;
            ZEL_TRY(error, runAll(query, { kAddColumn.arg(table, column, type) }));
        }
    }
    return error;
}

} // namespace zel
