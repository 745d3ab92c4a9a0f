#include "Torture.h"

#include <QThread>

#include <algorithm>
#include <array>
#include <numeric>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// How many names there are of each kind: those of the slow scheme, and the files, large files and
/// folders that the library's scheme copies.
struct Kind
{
    char letter;
    std::uint32_t count;
};
constexpr std::array<Kind, 4> kinds { { { 'r', 18 }, { 's', 3 }, { 'b', 3 }, { 'd', 4 } } };
constexpr std::uint32_t allNames = 28;
/// Of as many ways to give a command, in how many its answer is awaited, and it is struck.
constexpr std::uint32_t manners = 16;
constexpr std::uint32_t waits = 5;
constexpr std::uint32_t strikes = 2;
constexpr std::uint32_t longestDelay = 20'000; ///< microseconds
/// More than a client may be silent.
constexpr qint64 tooLong = 31'000;

QString nameOf(std::uint32_t number)
{
    auto kind = kinds.begin();
    for (; number >= kind->count; ++kind)
        number -= kind->count;
    return QLatin1Char(kind->letter) + QString::number(number);
}

} // namespace

QStringList Torture::sharedNames()
{
    QStringList names;
    for (std::uint32_t number = kinds.front().count; number < allNames; ++number)
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
    manner = engine();
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
    const bool isBlow = choice->operation == &Torture::kill
        || (choice->operation == &Torture::stop && !player.isStopped());
    if (!player.process)
        start(player, int(parameter % 2), 1 + int(parameter / 2 % 2));
    else if ((player.isStopped() || player.errand) && !isBlow)
        return;
    else if (!player.isOpen && !player.errand)
        open(player);
    else
        (this->*choice->operation)(player, name, parameter);
}

void Torture::order(Player &player, Errand errand)
{
    const bool isBeside = std::any_of(players.begin(), players.end(),
                                      [](const Player &other) { return other.errand.has_value(); });
    counted.overlaps += isBeside ? 1 : 0;
    errand.id = send(player, errand.command);
    player.errand = errand;
    if (manner % manners < waits)
        awaitErrand(player);
    else if (manner % manners >= manners - strikes)
        strike(player);
}

/// Most commands take a millisecond or two, some take long.
void Torture::strike(Player &player)
{
    const std::uint32_t drawn = manner / manners;
    QThread::usleep((drawn / 4 % longestDelay) >> (drawn % 4 * 2));
    if (manner % manners == manners - 1)
        kill(player, {}, drawn);
    else
        stop(player, {}, drawn);
}

void Torture::fetch(Player &player, const QString &name, std::uint32_t parameter)
{
    const int milliseconds = parameter % 4 == 0 ? 0 : int(parameter / 4 % 400);
    const bool fails = parameter % 13 == 0;
    player.lastCommand = u"fetch "_s + name;
    const bool isVoid = player.isGhost || isPurged(player.base, name);
    player.flights.insert(lastId + 1, { name, player.opening, fails, isVoid });
    send(player,
         u"fetch %1 %2 %3 %4"_s.arg(name, QString::number(milliseconds),
                                    QString::number(int(fails)), QString::number(player.opening)));
}

void Torture::use(Player &player, const QString &name, std::uint32_t)
{
    // It looks at the data that is there, and holds it like one that has fetched it.
    const bool isVoid = isPurged(player.base, name);
    const QString answer = ask(player, u"use "_s + name);
    refresh(player);
    const QString what = answer.section(u' ', 0, 0);
    const bool isLost = what == u"gone"_s && !isVoid && !player.isGhost;
    if (what == u"torn"_s || what == u"error"_s || isLost)
        violation(u"player %1 uses %2: %3"_s.arg(player.number).arg(name, answer));
    if (what == u"whole"_s && !isVoid && player.isRegistered())
        player.holds.insert(name, { answer.section(u' ', 1, 1).toInt(), answer.section(u' ', 2) });
}

void Torture::release(Player &player, const QString &name, std::uint32_t)
{
    player.holds.remove(name);
    order(player, { u"release "_s + name, Errand::Kind::Release, name });
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
    const int optimal = int(parameter % 15'000'000);
    const int maximum = optimal + int(parameter / 7 % 5'000'000);
    order(player, { .command = u"sizes %1 %2"_s.arg(optimal).arg(maximum) });
}

void Torture::purge(Player &player, const QString &, std::uint32_t parameter)
{
    order(player, { .command = u"purge %1"_s.arg(parameter % 20'000'000) });
}

void Torture::purgeOutdated(Player &player, const QString &, std::uint32_t)
{
    forgetOutdated(player);
    order(player, { .command = u"outdated"_s, .kind = Errand::Kind::Outdated });
}

void Torture::recount(Player &player, const QString &, std::uint32_t)
{
    order(player, { .command = u"recount"_s });
}

void Torture::recountOne(Player &player, const QString &name, std::uint32_t)
{
    // Fails for what is not here.
    order(player, { .command = u"recountOne "_s + name, .mayFail = true });
}

void Torture::rebuild(Player &player, const QString &, std::uint32_t)
{
    order(player, { .command = u"rebuild"_s });
}

void Torture::changePolicy(Player &player, const QString &name, std::uint32_t parameter)
{
    // Fails for what is unknown.
    const int policy = 1 + int(parameter % 3);
    order(player, { .command = u"policy %1 %2"_s.arg(name).arg(policy), .mayFail = true });
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
    order(player, { .command = u"close"_s });
}

void Torture::move(Player &player, const QString &, std::uint32_t)
{
    ++counted.moves;
    leave(player);
    player.base = 1 - player.base;
    order(player, { .command = u"move "_s + baseDir(player.base), .kind = Errand::Kind::Opening });
}

void Torture::kill(Player &player, const QString &, std::uint32_t parameter)
{
    ++counted.kills;
    player.process->kill();
    read(player); // what it had said before it died was true
    counted.cuts += player.errand ? 1 : 0;
    // As if it had died half a minute ago; otherwise the others wait for that.
    if (parameter % 4 != 0)
        ageProcess(player);
    leave(player);
    player.flights.clear();
    player.errand.reset();
    player.stoppedUntil = -1;
    player.process.reset();
    player.lastCommand = u"(killed)"_s;
}

void Torture::stop(Player &player, const QString &, std::uint32_t parameter)
{
    ++counted.stops;
    player.isSuspect = true;
    player.process->stop();
    player.stoppedUntil = step + 5 + int(parameter % 40);
    read(player);
    counted.cuts += player.errand ? 1 : 0;
    if (parameter % 2 != 0)
        ageProcess(player);
}

void Torture::silence(Player &player, const QString &, std::uint32_t)
{
    player.isSuspect = true;
    ageProcess(player);
}

void Torture::stepClock(Player &player, const QString &, std::uint32_t parameter)
{
    ++counted.clockSteps;
    const bool isForward = parameter % 2 == 0;
    for (Player &other : players) {
        const bool isMeant = other.base == player.base || other.isOn(Errand::Kind::Opening);
        other.isSuspect = other.isSuspect || (isForward && isMeant);
    }
    age(player.base, u"TRUE"_s, {}, isForward ? tooLong : -tooLong);
}

/// In whichever cache it is.
void Torture::ageProcess(Player &player)
{
    const bool isAnywhere = player.isOn(Errand::Kind::Opening);
    for (int base = 0; base < int(bases.size()); ++base) {
        if (base == player.base || isAnywhere)
            age(base, u"processId = ?"_s, { player.process->pid() }, tooLong);
    }
}

} // namespace zel::test
