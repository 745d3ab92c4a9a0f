#include "ResourceCacheReader.h"

#include "ResourceCacheSchema.h"
#include "database/DatabaseHelpers.h"
#include "errors/Propagate.h"

#include <QFileInfo>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QUuid>

#include <array>
#include <functional>
#include <initializer_list>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using Snapshot = ResourceCacheReader::Snapshot;
using Activity = ResourceCacheReader::Activity;

namespace {

/// SQLite's own numbers for the failures that need an answer of their own.
enum SqliteFailure {
    ReadOnly = 8, ///< something would have to be written first
    CannotOpen = 14,
    NotADatabase = 26,
};

bool isKind(const QSqlError &failure, SqliteFailure kind)
{
    // The upper bits tell more about a failure, the lower eight its kind.
    return failure.isValid() && (failure.nativeErrorCode().toInt() & 0xff) == kind;
}

enum class Access {
    Shared, ///< others may write meanwhile; their locks are respected
    Unchanging, ///< nobody writes: no locks, and none of the files beside the database
};

/// A connection that only reads, for as long as it lives.
class ReadingConnection
{
public:
    ReadingConnection(const QString &path, Access access)
        : name(u"ResourceCacheReader_%1"_s.arg(QUuid::createUuid().toString()))
        , database(QSqlDatabase::addDatabase(u"QSQLITE"_s, name))
    {
        const QString options = u"QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=10000"_s;
        if (access == Access::Shared) {
            database.setConnectOptions(options);
            database.setDatabaseName(path);
        } else {
            database.setConnectOptions(options + u";QSQLITE_OPEN_URI"_s);
            const QByteArray encoded = QUrl::toPercentEncoding(path, "/");
            database.setDatabaseName(u"file:%1?immutable=1"_s.arg(QString::fromLatin1(encoded)));
        }
    }
    ~ReadingConnection()
    {
        database = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }
    ReadingConnection(const ReadingConnection &) = delete;
    ReadingConnection &operator=(const ReadingConnection &) = delete;

    /// Opens the file and begins the transaction that ends with the connection. The moment that
    /// the snapshot shows is that of the first read, so there is one.
    QSqlError begin()
    {
        if (!database.open())
            return database.lastError();
        QSqlQuery query(database);
        for (const QString &sql : { u"BEGIN"_s, u"SELECT COUNT(*) FROM sqlite_master"_s }) {
            if (!query.exec(sql))
                return query.lastError();
        }
        return {};
    }

