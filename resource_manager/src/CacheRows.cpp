#include "CacheRows.h"

#include "ResourceCacheDaoSchema.h"

#include <array>
#include <initializer_list>

namespace zel::CacheRows {

using namespace Qt::Literals::StringLiterals;
using Reader = ResourceCacheReader;
using Details = Reader::Details;
using Resource = Reader::Resource;

namespace {

/// Statuses are smaller than this.
constexpr int statusCount = 8;

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
/// are those of the enumeration, the most frequent first, as they are compared in this order; any
/// other text is Invalid.
template<typename Enum>
QString asNumber(const QString &column, std::initializer_list<Enum> values)
{
    QString sql = u"CASE "_s + column;
    for (const Enum value : values)
        sql += u" WHEN '%1' THEN %2"_s.arg(toText(value), QString::number(int(value)));
    return sql + u" ELSE %1 END"_s.arg(int(Enum::Invalid));
}

/// As their bytes, which are UTF-8 in every cache: SQLite takes several times as long as Qt to make
/// them UTF-16.
QString asBytes(const QString &column)
{
    return u"CAST(%1 AS BLOB)"_s.arg(column);
}

QString textOf(const QVariant &bytes)
{
    return QString::fromUtf8(bytes.toByteArray());
}

/// Reads versions, of which most are none or the same as the one before.
class VersionReader
{
public:
    QVersionNumber read(const QByteArray &text)
    {
        if (text != lastText) {
            lastText = text;
            lastVersion = QVersionNumber::fromString(QString::fromUtf8(text));
        }
        return lastVersion;
    }

private:
    QByteArray lastText;
    QVersionNumber lastVersion;
};

/// What is selected of each resource, and how its values are read. A value more of each of many
/// rows costs more than all that is done with it afterwards: none is selected that nobody wants.
class ResourceColumns
{
public:
    ResourceColumns(const Columns &columns, Details details)
        : columns(columns)
        , details(details)
    {
    }

    QStringList selected() const;
    Resource read(const QSqlQuery &row);

private:
    static QString status();
    static QString policy();
    QString state() const;
    static void readState(int state, Resource &resource);

    const Columns &columns;
    const Details details;
    VersionReader versions;
};

QString ResourceColumns::status()
{
    return asNumber(u"status"_s,
                    { ResourceStatus::Ready, ResourceStatus::Missing,
                      ResourceStatus::ScheduledForAcquire, ResourceStatus::Acquiring });
}

QString ResourceColumns::policy()
{
    return asNumber(u"cleanupPolicy"_s,
                    { ResourceCleanupPolicy::OnDemand, ResourceCleanupPolicy::OnClose,
                      ResourceCleanupPolicy::Never });
}

/// All that is a small number, in one.
QString ResourceColumns::state() const
{
    const QString hasPath = details & Reader::Path ? u"0"_s // which tells it by itself
                                                   : u"(IFNULL(cachedPath, '') <> '')"_s;
    const QString others = details & Reader::Policy ? hasPath + u" + 2 * "_s + policy() : hasPath;
    return u"%1 + %2 * (%3)"_s.arg(status(), QString::number(statusCount), others);
}

void ResourceColumns::readState(int state, Resource &resource)
{
    const int others = state / statusCount;
    resource.status = ResourceStatus(state % statusCount);
    resource.hasPath = others % 2 == 1;
    resource.policy = ResourceCleanupPolicy(others / 2);
}

/// In the order in which read() takes them.
QStringList ResourceColumns::selected() const
{
    QStringList selected { asBytes(u"reference"_s), u"fileSize"_s, state(),
                           u"lastAccessDateTime"_s };
    if (details & Reader::Path)
        selected << asBytes(u"cachedPath"_s);
    if (details & Reader::LastWriter)
        selected << u"lastStatusUpdateClientId"_s;
    if (details & Reader::Version)
        selected << asBytes(orNull(columns, u"CachedResources"_s, u"version"_s));
    return selected;
}

Resource ResourceColumns::read(const QSqlQuery &row)
{
    int column = 0;
    Resource resource;
    resource.reference = textOf(row.value(column++));
    resource.size = row.value(column++).toLongLong();
    readState(row.value(column++).toInt(), resource);
    resource.lastAccess = row.value(column++).toLongLong();
    if (details & Reader::Path) {
        resource.path = textOf(row.value(column++));
        resource.hasPath = !resource.path.isEmpty();
    }
    if (details & Reader::LastWriter)
        resource.lastWriterClientId = row.value(column++).toLongLong();
    if (details & Reader::Version)
        resource.version = versions.read(row.value(column++).toByteArray());
    return resource;
}

/// Makes room for all resources: growing step by step, the list would need twice the memory.
Error reserve(const ReadingConnection &connection, QList<Resource> &resources)
{
    const auto sql = u"SELECT COUNT(*) FROM CachedResources"_s;
    return ZEL_PASS(connection.forEachRow(
        sql, [&resources](const QSqlQuery &row) { resources.reserve(row.value(0).toLongLong()); }));
}

/// Every page is read once, from the first to the last: the usual room for them would be filled for
/// nothing.
Error keepFewPages(const ReadingConnection &connection)
{
    const auto sql = u"PRAGMA cache_size=-256"_s; // in KiB
    return ZEL_PASS(connection.forEachRow(sql, [](const QSqlQuery &) {}));
}

/// `condition`: what follows behind the table, with `values`.
Error appendResources(const ReadingConnection &connection, ResourceColumns columns,
                      const QString &condition, const QVariantList &values,
                      QList<Resource> &resources)
{
    const auto read = [&](const QSqlQuery &row) {
        resources.append(columns.read(row));
    };
    const QString sql
        = u"SELECT "_s + columns.selected().join(u", "_s) + u" FROM CachedResources "_s + condition;
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

Error readResources(const ReadingConnection &connection, const Columns &columns, Details details,
                    QList<Resource> &resources)
{
    Error error;
    ZEL_TRY(error, keepFewPages(connection));
    ZEL_TRY(error, reserve(connection, resources));
    const ResourceColumns wanted(columns, details);
    qCDebug(lcResourceManager) << "Columns of each resource:" << wanted.selected().size();
    return ZEL_PASS(appendResources(connection, wanted, u"ORDER BY id"_s, {}, resources));
}

Error readResource(const ReadingConnection &connection, const Columns &columns,
                   const QString &reference, QList<Resource> &resources)
{
    return ZEL_PASS(appendResources(connection, ResourceColumns(columns, Reader::EveryDetail),
                                    u"WHERE reference = ?"_s, { reference }, resources));
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
    const QString size = orNull(columns, table, ResourceCacheDaoSchema::kCurrentSize);
    const QString time = orNull(columns, table, ResourceCacheDaoSchema::kLastScanTimestamp);
    return ZEL_PASS(connection.forEachRow(sql.arg(size, time), [&](const QSqlQuery &row) {
        currentSize = row.value(0).toLongLong();
        lastScanTimestamp = row.value(1).toLongLong();
    }));
}

} // namespace zel::CacheRows
