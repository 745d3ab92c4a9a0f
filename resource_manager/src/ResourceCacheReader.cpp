#include "ResourceCacheReader.h"

#include "CacheRows.h"
#include "ReadingConnection.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

#include <QFileInfo>

#include <functional>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using CacheRows::Columns;
using Snapshot = ResourceCacheReader::Snapshot;
using Activity = ResourceCacheReader::Activity;

namespace {

Error notACache(const QString &path)
{
    return ZEL_ERROR(ErrorCode::BadData,
                     ResourceCacheReader::tr("\"%1\" is not a cache database.").arg(path));
}

/// The columns of a cache's tables; none of a file whose cache was never quite made.
Result<Columns> readColumnsOfCache(const ReadingConnection &connection, const QString &path)
{
    ZEL_TRY_LET(const Columns columns, CacheRows::readColumns(connection));
    if (!columns.isEmpty() && !columns.contains(u"CachedResources.reference"_s))
        return ZEL_PASS(notACache(path));
    return columns;
}

void logResources(const Snapshot &snapshot)
{
    qCDebug(lcResourceManager) << "Resources read:" << snapshot.resources.size();
}

Error readInto(Snapshot &snapshot, const ReadingConnection &connection, const Columns &columns,
               ResourceCacheReader::Details details)
{
    Error error;
    ZEL_TRY(error, CacheRows::readResources(connection, columns, details, snapshot.resources));
    ZEL_TRY(error, CacheRows::readUsages(connection, CacheRows::isAnything, snapshot.usages));
    ZEL_TRY(
        error,
        CacheRows::readAcquiringTasks(connection, CacheRows::isAnything, snapshot.acquiringTasks));
    ZEL_TRY(error, CacheRows::readClients(connection, snapshot.clients));
    ZEL_TRY(error,
            CacheRows::readMetadata(connection, columns, snapshot.currentSize,
                                    snapshot.lastScanTimestamp));
    logResources(snapshot);
    return error;
}

Error readRowsInto(Snapshot &snapshot, const ReadingConnection &connection, const Columns &columns,
                   const QStringList &references)
{
    Error error;
    QSet<QString> wanted;
    for (const QString &reference : references) {
        if (wanted.contains(reference))
            continue;
        wanted.insert(reference);
        ZEL_TRY(error, CacheRows::readResource(connection, columns, reference, snapshot.resources));
    }
    const auto isWanted = [&wanted](const QString &reference) {
        return wanted.contains(reference);
    };
    ZEL_TRY(error, CacheRows::readUsages(connection, isWanted, snapshot.usages));
    ZEL_TRY(error, CacheRows::readAcquiringTasks(connection, isWanted, snapshot.acquiringTasks));
    ZEL_TRY(error, CacheRows::readClients(connection, snapshot.clients));
    ZEL_TRY(error,
            CacheRows::readMetadata(connection, columns, snapshot.currentSize,
                                    snapshot.lastScanTimestamp));
    logResources(snapshot);
    return error;
}

Error readInto(Activity &activity, const ReadingConnection &connection, const Columns &columns)
{
    Error error;
    ZEL_TRY(
        error,
        CacheRows::readAcquiringTasks(connection, CacheRows::isAnything, activity.acquiringTasks));
    ZEL_TRY(error, CacheRows::readClients(connection, activity.clients));
    ZEL_TRY(error, CacheRows::countResources(connection, activity.resourceCounts));
    ZEL_TRY(error, CacheRows::countStrayUsages(connection, activity.strayUsages));
    ZEL_TRY(error,
            CacheRows::readMetadata(connection, columns, activity.currentSize,
                                    activity.lastScanTimestamp));
    return error;
}

Error readInto(ResourceCacheReader::Condition &condition, const ReadingConnection &connection,
               const Columns &)
{
    Error error;
    ZEL_TRY(error,
            connection.forEachRow(u"PRAGMA journal_mode"_s, [&condition](const QSqlQuery &row) {
                condition.journalMode = row.value(0).toString();
            }));
    const auto check = u"PRAGMA quick_check(10)"_s; // so many lines at most
    ZEL_TRY(error, connection.forEachRow(check, [&condition](const QSqlQuery &row) {
        if (const QString text = row.value(0).toString(); text != u"ok")
            condition.damages.append(text);
    }));
    const auto count = u"SELECT COUNT(*) FROM CacheMetadata"_s;
    ZEL_TRY(error, connection.forEachRow(count, [&condition](const QSqlQuery &row) {
        condition.metadataRows = row.value(0).toLongLong();
    }));
    return error;
}

/// What there is to read of a cache whose tables are there.
template<typename Value>
using Read = std::function<Error(Value &, const ReadingConnection &, const Columns &)>;

template<typename Value>
Result<Value> readValue(const ReadingConnection &connection, const QString &path,
                        const Read<Value> &read)
{
    Value value;
    Error error;
    ZEL_TRY_LET(const Columns columns, readColumnsOfCache(connection, path));
    if (!columns.isEmpty())
        ZEL_TRY(error, read(value, connection, columns));
    return value;
}

template<typename Value>
Result<Value> readBegun(const ReadingConnection &connection, const QSqlError &failure,
                        const QString &path, const Read<Value> &read)
{
    if (!failure.isValid())
        return ZEL_PASS(readValue<Value>(connection, path, read));
    if (ReadingConnection::isKind(failure, ReadingConnection::NotADatabase))
        return ZEL_PASS(notACache(path));
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ResourceCacheReader::tr("Unable to read the cache database \"%1\": %2")
                         .arg(path, db::driverText(failure)));
}