    /// Hands each row of the statement to `read`. Without a copy of the rows: there can be many.
    template<typename Read>
    Error forEachRow(const QString &sql, const Read &read, const QVariantList &values = {}) const
    {
        Error error;
        QSqlQuery query(database);
        query.setForwardOnly(true);
        ZEL_TRY(error, db::qPrepare(query, sql));
        for (const QVariant &value : values)
            query.addBindValue(value);
        ZEL_TRY(error, db::qExec(query));
        while (query.next())
            read(query);
        return ZEL_PASS(db::checkReadToEnd(query));
    }

private:
    QString name;
    QSqlDatabase database;
};

/// The columns of all tables, as "Table.column".
using Columns = QSet<QString>;

Result<Columns> readColumns(const ReadingConnection &connection)
{
    Columns columns;
    Error error;
    ZEL_TRY(error,
            connection.forEachRow(
                u"SELECT m.name || '.' || t.name FROM sqlite_master m, pragma_table_info(m.name) t "
                "WHERE m.type = 'table'"_s,
                [&columns](const QSqlQuery &row) { columns.insert(row.value(0).toString()); }));
    return columns;
}

/// What stands for a column in a statement, whether the file has it or is older.
QString orNull(const Columns &columns, const QString &table, const QString &column)
{
    return columns.contains(table + u'.' + column) ? column : u"NULL"_s;
}

std::optional<qint64> optionalNumber(const QVariant &value)
{
    return value.isNull() ? std::nullopt : std::optional<qint64>(value.toLongLong());
}

/// Makes room for all resources: growing step by step, the list would need twice the memory.
Error reserveResources(const ReadingConnection &connection, Snapshot &snapshot)
{
    const auto sql = u"SELECT COUNT(*) FROM CachedResources"_s;
    return ZEL_PASS(connection.forEachRow(sql, [&snapshot](const QSqlQuery &row) {
        snapshot.resources.reserve(row.value(0).toLongLong());
    }));
}

/// A number instead of the text: as cheap as can be for each of many rows. The texts and numbers
/// are those of the enumeration; any other text is Invalid.
template<typename Enum>
QString asNumber(const QString &column, std::initializer_list<Enum> values)
{
    QString sql = u"CASE "_s + column;
    for (const Enum value : values)
        sql += u" WHEN '%1' THEN %2"_s.arg(toText(value)).arg(int(value));
    return sql + u" ELSE %1 END"_s.arg(int(Enum::Invalid));
}

QString selectResources(const Columns &columns)
{
    const auto sql = u"SELECT reference, cachedPath, fileSize, %1, %2, "
                     "lastAccessDateTime, lastStatusUpdateClientId, %3 FROM CachedResources"_s;
    const QString status
        = asNumber(u"status"_s,
                   { ResourceStatus::Missing, ResourceStatus::Ready,
                     ResourceStatus::ScheduledForAcquire, ResourceStatus::Acquiring });
    const QString policy = asNumber(u"cleanupPolicy"_s,
                                    { ResourceCleanupPolicy::Never, ResourceCleanupPolicy::OnClose,
                                      ResourceCleanupPolicy::OnDemand });
    return sql.arg(status, policy, orNull(columns, u"CachedResources"_s, u"version"_s));
}

/// Reads versions, of which most are none or the same as the one before.
class VersionReader
{
public:
    QVersionNumber read(const QString &text)
    {
        if (text != lastText) {
            lastText = text;
            lastVersion = QVersionNumber::fromString(text);
        }
        return lastVersion;
    }

private:
    QString lastText;
    QVersionNumber lastVersion;
};

ResourceCacheReader::Resource resourceOf(const QSqlQuery &row, VersionReader &versions)
{
    return { row.value(0).toString(),
             row.value(1).toString(),
             row.value(2).toLongLong(),
             ResourceStatus(row.value(3).toInt()),
             ResourceCleanupPolicy(row.value(4).toInt()),
             row.value(5).toLongLong(),
             row.value(6).toLongLong(),
             versions.read(row.value(7).toString()) };
}

Error readResources(const ReadingConnection &connection, const Columns &columns, Snapshot &snapshot)
{
    VersionReader versions;
    return ZEL_PASS(connection.forEachRow(
        selectResources(columns) + u" ORDER BY id"_s,
        [&](const QSqlQuery &row) { snapshot.resources.append(resourceOf(row, versions)); }));
}

Error readResource(const ReadingConnection &connection, const Columns &columns,
                   const QString &reference, Snapshot &snapshot)
{
    VersionReader versions;
    return ZEL_PASS(connection.forEachRow(
        selectResources(columns) + u" WHERE reference = ?"_s,
        [&](const QSqlQuery &row) { snapshot.resources.append(resourceOf(row, versions)); },
        { reference }));
}

using IsWanted = std::function<bool(const QString &reference)>;

bool isAnything(const QString &)
{
    return true;
}

Error readUsages(const ReadingConnection &connection, const IsWanted &isWanted, Snapshot &snapshot)
{
    const auto sql = u"SELECT r.reference, u.clientId, c.processId FROM ResourceUsages u "
                     "LEFT JOIN CachedResources r ON r.id = u.resourceId "
                     "LEFT JOIN Clients c ON c.id = u.clientId ORDER BY u.id"_s;
    return ZEL_PASS(connection.forEachRow(sql, [&](const QSqlQuery &row) {
        const QString reference = row.value(0).toString();
        if (isWanted(reference))
            snapshot.usages.append(
                { reference, row.value(1).toLongLong(), optionalNumber(row.value(2)) });
    }));
}

Error readAcquiringTasks(const ReadingConnection &connection, const IsWanted &isWanted,
                         QList<ResourceCacheReader::AcquiringTask> &tasks)
{
    const auto sql = u"SELECT r.reference, t.clientId, c.processId, t.progress "
                     "FROM AcquiringTasks t "
                     "LEFT JOIN CachedResources r ON r.id = t.resourceId "
                     "LEFT JOIN Clients c ON c.id = t.clientId ORDER BY t.id"_s;
    return ZEL_PASS(connection.forEachRow(sql, [&](const QSqlQuery &row) {
        const QString reference = row.value(0).toString();
        if (!isWanted(reference))
            return;
        const QVariant progress = row.value(3);
        tasks.append({ reference, row.value(1).toLongLong(), optionalNumber(row.value(2)),
                       progress.isNull() ? std::nullopt : std::optional<int>(progress.toInt()) });
    }));
}

Error readClients(const ReadingConnection &connection, QList<ResourceCacheReader::Client> &clients)
{
    const auto sql = u"SELECT id, processId, lastPingTime FROM Clients ORDER BY id"_s;
    return ZEL_PASS(connection.forEachRow(sql, [&clients](const QSqlQuery &row) {
        clients.append(
            { row.value(0).toLongLong(), row.value(1).toLongLong(), row.value(2).toLongLong() });
    }));
}

/// One pass and one row: grouping would sort all resources first.
Error countResources(const ReadingConnection &connection, QHash<ResourceStatus, int> &counts)
{
    static constexpr std::array statuses { ResourceStatus::Missing, ResourceStatus::Ready,
                                           ResourceStatus::ScheduledForAcquire,
                                           ResourceStatus::Acquiring };
    QStringList sums;
    for (const ResourceStatus status : statuses)
        sums.append(u"TOTAL(status = '%1')"_s.arg(toText(status)));
    const QString sql = u"SELECT %1 FROM CachedResources"_s.arg(sums.join(u", "_s));
    return ZEL_PASS(connection.forEachRow(sql, [&counts](const QSqlQuery &row) {
        for (std::size_t i = 0; i < statuses.size(); ++i)
            counts.insert(statuses.at(i), row.value(int(i)).toInt());
    }));
}

/// Into a snapshot or into what comes and goes.
template<typename Value>
Error readMetadata(const ReadingConnection &connection, const Columns &columns, Value &value)
{
    const auto sql = u"SELECT %1, %2 FROM CacheMetadata LIMIT 1"_s;
    const QString table = u"CacheMetadata"_s;
    const QString size = orNull(columns, table, ResourceCacheSchema::kCurrentSize);
    const QString time = orNull(columns, table, ResourceCacheSchema::kLastScanTimestamp);
    return ZEL_PASS(connection.forEachRow(sql.arg(size, time), [&value](const QSqlQuery &row) {
        value.currentSize = row.value(0).toLongLong();
        value.lastScanTimestamp = row.value(1).toLongLong();
    }));
}

Error notACache(const QString &path)
{
    return ZEL_ERROR(ErrorCode::BadData,
                     ResourceCacheReader::tr("\"%1\" is not a cache database.").arg(path));
}

/// The columns of a cache's tables; none of a file whose cache was never quite made.
Result<Columns> readColumnsOfCache(const ReadingConnection &connection, const QString &path)
{
    ZEL_TRY_LET(const Columns columns, readColumns(connection));
    if (!columns.isEmpty() && !columns.contains(u"CachedResources.reference"_s))
        return ZEL_PASS(notACache(path));
    return columns;
}

Error readInto(Snapshot &snapshot, const ReadingConnection &connection, const Columns &columns)
{
    Error error;
    ZEL_TRY(error, reserveResources(connection, snapshot));
    ZEL_TRY(error, readResources(connection, columns, snapshot));
    ZEL_TRY(error, readUsages(connection, isAnything, snapshot));
    ZEL_TRY(error, readAcquiringTasks(connection, isAnything, snapshot.acquiringTasks));
    ZEL_TRY(error, readClients(connection, snapshot.clients));
    ZEL_TRY(error, readMetadata(connection, columns, snapshot));
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
        ZEL_TRY(error, readResource(connection, columns, reference, snapshot));
    }
    const auto isWanted = [&wanted](const QString &reference) {
        return wanted.contains(reference);
    };
    ZEL_TRY(error, readUsages(connection, isWanted, snapshot));
    ZEL_TRY(error, readAcquiringTasks(connection, isWanted, snapshot.acquiringTasks));
    ZEL_TRY(error, readClients(connection, snapshot.clients));
    ZEL_TRY(error, readMetadata(connection, columns, snapshot));
    return error;
}

