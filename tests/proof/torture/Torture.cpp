#include "Torture.h"

#include "NamedContent.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QThread>

#include <utility>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int playerCount = 8;
constexpr int stepsBetweenRests = 250;
/// Nothing here takes so long, but for what waits for a program that stands still with the lock.
constexpr auto patience = 1s;
constexpr auto limit = 60s;

} // namespace

Torture::Torture(std::uint32_t seed)
    : seed(seed)
    , engine(seed)
    , players(playerCount)
{
    for (std::size_t base = 0; base < bases.size(); ++base)
        bases[base] = std::make_unique<TemporaryCache>();
    for (const QString &name : sharedNames()) {
        for (const QString &file : isFolderName(name) ? filesOf(name) : QStringList(name))
            writeFile(shareDir() + u'/' + file, contentOf(file, 1));
    }
    for (int number = 0; number < playerCount; ++number) {
        players[std::size_t(number)].number = number;
        start(players[std::size_t(number)], number % int(bases.size()), 1);
        // The first one in each has made the file.
        auto &look = databases[std::size_t(number) % bases.size()];
        if (!look)
            look = std::make_unique<CacheDatabase>(
                bases[std::size_t(number) % bases.size()]->databasePath());
    }
    for (Player &player : players)
        opened(player);
}

Torture::~Torture() = default;

void Torture::run(std::chrono::milliseconds duration)
{
    const QDeadlineTimer deadline(duration);
    while (!deadline.hasExpired() && !testing::Test::HasFailure()) {
        ++step;
        operate();
        check();
        if (step % stepsBetweenRests == 0)
            settle();
    }
}

void Torture::end()
{
    if (testing::Test::HasFailure())
        return; // what is left then says nothing new
    settle();
    for (Player &player : players) {
        if (!player.process)
            continue;
        demand(player, u"quit"_s);
        if (const int code = player.process->end(); code != 0)
            violation(u"player %1 ended with %2"_s.arg(player.number).arg(code));
        leave(player);
        player.process.reset();
    }
    checkNothingIsLeft();
}

// ---- Programs

void Torture::start(Player &player, int base, int version)
{
    player.process = std::make_unique<ActorProcess>(
        QStringLiteral(ZEL_TORTURE_ACTOR),
        QStringList { QString::number(version), baseDir(base), shareDir() },
        ActorProcess::Environment { { u"QT_LOGGING_RULES"_s, u"*=false"_s } });
    player.base = base;
    player.version = version;
    player.lastCommand = u"(start)"_s;
    player.stoppedUntil = -1;
    player.startedOpening = lastOpening + 1;
    const QString answer = await(player, 0);
    if (answer != u"ready"_s)
        violation(u"player %1 could not open its cache: %2"_s.arg(player.number).arg(answer));
    if (databases[std::size_t(base)])
        opened(player);
}

void Torture::opened(Player &player)
{
    leave(player);
    player.isOpen = true;
    player.clientId
        = database(player.base)
              .value(u"SELECT id FROM Clients WHERE processId = ?"_s, { player.process->pid() })
              .toLongLong();
}

void Torture::leave(Player &player)
{
    player.isOpen = false;
    player.isSuspect = false;
    player.isGhost = false;
    player.opening = ++lastOpening;
    player.holds.clear();
    for (Flight &flight : player.flights)
        flight.isVoid = true;
}

void Torture::open(Player &player)
{
    order(player, { .command = u"open"_s, .kind = Errand::Kind::Opening });
}

void Torture::goOn(Player &player)
{
    if (!player.isStopped())
        return;
    player.stoppedUntil = -1;
    player.process->cont();
}

void Torture::goOnAll()
{
    for (Player &player : players)
        goOn(player);
}

void Torture::age(int base, const QString &clients, const QList<QVariant> &values,
                  qint64 milliseconds)
{
    const QString sql
        = u"UPDATE Clients SET lastPingTime = lastPingTime - %1 WHERE %2"_s.arg(milliseconds)
              .arg(clients);
    if (database(base).tryRun(sql, values, patience))
        return;
    goOnAll(); // one of them stands still inside a transaction
    database(base).run(sql, values);
}

