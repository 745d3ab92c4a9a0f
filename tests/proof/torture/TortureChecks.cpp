#include "NamedContent.h"
#include "Torture.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <chrono>

#include <sys/stat.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Below the half minute after which a client counts as dead, with time to look.
constexpr std::chrono::milliseconds surelyAlive = 20s;
constexpr qint64 looksBetweenReadings = 20;

/// Tells whether anything was written to what is there, or something else stands there.
QString tracesOf(const QString &path)
{
    struct stat entry = {};
    if (::stat(QFile::encodeName(path), &entry) != 0)
        return u"none"_s;
    QString traces = u"%1 %2 %3.%4;"_s.arg(entry.st_ino)
                         .arg(entry.st_size)
                         .arg(entry.st_mtim.tv_sec)
                         .arg(entry.st_mtim.tv_nsec);
    if (!S_ISDIR(entry.st_mode))
        return traces;
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QString &name : QDir(path).entryList(all, QDir::Name))
        traces += name + u' ' + tracesOf(path + u'/' + name);
    return traces;
}

/// The others have one version, whoever fetches them.
bool isVersioned(const QString &name)
{
    return name.startsWith(u'r');
}

} // namespace

void Torture::check()
{
    for (Player &player : players) {
        if (player.process && player.isOpen)
            refresh(player);
    }
    checkFetches();
    forgetOutdated();
    for (Player &player : players)
        checkHolds(player);
    checkSums();
}

void Torture::checkFetches()
{
    // What was told before now is here behind the reading; what came before it was told before it.
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    readAll();
    std::sort(events.begin(), events.end(),
              [](const Event &left, const Event &right) { return left.time < right.time; });
    while (!events.isEmpty() && events.first().time < now.count()) {
        const Event event = events.takeFirst();
        if (event.isBegin) {
            begin(event);
            continue;
        }
        if (!isStillThere(event))
            lateFetches.insert(event.path);
        QList<Event> &open = begun[event.path];
        const auto own = std::find_if(open.begin(), open.end(), [&](const Event &other) {
            return other.player == event.player && other.opening == event.opening;
        });
        if (own != open.end())
            open.erase(own);
    }
}

void Torture::begin(const Event &event)
{
    ++counted.fetches;
    bool takesOver = false;
    for (const Event &other : std::as_const(begun[event.path])) {
        const bool isThere = isStillThere(other);
        takesOver = takesOver || !isThere;
        if (isThere && isStillThere(event))
            violation(u"players %1 and %2 fetch at the same time: %3"_s.arg(
                QString::number(other.player), QString::number(event.player), event.path));
    }
    counted.takeOvers += takesOver ? 1 : 0;
    begun[event.path].removeIf([this](const Event &other) {
        const Player &player = players[std::size_t(other.player)];
        return !player.process || player.startedOpening > other.opening;
    });
    begun[event.path].append(event);
}

/// Whether everybody could see that it fetches.
bool Torture::isStillThere(const Event &event)
{
    Player &player = players[std::size_t(event.player)];
    refresh(player);
    return player.isRegistered() && !player.isSuspect && player.opening == event.opening;
}

/// Whether the others still count it among the living.
void Torture::refresh(Player &player)
{
    if (!player.isRegistered())
        return;
    const QVariant ping
        = database(player.base)
              .value(u"SELECT lastPingTime FROM Clients WHERE id = ?"_s, { player.clientId });
    if (ping.isValid()) {
        const qint64 age = QDateTime::currentMSecsSinceEpoch() - ping.toLongLong();
        if (!player.isStopped() && age < surelyAlive.count())
            player.isSuspect = false;
        return;
    }
    if (!player.isSuspect)
        violation(u"player %1 was taken for dead without having been silent"_s.arg(player.number));
    ++counted.ghosts;
    leave(player);
    player.isOpen = true;
    player.isGhost = true;
}

void Torture::checkHolds(Player &player)
{
    const QMap<QString, Hold> holds = player.holds;
    for (auto hold = holds.begin(); hold != holds.end(); ++hold) {
        ++counted.looks;
        if (isIntact(hold.key(), hold.value()))
            continue;
        refresh(player);
        if (player.isGhost)
            return;
        if (isReplaced(hold.key(), hold.value())) {
            player.holds.remove(hold.key());
            continue;
        }
        forgetOutdated();
        if (!player.holds.contains(hold.key()))
            continue;
        violation(u"player %1 has lost what it holds: %2 version %3 at %4; the row says %5"_s.arg(
            QString::number(player.number), hold.key(), QString::number(hold->version), hold->path,
            rowOf(player.base, hold.key())));
        return;
    }
}