Error readInto(Activity &activity, const ReadingConnection &connection, const Columns &columns)
{
    Error error;
    ZEL_TRY(error, readAcquiringTasks(connection, isAnything, activity.acquiringTasks));
    ZEL_TRY(error, readClients(connection, activity.clients));
    ZEL_TRY(error, countResources(connection, activity.resourceCounts));
    ZEL_TRY(error, readMetadata(connection, columns, activity));
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
    if (isKind(failure, NotADatabase))
        return ZEL_PASS(notACache(path));
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ResourceCacheReader::tr("Unable to read the cache database \"%1\": %2")
                         .arg(path, failure.text()));
}

/// A reader of a file with a write-ahead log needs files beside it. It cannot have them if they are
/// not there and the folder may not be written. Without a log or a journal, all there is stands in
/// the file itself, and nobody who could write it has it open.
bool canBeReadAlone(const QSqlError &failure, const QString &path)
{
    const QString file = QFileInfo(path).canonicalFilePath();
    return (isKind(failure, CannotOpen) || isKind(failure, ReadOnly))
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
    ReadingConnection shared(path, Access::Shared);
    const QSqlError failure = shared.begin();
    if (!canBeReadAlone(failure, path))
        return ZEL_PASS(readBegun<Value>(shared, failure, path, read));

    ReadingConnection alone(path, Access::Unchanging);
    const QSqlError lastFailure = alone.begin();
    return ZEL_PASS(readBegun<Value>(alone, lastFailure, path, read));
}

} // namespace

ResourceCacheReader::ResourceCacheReader(const QString &databasePath)
    : databasePath(databasePath)
{
}

Result<Snapshot> ResourceCacheReader::read() const
{
    return ZEL_PASS(readFile<Snapshot>(databasePath));
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
