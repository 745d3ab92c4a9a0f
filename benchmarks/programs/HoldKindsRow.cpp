#include "Disk.h"
#include "FilledCache.h"
#include "OpenCache.h"
#include "ResourceManager.h"
#include "ResourceRetrieveHandle.h"
#include "Watched.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSystemSemaphore>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int fileSize = 4096;

/// A new folder of small files.
void makeFiles(const QString &folder, int files)
{
    QDir().mkpath(folder);
    for (int i = 0; i < files; ++i) {
        QFile file(u"%1/%2.raw"_s.arg(folder).arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(fileSize, 'x')) != fileSize)
            giveUp("nothing can be written");
    }
    settle(folder);
}

/// The first opening of a cache, which makes its database, and a later one.
class Openings : public Watched
{
public:
    static constexpr int caches = 20; ///< a round

    explicit Openings(const QString &directory)
        : directory(directory)
    {
    }

protected:
    void work() override
    {
        for (int i = 0; i < caches; ++i) {
            const QString cache = u"%1/%2"_s.arg(directory).arg(number++);
            QDir().mkpath(cache);
            openCache(cache);
            openCache(cache);
        }
    }

private:
    const QString directory;
    int number = 0;
};

/// The same with a database of one table.
class BareOpenings : public Watched
{
public:
    explicit BareOpenings(const QString &directory)
        : directory(directory)
        , semaphore(ResourceCachePath::semaphoreKeyFor(directory), 1)
    {
    }

protected:
    void work() override
    {
        for (int i = 0; i < Openings::caches; ++i) {
            const QString path = u"%1/%2.db"_s.arg(directory).arg(number++);
            openAndClose(path, u"CREATE TABLE t(id INTEGER PRIMARY KEY)"_s);
            openAndClose(path, u"INSERT INTO t DEFAULT VALUES"_s);
        }
    }

private:
    /// In a hold each.
    void openAndClose(const QString &path, const QString &statement)
    {
        auto database = std::make_unique<QSqlDatabase>(QSqlDatabase::addDatabase(u"QSQLITE"_s));
        semaphore.acquire();
        database->setDatabaseName(path);
        if (!database->open())
            giveUp("no database");
        for (const auto &each :
             { u"PRAGMA journal_mode = WAL"_s, u"PRAGMA synchronous = NORMAL"_s, statement })
            QSqlQuery(*database).exec(each);
        semaphore.release();

        semaphore.acquire();
        database->close();
        semaphore.release();
        database.reset();
        QSqlDatabase::removeDatabase(QLatin1StringView(QSqlDatabase::defaultConnection));
    }

    const QString directory;
    QSystemSemaphore semaphore;
    int number = 0;
};

/// Uses resources and begins to fetch others, as long as it lives.
class Victim : public Contestant
{
public:
    explicit Victim(const QString &directory)
        : cache(openCache(directory))
    {
    }

    int run() override
    {
        for (int i = 0; i < used; ++i)
            uses.push_back(check(cache->useResource(u"test:used-%1"_s.arg(i))));
        for (int i = 0; i < fetched; ++i)
            beginToFetch(u"test:fetched-%1"_s.arg(i));
        return 1;
    }

private:
    static constexpr int used = 100;
    static constexpr int fetched = 6; // as many at once as the manager has

    void beginToFetch(const QString &reference)
    {
        uses.push_back(check(cache->useResource(reference)));
        const PathImpl<PathType::Unknown> path(u"/nowhere"_s);
        handles.push_back(std::make_unique<ResourceRetrieveHandle>(reference, path, cache.get(),
                                                                   QVersionNumber(1)));
        check(handles.back()->tryStartRetrieve());
    }

    const std::shared_ptr<ResourceCache> cache;
    std::vector<std::unique_ptr<ResourceCache::InUseHandle>> uses;
    std::vector<std::unique_ptr<ResourceRetrieveHandle>> handles;
};

/// An opening that finds what a killed program has left half a minute ago.
class Burial : public Watched
{
public:
    explicit Burial(const QString &directory)
        : directory(directory)
    {
    }

    void prepare() override
    {
        QProcess victim;
        victim.start(QCoreApplication::applicationFilePath(), { u"holdBury/victim"_s, directory });
        victim.write("round\n");
        if (!victim.waitForReadyRead())
            giveUp("the other program does nothing");
        victim.kill();
        victim.waitForFinished();
        letTimePass();
        settle(directory);
    }

protected:
    void work() override { openCache(directory); }

private:
    void letTimePass() const
    {
        const QString connection = u"time"_s;
        {
            auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
            database.setDatabaseName(databaseOf(directory));
            if (!database.open()
                || !QSqlQuery(database).exec(u"UPDATE Clients SET lastPingTime = 1"_s))
                giveUp("the other program has left nothing");
        }
        QSqlDatabase::removeDatabase(connection);
    }

    const QString directory;
};

/// Retrievals by the manager, with their files.
class Retrievals : public Watched
{
public:
    explicit Retrievals(const QString &directory)
        : directory(directory)
    {
        openManager(directory);
        ResourceManager::setRetrieveMode(ResourceHandler::RetrieveMode::NoPrompt);
    }

    void prepare() override
    {
        references = makeSources(u"%1/source-%2"_s.arg(directory).arg(number++));
    }

protected:
    /// Gives the references.
    virtual QStringList makeSources(const QString &folder) const = 0;

    void work() override
    {
        check(ResourceManager::retrieve(check(ResourceManager::getHandlers(references))));
    }

private:
    const QString directory;
    QStringList references;
    int number = 0;
};

class OneFolder : public Retrievals
{
public:
    using Retrievals::Retrievals;

private:
    QStringList makeSources(const QString &folder) const override
    {
        makeFiles(folder, 500);
        return { u"share:"_s + folder };
    }
};

/// As many at once as the manager has.
class ManyAtOnce : public Retrievals
{
public:
    using Retrievals::Retrievals;

private:
    QStringList makeSources(const QString &folder) const override
    {
        constexpr int files = 120;
        makeFiles(folder, files);
        QStringList references;
        for (int i = 0; i < files; ++i)
            references.append(u"share:%1/%2.raw"_s.arg(folder).arg(i));
        return references;
    }
};

template<typename T>
std::unique_ptr<Contestant> make(const QString &directory)
{
    return std::make_unique<T>(directory);
}

const bool known = enter("holdOpen/ours", make<Openings>)
    && enter("holdOpen/floor", make<BareOpenings>) && enter("holdBury/ours", make<Burial>)
    && enter("holdBury/victim", make<Victim>) && enter("holdFolder/ours", make<OneFolder>)
    && enter("holdSix/ours", make<ManyAtOnce>);

} // namespace
