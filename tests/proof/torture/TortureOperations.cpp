#include "Torture.h"

#include <algorithm>
#include <numeric>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::uint32_t ownNames = 20; ///< of the slow scheme
constexpr std::uint32_t allNames = 25; ///< the others are files that the library's scheme copies
/// More than a client may be silent.
constexpr qint64 tooLong = 31'000;

QString nameOf(std::uint32_t number)
{
    return (number < ownNames ? u"r%1"_s : u"s%1"_s).arg(number);
}

} // namespace

QStringList Torture::sharedNames()
{
    QStringList names;
    for (std::uint32_t number = ownNames; number < allNames; ++number)
        names.append(nameOf(number));
    return names;
}

const std::vector<Torture::Choice> &Torture::choices()
{
    static const std::vector<Choice> all {
        { 60, &Torture::fetch },        { 20, &Torture::use },         { 40, &Torture::release },
        { 4, &Torture::cancel },        { 5, &Torture::resize },       { 8, &Torture::purge },
        { 2, &Torture::purgeOutdated }, { 2, &Torture::recount },      { 4, &Torture::recountOne },
        { 2, &Torture::rebuild },       { 8, &Torture::changePolicy }, { 2, &Torture::restrict },
        { 4, &Torture::reopen },        { 2, &Torture::close },        { 4, &Torture::move },
        { 6, &Torture::kill },          { 4, &Torture::stop },         { 4, &Torture::silence },
        { 2, &Torture::stepClock },
    };
    return all;
}

/// Draws as many numbers whatever the state, so that a seed gives the same commands.
void Torture::operate()
{
    Player &player = players[engine() % players.size()];
    const QString name = nameOf(engine() % allNames);
    const std::uint32_t parameter = engine();
    const int weights
        = std::accumulate(choices().begin(), choices().end(), 0,
                          [](int sum, const Choice &choice) { return sum + choice.weight; });
    int drawn = int(engine() % std::uint32_t(weights));
    auto choice = choices().begin();
    for (; drawn >= choice->weight; ++choice)
        drawn -= choice->weight;

    for (Player &stopped : players) {
        if (stopped.isStopped() && step >= stopped.stoppedUntil)
            goOn(stopped);
    }
    ++counted.operations;
    if (!player.process)
        start(player, int(parameter % 2), 1 + int(parameter / 2 % 2));
    else if (player.isStopped() && choice->operation != &Torture::kill)
        return;
    else if (!player.isOpen)
        open(player);
    else
        (this->*choice->operation)(player, name, parameter);
}

void Torture::fetch(Player &player, const QString &name, std::uint32_t parameter)
{
    const int milliseconds = parameter % 4 == 0 ? 0 : int(parameter / 4 % 400);
    const bool fails = parameter % 13 == 0;
    player.lastCommand = u"fetch "_s + name;
    player.flights.insert(lastId + 1, { name, player.opening, fails, player.isGhost });
    send(player,
         u"fetch %1 %2 %3 %4"_s.arg(name, QString::number(milliseconds),
                                    QString::number(int(fails)), QString::number(player.opening)));
}

void Torture::use(Player &player, const QString &name, std::uint32_t)
{
    // It looks at the data that is there, and holds it like one that has fetched it.
    const QString answer = ask(player, u"use "_s + name);
    refresh(player);
    const QString what = answer.section(u' ', 0, 0);
    if (what == u"torn"_s || what == u"error"_s)
        violation(u"player %1 uses %2: %3"_s.arg(player.number).arg(name, answer));
    if (what == u"whole"_s && player.isRegistered())
        player.holds.insert(name, { answer.section(u' ', 1, 1).toInt(), answer.section(u' ', 2) });
}

void Torture::release(Player &player, const QString &name, std::uint32_t)
{
    player.holds.remove(name);
    demand(player, u"release "_s + name);
    player.holds.remove(name); // a fetch may have ended just before
}

void Torture::cancel(Player &player, const QString &name, std::uint32_t)
{
    for (Flight &flight : player.flights) {
        if (flight.name == name)
            flight.mayFail = true;
    }
    demand(player, u"cancel "_s + name);
}

