#include "CacheRows.h"

#include "ResourceCacheSchema.h"

#include <array>
#include <initializer_list>

namespace zel::CacheRows {

using namespace Qt::Literals::StringLiterals;
using Resource = ResourceCacheReader::Resource;

namespace {

/// What stands for a column in a statement, whether the file has it or is older.
QString orNull(const Columns &columns, const QString &table, const QString &column)
{
    return columns.contains(table + u'.' + column) ? column : u"NULL"_s;
}

std::optional<qint64> optionalNumber(const QVariant &value)
{
    return value.isNull() ? std::nullopt : std::optional<qint64>(value.toLongLong());
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

/// The long texts as their bytes, which are UTF-8 in every cache: SQLite takes several times as
/// long as Qt to make them UTF-16.
QString selectResources(const Columns &columns)
{
    const auto sql = u"SELECT CAST(reference AS BLOB), CAST(cachedPath AS BLOB), fileSize, %1, %2, "
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

QString textOf(const QVariant &bytes)
{
    return QString::fromUtf8(bytes.toByteArray());
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

Resource resourceOf(const QSqlQuery &row, VersionReader &versions)
{
    return { textOf(row.value(0)),
             textOf(row.value(1)),
             row.value(2).toLongLong(),
             ResourceStatus(row.value(3).toInt()),
             ResourceCleanupPolicy(row.value(4).toInt()),
             row.value(5).toLongLong(),
             row.value(6).toLongLong(),
             versions.read(row.value(7).toString()) };
}

/// Makes room for all resources: growing step by step, the list would need twice the memory.
Error reserve(const ReadingConnection &connection, QList<Resource> &resources)
{
    const auto sql = u"SELECT COUNT(*) FROM CachedResources"_s;
    return ZEL_PASS(connection.forEachRow(
        sql, [&resources](const QSqlQuery &row) { resources.reserve(row.value(0).toLongLong()); }));
}

Error appendResources(const ReadingConnection &connection, const QString &sql,
                      const QVariantList &values, QList<Resource> &resources)
{
    VersionReader versions;
    const auto read = [&](const QSqlQuery &row) {
        resources.append(resourceOf(row, versions));
    };
    return ZEL_PASS(connection.forEachRow(sql, read, values));
}

} // namespace

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

Error readResources(const ReadingConnection &connection, const Columns &columns,
                    QList<Resource> &resources)
{
    Error error;
    ZEL_TRY(error, reserve(connection, resources));
    const QString sql = selectResources(columns) + u" ORDER BY id"_s;
    return ZEL_PASS(appendResources(connection, sql, {}, resources));
}

Error readResource(const ReadingConnection &connection, const Columns &columns,
                   const QString &reference, QList<Resource> &resources)
{
    const QString sql = selectResources(columns) + u" WHERE reference = ?"_s;
    return ZEL_PASS(appendResources(connection, sql, { reference }, resources));
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

bool isAnything(const QString &)
{
    return true;
}

Error readUsages(const ReadingConnection &connection, const IsWanted &isWanted,
                 QList<ResourceCacheReader::Usage> &usages)
{
    const auto sql = u"SELECT r.reference, u.clientId, c.processId FROM ResourceUsages u "
                     "LEFT JOIN CachedResources r ON r.id = u.resourceId "
                     "LEFT JOIN Clients c ON c.id = u.clientId ORDER BY u.id"_s;
    return ZEL_PASS(connection.forEachRow(sql, [&](const QSqlQuery &row) {
        const QString reference = row.value(0).toString();
        if (isWanted(reference))
            usages.append({ reference, row.value(1).toLongLong(), optionalNumber(row.value(2)) });
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

Error countStrayUsages(const ReadingConnection &connection, int &count)
{
    const auto sql = u"SELECT COUNT(*) FROM ResourceUsages "
                     "WHERE clientId NOT IN (SELECT id FROM Clients)"_s;
    return ZEL_PASS(connection.forEachRow(
        sql, [&count](const QSqlQuery &row) { count = row.value(0).toInt(); }));
}

Error readMetadata(const ReadingConnection &connection, const Columns &columns, qint64 &currentSize,
                   qint64 &lastScanTimestamp)
{
    const auto sql = u"SELECT %1, %2 FROM CacheMetadata LIMIT 1"_s;
    const QString table = u"CacheMetadata"_s;
    const QString size = orNull(columns, table, ResourceCacheSchema::kCurrentSize);
    const QString time = orNull(columns, table, ResourceCacheSchema::kLastScanTimestamp);
    return ZEL_PASS(connection.forEachRow(sql.arg(size, time), [&](const QSqlQuery &row) {
        currentSize = row.value(0).toLongLong();
        lastScanTimestamp = row.value(1).toLongLong();
    }));
}

} // namespace zel::CacheRows
