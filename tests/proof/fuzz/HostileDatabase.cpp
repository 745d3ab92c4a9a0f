#include "HostileDatabase.h"

#include "Fuzzing.h"
#include "ResourceCache.h"

#include <QDir>
#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

namespace zel::fuzz {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int mostRows = 30;
bool hasHostileSize = false;

/// A database that nobody has harmed.
QByteArray goodFile()
{
    ResourceCachePath path;
    path.setBaseDirPath(pathOf(u"good"_s));
    ZEL_MUST(writeFile(pathOf(u"good/Cache/file"_s), {}));
    {
        ResourceCache cache;
        ZEL_MUST(!cache.open(path, {}).hasError());
    }
    return readFile(path.databasePath().toString());
}

const QHash<char, QString> &statements()
{
    static const auto *const all = new QHash<char, QString> {
        { 'R',
          u"INSERT INTO CachedResources(reference, cachedPath, fileSize, status, cleanupPolicy, "
          "lastAccessDateTime, lastStatusUpdateClientId, version) VALUES (?,?,?,?,?,?,?,?)"_s },
        { 'U', u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (?,?)"_s },
        { 'T', u"INSERT INTO AcquiringTasks(resourceId, progress, clientId) VALUES (?,?,?)"_s },
        { 'C', u"INSERT INTO Clients(processId, lastPingTime) VALUES (?,?)"_s },
        { 'M', u"INSERT INTO CacheMetadata(currentSize, lastScanTimestamp) VALUES (?,?)"_s },
        { 'S', u"UPDATE CacheMetadata SET currentSize = ?"_s },
    };
    return *all;
}

QVariant valueOf(const QByteArray &text)
{
    if (text == "~")
        return QVariant(QMetaType::fromType<QString>());
    if (text.startsWith('#'))
        return text.mid(1).toLongLong();
    return QString::fromUtf8(text).replace(u'$', pathOf(u"base/Cache"_s));
}

/// A row may name any folder, and a program that asks for it gets it counted and purged: it names
/// none of the machine's.
QVariant pathIn(const QVariant &value)
{
    const QString path = QDir::cleanPath(value.toString());
    return value.isNull() || path.startsWith(pathOf({})) ? value : pathOf(u"outside/"_s + path);
}

/// A row that the tables do not permit is left out.
void addRow(const QSqlDatabase &database, const QByteArray &line)
{
    const QString sql = statements().value(line.isEmpty() ? '\0' : line.front());
    if (sql.isEmpty())
        return;
    const QList<QByteArray> values = line.mid(2).split('|');
    QSqlQuery query(database);
    ZEL_MUST(query.prepare(sql));
    for (qsizetype at = 0; at < sql.count(u'?'); ++at) {
        const QVariant value = valueOf(values.value(at, "~"));
        query.addBindValue(line.startsWith('R') && at == 1 ? pathIn(value) : value);
    }
    query.exec();
}

bool isTrue(const QSqlDatabase &database, const QString &sql)
{
    QSqlQuery query(database);
    return query.exec(sql) && query.next() && query.value(0).toInt() != 0;
}

void addRows(const QString &path, const QByteArray &lines)
{
    const QString name = u"hostile"_s;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, name);
        database.setDatabaseName(path);
        ZEL_MUST(database.open());
        for (const QByteArray &line : lines.split('\n').mid(0, mostRows))
            addRow(database, line);
        hasHostileSize = isTrue(database,
                                u"SELECT COUNT(*) FROM CachedResources WHERE typeof(fileSize) "
                                "NOT IN ('integer', 'null')"_s);
        database.close();
    }
    QSqlDatabase::removeDatabase(name);
}

} // namespace

void makeHostileDatabase(const QString &path, const QByteArray &input)
{
    static const QByteArray *const good = new QByteArray(goodFile());
    const bool isFile = input.startsWith("SQLite format 3");
    hasHostileSize = isFile;
    ZEL_MUST(writeFile(path, isFile ? input : *good));
    if (!isFile)
        addRows(path, input);
}

bool isHostileSize()
{
    return hasHostileSize;
}

} // namespace zel::fuzz