/// A reader of a file with a write-ahead log needs files beside it. It cannot have them if they are
/// not there and the folder may not be written. Without a log or a journal, all there is stands in
/// the file itself, and nobody who could write it has it open.
bool canBeReadAlone(const QSqlError &failure, const QString &path)
{
    const QString file = QFileInfo(path).canonicalFilePath();
    return (ReadingConnection::isKind(failure, ReadingConnection::CannotOpen)
            || ReadingConnection::isKind(failure, ReadingConnection::ReadOnly))
        && !QFileInfo::exists(file + u"-wal"_s) && !QFileInfo::exists(file + u"-journal"_s);
}

template<typename Value>
Error readEverythingInto(Value &value, const ReadingConnection &connection, const Columns &columns)
{
    return ZEL_PASS(readInto(value, connection, columns));
}

/// Opens the file in the way that works and reads it.
template<typename Value>
Result<Value> readFile(const QString &databasePath,
                       const Read<Value> &read = readEverythingInto<Value>)
{
    const QFileInfo file(databasePath);
    if (!file.isFile()) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            ResourceCacheReader::tr("There is no cache database \"%1\".").arg(databasePath));
    }

    const QString path = file.absoluteFilePath();
    ReadingConnection shared(path, ReadingConnection::Access::Shared);
    const QSqlError failure = shared.begin();
    if (!canBeReadAlone(failure, path))
        return ZEL_PASS(readBegun<Value>(shared, failure, path, read));

    ReadingConnection alone(path, ReadingConnection::Access::Unchanging);
    const QSqlError lastFailure = alone.begin();
    return ZEL_PASS(readBegun<Value>(alone, lastFailure, path, read));
}

} // namespace

ResourceCacheReader::ResourceCacheReader(const QString &databasePath)
    : databasePath(databasePath)
{
}

Result<Snapshot> ResourceCacheReader::read(Details details) const
{
    const auto read = [details](Snapshot &snapshot, const ReadingConnection &connection,
                                const Columns &columns) {
        return ZEL_PASS(readInto(snapshot, connection, columns, details));
    };
    return ZEL_PASS(readFile<Snapshot>(databasePath, read));
}

Result<Snapshot> ResourceCacheReader::readRowsOf(const QStringList &references) const
{
    const auto read = [&references](Snapshot &snapshot, const ReadingConnection &connection,
                                    const Columns &columns) {
        return ZEL_PASS(readRowsInto(snapshot, connection, columns, references));
    };
    return ZEL_PASS(readFile<Snapshot>(databasePath, read));
}

Result<Activity> ResourceCacheReader::readActivity() const
{
    return ZEL_PASS(readFile<Activity>(databasePath));
}

Result<ResourceCacheReader::Condition> ResourceCacheReader::readCondition() const
{
    return ZEL_PASS(readFile<Condition>(databasePath));
}

} // namespace zel
