#include "Contestant.h"
#include "Disk.h"
#include "OpenCache.h"
#include "StoredFiles.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <unistd.h>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCachePath pathOf(const QString &directory)
{
    ResourceCachePath path;
    path.setBaseDirPath(PathImpl<PathType::Dir>(directory));
    return path;
}

/// Removes the half of a cache's resources that was used longest ago.
class EvictHalf : public Contestant
{
public:
    /// The cache is as full as it may be, so nothing goes before it is told to.
    EvictHalf(const QString &directory, int resources)
        : directory(directory)
        , resources(resources)
        , total(resources * StoredFiles::fileSize)
        , cache(openCache(directory, { total, 2 * total }))
        , files(cache.get(), pathOf(directory), resources)
    {
    }

    void prepare() override
    {
        files.fill();
        settle(directory);
    }
    int run() override
    {
        evict();
        if (check(cache->readCurrentCacheSize()) != total / 2)
            giveUp("it was not half of the resources that went");
        return 1;
    }

protected:
    virtual void evict() = 0;

    const QString directory;
    const int resources;
    const qint64 total;
    const std::shared_ptr<ResourceCache> cache;

private:
    StoredFiles files;
};

class Purge : public EvictHalf
{
public:
    using EvictHalf::EvictHalf;

private:
    // A purge makes a tenth of the optimal size free by itself, and all that it is asked for.
    void evict() override { check(cache->purgeCacheIfNeeded(total / 2 - 1 - total / 10)); }
};

/// The same system calls and the same statements, each prepared once, and nothing around them.
class BareCalls : public EvictHalf
{
public:
    BareCalls(const QString &directory, int resources)
        : EvictHalf(directory, resources)
        , database(QSqlDatabase::addDatabase(u"QSQLITE"_s, u"bare"_s))
    {
        database.setDatabaseName(pathOf(directory).databasePath());
        if (!database.open())
            giveUp("cannot open the database");
        execute(u"PRAGMA synchronous = NORMAL"_s);
    }

private:
    struct Resource
    {
        QString reference;
        QString path;
    };

    void evict() override
    {
        execute(u"BEGIN IMMEDIATE"_s);
        QSqlQuery status = prepared(
            u"UPDATE CachedResources SET status = :status,lastAccessDateTime = :lastAccess, "
            "lastStatusUpdateClientId = :client WHERE reference = :ref"_s);
        QSqlQuery path
            = prepared(u"UPDATE CachedResources SET cachedPath = :cachedPath,fileSize = :size "
                       "WHERE reference = :ref"_s);
        for (const Resource &resource : oldest())
            remove(resource, status, path);
        execute(u"COMMIT"_s);
    }

    QList<Resource> oldest()
    {
        QSqlQuery query(database);
        query.setForwardOnly(true);
        query.exec(u"SELECT cr.reference, cr.cachedPath, cr.fileSize from CachedResources cr "
                   "WHERE cr.fileSize > 0 "
                   "AND NOT EXISTS(SELECT 1 FROM ResourceUsages WHERE resourceId = cr.id) "
                   "ORDER BY cr.lastAccessDateTime ASC"_s);
        QList<Resource> found;
        while (found.size() < resources / 2 && query.next())
            found.append({ query.value(0).toString(), query.value(1).toString() });
        return found;
    }

    void remove(const Resource &resource, QSqlQuery &status, QSqlQuery &path) const
    {
        ::unlink(QFile::encodeName(resource.path));
        ::rmdir(QFile::encodeName(QFileInfo(resource.path).path()));
        run(status,
            { { u":status"_s, u"Missing"_s },
              { u":lastAccess"_s, QDateTime::currentMSecsSinceEpoch() },
              { u":client"_s, 1 },
              { u":ref"_s, resource.reference } });
        run(path,
            { { u":cachedPath"_s, {} }, { u":size"_s, {} }, { u":ref"_s, resource.reference } });
    }

    void execute(const QString &sql) const
    {
        QSqlQuery query = prepared(sql);
        run(query, {});
    }

    QSqlQuery prepared(const QString &sql) const
    {
        QSqlQuery query(database);
        if (!query.prepare(sql))
            giveUp(query.lastError().text().toStdString());
        return query;
    }

    static void run(QSqlQuery &query, const QList<std::pair<QString, QVariant>> &values)
    {
        for (const auto &[name, value] : values)
            query.bindValue(name, value);
        if (!query.exec())
            giveUp(query.lastError().text().toStdString());
    }

    QSqlDatabase database;
};

template<typename T>
MakeContestant ofResources(int resources)
{
    return [resources](const QString &directory) {
        return std::make_unique<T>(directory, resources);
    };
}

const bool known = enter("evict/ours", ofResources<Purge>(10'000))
    && enter("evict/quarter", ofResources<Purge>(2'500))
    && enter("evict/bare", ofResources<BareCalls>(10'000));

} // namespace