/// What the cache says of it and who uses it, for the report.
QString Torture::rowOf(int base, const QString &name)
{
    return database(base)
        .column(
            u"SELECT status || ' version ' || COALESCE(version, '-') || ' size ' || "
            "COALESCE(fileSize, '-') || ' policy ' || cleanupPolicy || ' by client ' || "
            "lastStatusUpdateClientId || ' used by ' || COALESCE((SELECT GROUP_CONCAT(clientId) "
            "FROM ResourceUsages WHERE resourceId = cr.id), '-') FROM CachedResources cr "
            "WHERE reference IN ('torture:' || ?, 'share:' || ?)"_s,
            { name, shareDir() + u'/' + name })
        .join(u' ');
}

bool Torture::isPurged(int base, const QString &name) const
{
    return isVersioned(name)
        && std::any_of(players.begin(), players.end(), [base](const Player &player) {
               return player.isOn(Errand::Kind::Outdated) && player.base == base
                   && player.version > 1;
           });
}

void Torture::forgetOutdated()
{
    readAll();
    for (const Player &player : players) {
        if (player.isOn(Errand::Kind::Outdated))
            forgetOutdated(player);
    }
}

void Torture::forgetOutdated(const Player &purger)
{
    // What was fetched late may be newer than its row says.
    const QStringList outdated = database(purger.base)
                                     .column(u"SELECT cachedPath FROM CachedResources "
                                             "WHERE CAST(version AS INTEGER) < ?"_s,
                                             { purger.version });
    for (Player &other : players) {
        if (other.base != purger.base)
            continue;
        other.holds.removeIf([&](const auto &hold) {
            const Hold &held = hold.value();
            return isVersioned(hold.key())
                && (held.version < purger.version || outdated.contains(held.path)
                    || isFetchedLate(held.path));
        });
        for (Flight &flight : other.flights)
            flight.isVoid = flight.isVoid || (purger.version > 1 && isVersioned(flight.name));
    }
}

/// What has been read, and is still the same to the file system, is read again now and then only.
bool Torture::isIntact(const QString &name, const Hold &hold)
{
    const QString traces = u"%1 %2"_s.arg(hold.version).arg(tracesOf(hold.path));
    if (intact.value(hold.path) == traces && counted.looks % looksBetweenReadings != 0)
        return true;
    const bool isWhole = versionAt(hold.path, name) == hold.version;
    intact.insert(hold.path, isWhole ? traces : QString());
    return isWhole;
}

bool Torture::isFetchedLate(const QString &path)
{
    const QList<Event> &fetches = begun[path];
    return lateFetches.contains(path)
        || std::any_of(fetches.begin(), fetches.end(),
                       [this](const Event &event) { return !isStillThere(event); });
}

/// A fetch goes on in a program that is taken for dead, and puts what it has made over what others
/// have: the same data, but for programs of another version.
bool Torture::isReplaced(const QString &name, const Hold &hold)
{
    return isFetchedLate(hold.path) && versionAt(hold.path, name) > 0;
}

void Torture::checkSums()
{
    for (int base = 0; base < int(bases.size()); ++base) {
        const QVariant difference = database(base).value(
            u"SELECT COALESCE(currentSize, 0) - (SELECT COALESCE(SUM(fileSize), 0) "
            "FROM CachedResources) FROM CacheMetadata"_s);
        if (difference.toLongLong() != 0)
            violation(
                u"the size of cache %1 is wrong by %2"_s.arg(base).arg(difference.toLongLong()));
    }
}

void Torture::violation(const QString &text)
{
    ++counted.violations;
    ADD_FAILURE() << qPrintable(text) << "\nat step " << step << ", ZEL_SEED=" << seed << '\n'
                  << qPrintable(states());
}

QString Torture::states() const
{
    QStringList lines;
    for (const Player &player : players) {
        QStringList flights;
        for (const Flight &flight : player.flights)
            flights.append(flight.name + (flight.isVoid ? u"*"_s : QString()));
        lines.append(u"player %1 (%2) cache %3 version %4 client %5%6%7%8%9"_s.arg(player.number)
                         .arg(player.process ? player.process->pid() : 0)
                         .arg(player.base)
                         .arg(player.version)
                         .arg(player.clientId)
                         .arg(player.isStopped() ? u" stopped"_s : QString(),
                              player.isSuspect ? u" suspect"_s : QString(),
                              player.isGhost ? u" ghost"_s : QString(),
                              player.isOpen ? QString() : u" closed"_s)
                     + u", last: %1%2, holds %3, fetches %4"_s.arg(
                         player.lastCommand, player.errand ? u" (unanswered)"_s : QString(),
                         QStringList(player.holds.keys()).join(u','), flights.join(u',')));
    }
    return lines.join(u'\n');
}

} // namespace zel::test