void Torture::resize(Player &player, const QString &, std::uint32_t parameter)
{
    const int optimal = int(parameter % 1'500'000);
    demand(player, u"sizes %1 %2"_s.arg(optimal).arg(optimal + int(parameter / 7 % 500'000)));
}

void Torture::purge(Player &player, const QString &, std::uint32_t parameter)
{
    demand(player, u"purge %1"_s.arg(parameter % 2'000'000));
}

void Torture::purgeOutdated(Player &player, const QString &, std::uint32_t)
{
    // It removes older copies whoever uses them, on purpose. What was fetched late may be newer
    // than its row says.
    const QStringList outdated = database(player.base)
                                     .column(u"SELECT cachedPath FROM CachedResources "
                                             "WHERE CAST(version AS INTEGER) < ?"_s,
                                             { player.version });
    for (Player &other : players) {
        if (other.base != player.base)
            continue;
        other.holds.removeIf([&](const auto &hold) {
            const Hold &held = hold.value();
            return held.version < player.version || outdated.contains(held.path)
                || isFetchedLate(held.path);
        });
        for (Flight &flight : other.flights)
            flight.isVoid = flight.isVoid || player.version > 1;
    }
    demand(player, u"outdated"_s);
}

void Torture::recount(Player &player, const QString &, std::uint32_t)
{
    demand(player, u"recount"_s);
}

void Torture::recountOne(Player &player, const QString &name, std::uint32_t)
{
    ask(player, u"recountOne "_s + name); // fails for what is not here
}

void Torture::rebuild(Player &player, const QString &, std::uint32_t)
{
    demand(player, u"rebuild"_s);
}

void Torture::changePolicy(Player &player, const QString &name, std::uint32_t parameter)
{
    ask(player, u"policy %1 %2"_s.arg(name).arg(1 + parameter % 3)); // fails for what is unknown
}

void Torture::restrict(Player &player, const QString &, std::uint32_t parameter)
{
    demand(player, u"restrict %1"_s.arg(parameter % 4));
}

void Torture::reopen(Player &player, const QString &, std::uint32_t)
{
    leave(player);
    open(player);
}

void Torture::close(Player &player, const QString &, std::uint32_t)
{
    leave(player);
    demand(player, u"close"_s);
}

void Torture::move(Player &player, const QString &, std::uint32_t)
{
    ++counted.moves;
    leave(player);
    player.base = 1 - player.base;
    demand(player, u"move "_s + baseDir(player.base));
    opened(player);
}

void Torture::kill(Player &player, const QString &, std::uint32_t parameter)
{
    ++counted.kills;
    const qint64 processId = player.process->pid();
    player.process->kill();
    read(player); // what it had said before it died was true
    leave(player);
    player.flights.clear();
    player.stoppedUntil = -1;
    player.process.reset();
    player.lastCommand = u"(killed)"_s;
    // As if it had died half a minute ago; otherwise the others wait for that.
    if (parameter % 4 != 0)
        age(player.base, u"processId = ?"_s, { processId }, tooLong);
}

void Torture::stop(Player &player, const QString &, std::uint32_t parameter)
{
    ++counted.stops;
    player.isSuspect = true;
    player.process->stop();
    player.stoppedUntil = step + 5 + int(parameter % 40);
    if (parameter % 2 != 0)
        age(player.base, u"id = ?"_s, { player.clientId }, tooLong);
}

void Torture::silence(Player &player, const QString &, std::uint32_t)
{
    player.isSuspect = true;
    age(player.base, u"id = ?"_s, { player.clientId }, tooLong);
}

void Torture::stepClock(Player &player, const QString &, std::uint32_t parameter)
{
    ++counted.clockSteps;
    const bool isForward = parameter % 2 == 0;
    for (Player &other : players)
        other.isSuspect = other.isSuspect || (isForward && other.base == player.base);
    age(player.base, u"TRUE"_s, {}, isForward ? tooLong : -tooLong);
}

} // namespace zel::test
