#pragma once

#include "CacheDatabase.h"
#include "Player.h"
#include "TemporaryCache.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace zel::test {

/// Eight programs on two caches do whatever there is to do, at random, are killed, stopped and made
/// to look silent, while a model knows what each of them holds and looks after it at each step.
///
/// The commands follow from the seed alone; how they meet in time does not.
class Torture
{
public:
    explicit Torture(std::uint32_t seed);
    ~Torture();

    /// Goes on for so long, or until something is wrong.
    void run(std::chrono::milliseconds duration);
    /// Lets everybody end and looks at what is left.
    void end();

    struct Figures
    {
        qint64 operations = 0;
        qint64 fetches = 0; ///< begun
        qint64 kills = 0;
        qint64 stops = 0;
        qint64 overlaps = 0; ///< commands given while others had not been answered
        qint64 cuts = 0; ///< kills and stops amid a command that was not a fetch
        qint64 clockSteps = 0;
        qint64 moves = 0;
        qint64 takeOvers = 0; ///< fetches begun after that of a program that was gone
        qint64 ghosts = 0; ///< programs that were taken for dead, and live
        qint64 looks = 0; ///< times that held data was compared
        qint64 violations = 0;
    };
    const Figures &figures() const { return counted; }

private:
    using Operation = void (Torture::*)(Player &, const QString &, std::uint32_t);
    struct Choice
    {
        int weight = 0;
        Operation operation = nullptr;
    };
    /// The begin or the end of a fetch, as a program has told it.
    struct Event
    {
        qint64 time = 0;
        bool isBegin = false;
        int player = 0;
        int opening = 0;
        QString path;
    };

    // What there is to do: TortureOperations.cpp
    static QStringList sharedNames();
    static const std::vector<Choice> &choices();
    void operate();
    /// Gives a command, and waits for its answer or not, or kills or stops who works at it.
    void order(Player &player, Errand errand);
    void strike(Player &player);
    void fetch(Player &player, const QString &name, std::uint32_t parameter);
    void use(Player &player, const QString &name, std::uint32_t parameter);
    void release(Player &player, const QString &name, std::uint32_t parameter);
    void cancel(Player &player, const QString &name, std::uint32_t parameter);
    void resize(Player &player, const QString &name, std::uint32_t parameter);
    void purge(Player &player, const QString &name, std::uint32_t parameter);
    void purgeOutdated(Player &player, const QString &name, std::uint32_t parameter);
    void recount(Player &player, const QString &name, std::uint32_t parameter);
    void recountOne(Player &player, const QString &name, std::uint32_t parameter);
    void rebuild(Player &player, const QString &name, std::uint32_t parameter);
    void changePolicy(Player &player, const QString &name, std::uint32_t parameter);
    void restrict(Player &player, const QString &name, std::uint32_t parameter);
    void reopen(Player &player, const QString &name, std::uint32_t parameter);
    void close(Player &player, const QString &name, std::uint32_t parameter);
    void move(Player &player, const QString &name, std::uint32_t parameter);
    void kill(Player &player, const QString &name, std::uint32_t parameter);
    void stop(Player &player, const QString &name, std::uint32_t parameter);
    void silence(Player &player, const QString &name, std::uint32_t parameter);
    void stepClock(Player &player, const QString &name, std::uint32_t parameter);

    // Programs: Torture.cpp
    void start(Player &player, int base, int version);
    void open(Player &player);
    void opened(Player &player);
    /// What it held and fetches counts no more.
    void leave(Player &player);
    void goOn(Player &player);
    void goOnAll();
    /// Sets back when these clients have last been heard of.
    void age(int base, const QString &clients, const QList<QVariant> &values, qint64 milliseconds);
    /// By more than a client may be silent.
    void ageProcess(Player &player);
    int send(Player &player, const QString &command);
    QString ask(Player &player, const QString &command);
    /// The same for what must succeed.
    void demand(Player &player, const QString &command);
    QString await(Player &player, int id);
    void awaitErrand(Player &player);
    void awaitUntil(Player &player, const std::function<bool()> &isDone);
    void read(Player &player);
    void readAll();
    void land(Player &player, int id, const QString &answer);
    void finishErrand(Player &player, const QString &answer);
    void note(const Player &player, const QString &line);

    // The model looks: TortureChecks.cpp
    void check();
    void checkHolds(Player &player);
    /// Whether somebody may just remove older copies of it, on purpose and whoever holds them.
    bool isPurged(int base, const QString &name) const;
    /// Counts on nothing any more that such a one removes.
    void forgetOutdated(const Player &purger);
    void forgetOutdated();
    /// Two that fetch one resource at a time must not both be alive.
    void checkFetches();
    void begin(const Event &event);
    bool isStillThere(const Event &event);
    void checkSums();
    void refresh(Player &player);
    QString rowOf(int base, const QString &name);
    bool isIntact(const QString &name, const Hold &hold);
    bool isFetchedLate(const QString &path);
    bool isReplaced(const QString &name, const Hold &hold);

    // At rest: TortureRest.cpp
    /// Lets all fetches end, and holds the caches against all that they promise.
    void settle();
    void letTheDeadGrowOld();
    void awaitFetches();
    /// The fetches of those that were taken for dead, and then died, are ended by the next one.
    void healAbandoned(int base);
    Player &someoneIn(int base);
    void checkCaches();
    void checkNothingIsLeft();

    void violation(const QString &text);
    QString states() const;

    QString shareDir() const { return bases.front()->outside(QStringLiteral("share")); }
    QString baseDir(int base) const { return bases[std::size_t(base)]->baseDir(); }
    CacheDatabase &database(int base) { return *databases[std::size_t(base)]; }

    const std::uint32_t seed;
    std::mt19937 engine;
    std::array<std::unique_ptr<TemporaryCache>, 2> bases;
    std::array<std::unique_ptr<CacheDatabase>, 2> databases;
    std::vector<Player> players;
    QList<Event> events;
    QMap<QString, QList<Event>> begun; ///< fetches that have not ended, by path
    QSet<QString> lateFetches; ///< paths of those that ended when nobody counted on them
    QHash<QString, QString> intact; ///< traces of what has been read as a whole, by path
    Figures counted;
    std::uint32_t manner = 0; ///< in which this step's command is given
    int step = 0;
    int lastId = 0;
    int lastOpening = 0;
};

} // namespace zel::test
