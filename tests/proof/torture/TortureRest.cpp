#include "CacheInvariants.h"
#include "NamedContent.h"
#include "Torture.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <chrono>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Exception = CacheInvariants::Exception;

/// What a waiter needs at most: half a minute and the next ping.
constexpr auto limitOfFetches = 90s;
/// Far more than all steps of the clock together.
constexpr qint64 longAgo = 1'000'000'000;

QString nameIn(const QString &reference)
{
    return reference.section(u':', 1).section(u'/', -1);
}

QString wrongContent(const QString &reference, const QString &path)
{
    return versionAt(path, nameIn(reference)) > 0 ? QString() : u"not all, or more"_s;
}

} // namespace

void Torture::settle()
{
    goOnAll();
    manner = 0; // everything is waited for
    for (Player &player : players)
        awaitErrand(player);
    letTheDeadGrowOld();

    awaitFetches();
    // Who was taken for dead comes back, and with it goes what only the dead have left.
    for (Player &player : players) {
        if (player.process)
            open(player);
    }
    for (int base = 0; base < int(bases.size()); ++base)
        healAbandoned(base);
    lateFetches.clear();
    check();
    checkCaches();
}

void Torture::awaitFetches()
{
    const QDeadlineTimer deadline(limitOfFetches);
    const auto isFlying = [](const Player &player) {
        return player.process && !player.flights.isEmpty();
    };
    while (std::any_of(players.begin(), players.end(), isFlying)) {
        if (deadline.hasExpired()) {
            violation(u"a fetch does not end"_s);
            return;
        }
        readAll();
        QThread::msleep(1);
    }
}

void Torture::healAbandoned(int base)
{
    const QStringList references = database(base).column(
        u"SELECT reference FROM CachedResources cr WHERE status = 'Acquiring' AND NOT EXISTS "
        "(SELECT 1 FROM AcquiringTasks at WHERE at.resourceId = cr.id)"_s);
    for (const QString &reference : references)
        fetch(someoneIn(base), nameIn(reference), 4);
    awaitFetches();
}

/// Where nobody is left, gone to the other cache or dead, somebody comes.
Player &Torture::someoneIn(int base)
{
    const auto inside = std::find_if(players.begin(), players.end(), [base](const Player &player) {
        return player.process && player.base == base;
    });
    if (inside != players.end())
        return *inside;
    Player &newcomer = players.front();
    if (newcomer.process)
        move(newcomer, {}, 0);
    else
        start(newcomer, base, 1);
    return newcomer;
}

void Torture::letTheDeadGrowOld()
{
    for (int base = 0; base < int(bases.size()); ++base) {
        const QStringList clients = database(base).column(u"SELECT processId FROM Clients"_s);
        for (const QString &processId : clients) {
            const bool lives
                = std::any_of(players.begin(), players.end(), [&](const Player &player) {
                      return player.process && player.process->pid() == processId.toLongLong();
                  });
            if (!lives)
                age(base, u"processId = ?"_s, { processId.toLongLong() }, longAgo);
        }
        // Any opening cleans up.
        ActorProcess cleaner(QStringLiteral(ZEL_TORTURE_ACTOR),
                             { u"1"_s, baseDir(base), shareDir() });
        EXPECT_EQ(cleaner.answer(), u"ready"_s);
        EXPECT_EQ(cleaner.ask(u"1 quit"_s), u"1 ok"_s);
        EXPECT_EQ(cleaner.end(), 0);
    }
}

void Torture::checkCaches()
{
    for (const auto &base : bases) {
        CacheInvariants invariants(base->databasePath(), base->dataDir());
        // A program that is killed in a purge leaves the row of data that is gone; the clean-up for
        // a dead one leaves wishes.
        invariants.except(Exception::LostData).except(Exception::WishWithoutTask);
        invariants.setContentCheck(wrongContent);
        for (const QString &text : invariants.violations())
            violation(text);
    }
}

void Torture::checkNothingIsLeft()
{
    letTheDeadGrowOld();
    checkCaches();
    for (int base = 0; base < int(bases.size()); ++base) {
        for (const char *table : { "Clients", "ResourceUsages", "AcquiringTasks" }) {
            if (const int rows = database(base).count(QString::fromLatin1(table)); rows != 0)
                violation(u"%1 rows of %2 are left in cache %3"_s.arg(rows)
                              .arg(QString::fromLatin1(table))
                              .arg(base));
        }
    }
}

} // namespace zel::test