int Torture::send(Player &player, const QString &command)
{
    player.lastCommand = command;
    player.process->send(u"%1 %2"_s.arg(++lastId).arg(command));
    return lastId;
}

QString Torture::ask(Player &player, const QString &command)
{
    return await(player, send(player, command));
}

void Torture::demand(Player &player, const QString &command)
{
    const QString answer = ask(player, command);
    if (answer != u"ok"_s)
        violation(u"player %1 could not %2: %3"_s.arg(player.number).arg(command, answer));
}

QString Torture::await(Player &player, int id)
{
    awaitUntil(player, [&] { return player.answers.contains(id); });
    return player.answers.take(id);
}

void Torture::awaitErrand(Player &player)
{
    awaitUntil(player, [&] { return !player.errand; });
}

void Torture::awaitUntil(Player &player, const std::function<bool()> &isDone)
{
    const QDeadlineTimer impatient(patience);
    const QDeadlineTimer deadline(limit);
    while (!isDone() && !deadline.hasExpired()) {
        readAll();
        // Who stands still may do so with the lock, and so stop everybody.
        if (impatient.hasExpired())
            goOnAll();
        if (!isDone())
            QThread::usleep(200);
    }
    if (!isDone())
        violation(u"player %1 hangs"_s.arg(player.number));
}

void Torture::readAll()
{
    for (Player &player : players)
        read(player);
}

void Torture::read(Player &player)
{
    while (player.process) {
        const QString line = player.process->takeLine();
        if (line.isNull())
            return;
        if (line.startsWith(u"! "_s))
            note(player, line);
        else if (const int id = line.section(u' ', 0, 0).toInt(); player.flights.contains(id))
            land(player, id, line.section(u' ', 1));
        else if (player.errand && player.errand->id == id)
            finishErrand(player, line.section(u' ', 1));
        else
            player.answers.insert(id, id > 0 ? line.section(u' ', 1) : line);
    }
}

void Torture::land(Player &player, int id, const QString &answer)
{
    const Flight flight = player.flights.take(id);
    const QString what = answer.section(u' ', 0, 0);
    const auto told = [&] {
        return u"player %1 fetched %2: %3"_s.arg(player.number).arg(flight.name, answer);
    };
    // Part of a resource is never right, whatever has happened.
    if (what == u"torn"_s)
        violation(told());
    if (flight.isVoid)
        return;
    if (what == u"whole"_s) {
        const Hold hold { answer.section(u' ', 1, 1).toInt(), answer.section(u' ', 2) };
        const bool isLetGo
            = player.isOn(Errand::Kind::Release) && player.errand->name == flight.name;
        if (player.isRegistered() && !isLetGo)
            player.holds.insert(flight.name, hold);
        return;
    }
    refresh(player);
    if (!player.isGhost && !(what == u"error"_s && flight.mayFail))
        violation(told());
}

void Torture::finishErrand(Player &player, const QString &answer)
{
    const Errand errand = *std::exchange(player.errand, std::nullopt);
    if (answer != u"ok"_s && !errand.mayFail) {
        violation(u"player %1 could not %2: %3"_s.arg(player.number).arg(errand.command, answer));
    }
    if (errand.kind == Errand::Kind::Outdated)
        forgetOutdated(player);
    if (errand.kind != Errand::Kind::Opening)
        return;
    // It may have been stopped, or the clock may have been set, since it was registered.
    const bool wasSuspect = player.isSuspect;
    opened(player);
    player.isSuspect = wasSuspect;
}

void Torture::note(const Player &player, const QString &line)
{
    events.append({ line.section(u' ', 2, 2).toLongLong(), line.section(u' ', 1, 1) == u"start"_s,
                    player.number, line.section(u' ', 3, 3).toInt(), line.section(u' ', 4) });
}

} // namespace zel::test
