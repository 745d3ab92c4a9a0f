#include "CacheWork.h"

#include "Disk.h"
#include "FilledCache.h"
#include "OpenCache.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QUuid>

#include <optional>

namespace zel::bench {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int resources = 500;
constexpr int millisecondsTogether = 500;

class Ours : public Contestant
{
public:
    Ours(const QString &directory, CacheWork work, int operations = 0)
        : directory(directory)
        , references(fillCache(directory + u"/cache"_s, resources))
        , cache(openCache(directory + u"/cache"_s))
        , work(std::move(work))
        , operations(operations)
    {
    }

    /// The journal begins anew, as that of the floor does: else the syncs of copying it back would
    /// meet the one more often than the other.
    void prepare() override
    {
        emptyJournal(databaseOf(directory + u"/cache"_s));
        settle(directory);
    }

    int run() override
    {
        for (int i = 0; i < operations; ++i)
            work(*cache, references, next++);
        return operations;
    }

protected:
    const QString directory;
    const QStringList references;
    const std::shared_ptr<ResourceCache> cache;
    const CacheWork work;

private:
    const int operations;
    int next = 0;
};

/// Goes on until the time is over.
int runForAWhile(const std::function<void(int number)> &operation)
{
    QElapsedTimer timer;
    timer.start();
    int done = 0;
    while (timer.elapsed() < millisecondsTogether)
        operation(done++);
    return done;
}

class OursTogether : public Ours
{
public:
    using Ours::Ours;

    int run() override
    {
        return runForAWhile([this](int number) { work(*cache, references, number); });
    }
};

/// What the library does in an empty directory, one script an operation.
std::vector<Script> recordEach(const QString &directory, const CacheWork &work, int operations)
{
    const QStringList references = fillCache(directory, resources);
    const auto cache = openCache(directory);
    std::vector<Script> scripts;
    for (int i = 0; i < operations; ++i)
        scripts.push_back(record([&] { work(*cache, references, i); }));
    return scripts;
}

/// Another one beside it: what is recorded must not change what is played on.
QString scratch(const QString &directory)
{
    return directory + u"/recorded-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

class Floor : public Contestant
{
public:
    Floor(const QString &directory, const CacheWork &work, int operations,
          Replay::Settings settings)
        : directory(directory)
        , settings(settings)
        , scripts(recordEach(scratch(directory), work, operations))
    {
        fillCache(directory + u"/filled"_s, resources);
    }

    void prepare() override
    {
        replay.reset();
        const QString place = directory + u"/played"_s;
        QDir(place).removeRecursively();
        QDir().mkpath(place);
        QFile::copy(databaseOf(directory + u"/filled"_s), databaseOf(place));
        replay.emplace(databaseOf(place), settings);
        settle(directory);
    }

    int run() override
    {
        for (const Script &script : scripts)
            replay->play(script);
        return int(scripts.size());
    }

private:
    const QString directory;
    const Replay::Settings settings;
    const std::vector<Script> scripts;
    std::optional<Replay> replay;
};

class FloorTogether : public Contestant
{
public:
    FloorTogether(const QString &directory, const CacheWork &work)
        : scripts(recordEach(scratch(directory), work, resources))
    {
        fillCache(directory + u"/filled"_s, resources);
        replay.emplace(databaseOf(directory + u"/filled"_s), Replay::Settings::AsOurs);
    }

    int run() override
    {
        return runForAWhile(
            [this](int number) { replay->play(scripts[size_t(number) % scripts.size()]); });
    }

private:
    const std::vector<Script> scripts;
    std::optional<Replay> replay;
};

} // namespace

MakeContestant CacheSides::ours(const CacheWork &work, int operations)
{
    return [work, operations](const QString &directory) {
        return std::make_unique<Ours>(directory, work, operations);
    };
}

MakeContestant CacheSides::floor(const CacheWork &work, int operations, Replay::Settings settings)
{
    return [work, operations, settings](const QString &directory) {
        return std::make_unique<Floor>(directory, work, operations, settings);
    };
}

MakeContestant CacheSides::oursTogether(const CacheWork &work)
{
    return [work](const QString &directory) {
        return std::make_unique<OursTogether>(directory, work);
    };
}

MakeContestant CacheSides::floorTogether(const CacheWork &work)
{
    return [work](const QString &directory) {
        return std::make_unique<FloorTogether>(directory, work);
    };
}

} // namespace zel::bench
