#include "OpenCache.h"
#include "ResourceRetrieveHandle.h"
#include "Watched.h"

#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSystemSemaphore>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int resources = 200; ///< a round
constexpr int percents = 10; ///< of each

/// What a program does with resources that it fetches: all of it but scans, batch deletions and
/// conversions.
class NormalWork : public Watched
{
public:
    explicit NormalWork(const QString &directory)
        : directory(directory)
        , cache(openCache(directory))
    {
    }

protected:
    void work() override
    {
        for (int i = 0; i < resources; ++i)
            fetchAndUse(u"test:%1"_s.arg(number++));
    }

private:
    void fetchAndUse(const QString &reference)
    {
        const auto use = check(cache->useResource(reference));
        const PathImpl<PathType::Unknown> path(copyFor(reference));
        ResourceRetrieveHandle handle(reference, path, cache.get(), QVersionNumber(1));
        check(handle.tryStartRetrieve());
        for (int percent = 1; percent <= percents; ++percent)
            check(handle.saveProgress(percent * 100 / percents));
        check(handle.finalizeRetrieve(Error()));
        check(handle.removeTaskFromDatabase());
        check(cache->readStatus(reference));
        check(cache->readLocalPath(reference));
    }
    QString copyFor(const QString &reference) const
    {
        const QString folder = directory + u"/Cache/test/"_s + reference.mid(5);
        QFile file(folder + u"/f"_s);
        if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly)
            || file.write(QByteArray(4096, 'x')) < 0)
            giveUp("the copy cannot be written");
        return file.fileName();
    }

    QString directory;
    std::shared_ptr<ResourceCache> cache;
    int number = 0;
};

/// As many holds with one bare statement each that writes, on the same settings: what the disk and
/// the database take for themselves.
class BareWrites : public Watched
{
public:
    explicit BareWrites(const QString &directory)
        : semaphore(ResourceCachePath::semaphoreKeyFor(directory), 1)
        , database(QSqlDatabase::addDatabase(u"QSQLITE"_s))
    {
        database.setDatabaseName(directory + u"/bare.db"_s);
        if (!database.open())
            giveUp(database.lastError().text().toStdString());
        execute(u"PRAGMA journal_mode = WAL"_s);
        execute(u"PRAGMA synchronous = NORMAL"_s);
        execute(u"CREATE TABLE t(id INTEGER PRIMARY KEY, reference TEXT UNIQUE, status TEXT)"_s);
    }

protected:
    void work() override
    {
        for (int i = 0; i < resources * (percents + 10); ++i) {
            const QString reference = u"test:%1"_s.arg(number++);
            semaphore.acquire();
            execute(u"INSERT INTO t(reference, status) VALUES('%1', 'Ready')"_s.arg(reference));
            semaphore.release();
        }
    }

private:
    void execute(const QString &statement)
    {
        QSqlQuery query(database);
        if (!query.exec(statement))
            giveUp(query.lastError().text().toStdString());
    }

    QSystemSemaphore semaphore;
    QSqlDatabase database;
    int number = 0;
};

template<typename T>
std::unique_ptr<Contestant> make(const QString &directory)
{
    return std::make_unique<T>(directory);
}

const bool known = enter("hold/ours", make<NormalWork>) && enter("hold/floor", make<BareWrites>);

} // namespace
