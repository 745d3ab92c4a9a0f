#include "Contestant.h"
#include "Disk.h"
#include "FilledCache.h"
#include "OpenCache.h"
#include "Replay.h"
#include "ResourceManager.h"
#include "Watched.h"

#include <QDir>
#include <QFile>

#include <mutex>
#include <optional>
#include <thread>

#include <unistd.h>

using namespace zel;
using namespace zel::bench;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int many = 1000; ///< retrievals in a round
constexpr int manyWatched = 120; ///< as few as a round of holdSix has
constexpr int fileSize = 4096;
constexpr int atOnce = 6; ///< as many fetches as the manager has

/// New files in a folder of their own for each round; gives the folder.
QString makeSources(const QString &directory, int round, int count)
{
    const QString folder = u"%1/source-%2"_s.arg(directory, QString::number(round));
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        QFile file(u"%1/%2.raw"_s.arg(folder, QString::number(i)));
        if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(fileSize, 'x')) != fileSize)
            giveUp("nothing can be written");
    }
    settle(directory);
    return folder;
}

/// Retrieves the files of a folder by the manager, which brings as many at once as it does.
class RetrieveMany : public Contestant
{
public:
    explicit RetrieveMany(const QString &directory, int count = many)
        : directory(directory)
        , count(count)
    {
        QDir().mkpath(directory);
        openManager(directory);
        ResourceManager::setRetrieveMode(ResourceHandler::RetrieveMode::NoPrompt);
    }

    void prepare() override
    {
        const QString folder = makeSources(directory, round++, count);
        references.clear();
        for (int i = 0; i < count; ++i)
            references.append(u"share:%1/%2.raw"_s.arg(folder, QString::number(i)));
    }
    int run() override
    {
        check(ResourceManager::retrieve(check(ResourceManager::getHandlers(references))));
        return count;
    }

private:
    const QString directory;
    const int count;
    QList<QString> references;
    int round = 0;
};

Script recordRetrieval(const QString &directory, int count)
{
    RetrieveMany ours(directory, count);
    ours.prepare();
    Script script = record([&] { ours.run(); });
    ResourceManager::cache()->setPingEnabled(false); // no hold of its own among those of the replay
    return script;
}

void syncAt(const QString &path)
{
    const OpenFile file(path);
    if (::fsync(file.descriptor) != 0)
        giveUp("cannot sync " + path.toStdString());
}

void copyToDisk(const QString &source, const QString &target)
{
    const OpenFile from(source);
    const OpenFile to(target, O_WRONLY | O_CREAT | O_TRUNC);
    if (::copy_file_range(from.descriptor, nullptr, to.descriptor, nullptr, fileSize, 0) != fileSize
        || ::fdatasync(to.descriptor) != 0)
        giveUp("nothing can be copied");
}

/// A copy that is there as a whole or not at all, and stays there.
void copyDurably(const QString &source, const QString &place, const QString &name)
{
    const QString folder = place + u'/' + name;
    const QString staged = folder + u"/staged"_s;
    QDir().mkpath(folder);
    copyToDisk(source, staged);
    QFile::rename(staged, folder + u"/data.raw"_s);
}

void writeManifest(const QString &path)
{
    constexpr int size = 430;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(size, ' ')) != size)
        giveUp("nothing can be written");
    file.close();
    syncAt(path);
}

/// The same with all the waits by which every file system has the copy, its names and its manifest
/// after a power cut. The three folders in `place` are there.
void copyAsPromised(const QString &source, const QString &place, const QString &name)
{
    const QString staging = place + u"/Staging/"_s + name;
    const QString folder = place + u"/Cache/"_s + name;
    const QString manifest = place + u"/Manifests/"_s + name;
    QDir().mkdir(staging);
    copyToDisk(source, staging + u"/data.raw"_s);
    syncAt(staging);
    QDir().mkdir(folder);
    QFile::rename(staging + u"/data.raw"_s, folder + u"/data.raw"_s);
    syncAt(folder);
    syncAt(place + u"/Cache"_s);
    writeManifest(manifest + u".new"_s);
    QFile::rename(manifest + u".new"_s, manifest);
    QDir().rmdir(staging);
}

/// Of the script: what ends with giving the semaphore back.
std::vector<Script> holdsOf(const Script &script)
{
    std::vector<Script> holds(1);
    for (const Step &step : script) {
        holds.back().push_back(step);
        if (step.kind == Step::Kind::Give)
            holds.emplace_back();
    }
    return holds;
}

/// The same statements and takes of the semaphore on a new database, and the copies alone.
class Bare : public Contestant
{
public:
    explicit Bare(const QString &directory, int count = many)
        : directory(directory)
        , count(count)
        , script(recordRetrieval(directory + u"/recorded"_s, count))
    {
        fillCache(directory + u"/empty"_s, 0);
    }

    void prepare() override
    {
        place = u"%1/played-%2"_s.arg(directory, QString::number(round));
        source = makeSources(directory, round++, count);
        for (const auto &folder : { u"/Staging"_s, u"/Cache"_s, u"/Manifests"_s })
            QDir().mkpath(place + folder);
        QFile::copy(databaseOf(directory + u"/empty"_s), databaseOf(place));
        replay.emplace(databaseOf(place), Replay::Settings::AsOurs);
    }

protected:
    QString sourceOf(int number) const { return u"%1/%2.raw"_s.arg(source).arg(number); }

    const QString directory;
    const int count;
    const Script script;
    QString place;
    QString source;
    std::optional<Replay> replay;
    int round = 0;
};

/// One after the other, with one sync each.
class OneByOne : public Bare
{
public:
    using Bare::Bare;

    int run() override
    {
        replay->play(script);
        for (int i = 0; i < count; ++i)
            copyDurably(sourceOf(i), place, QString::number(i));
        return count;
    }
};

/// As many at once as ours, with all that it promises: each does its share of the holds when it is
/// its turn, and then its copy.
class AsPromised : public Bare
{
public:
    explicit AsPromised(const QString &directory, int count = many)
        : Bare(directory, count)
        , holds(holdsOf(script))
    {
    }

    int run() override
    {
        next = 0;
        std::vector<std::thread> workers;
        for (int i = 0; i < atOnce; ++i)
            workers.emplace_back([this] { workThrough(); });
        for (std::thread &worker : workers)
            worker.join();
        return count;
    }

private:
    void workThrough()
    {
        for (int i = takeTurn(); i < count; i = takeTurn())
            copyAsPromised(sourceOf(i), place, QString::number(i));
    }

    int takeTurn()
    {
        const std::lock_guard turn(mutex);
        const int number = next++;
        if (number < count) {
            for (size_t i = firstHoldOf(number); i < firstHoldOf(number + 1); ++i)
                replay->play(holds[i]);
        }
        return number;
    }
    size_t firstHoldOf(int number) const { return holds.size() * size_t(number) / size_t(count); }

    const std::vector<Script> holds;
    std::mutex mutex; ///< of the rest, and of the connection
    int next = 0;
};

/// The same, whose holds are watched: how long the disk and the database make them by themselves.
class WatchedPromise : public Watched
{
public:
    explicit WatchedPromise(const QString &directory)
        : bare(directory, manyWatched)
    {
    }

    void prepare() override { bare.prepare(); }

protected:
    void work() override { bare.run(); }

private:
    AsPromised bare;
};

template<typename Side>
std::unique_ptr<Contestant> make(const QString &directory)
{
    return std::make_unique<Side>(directory);
}

const bool known = enter("many/ours", make<RetrieveMany>) && enter("many/floor", make<OneByOne>)
    && enter("many/promise", make<AsPromised>) && enter("holdSix/floor", make<WatchedPromise>);

} // namespace
