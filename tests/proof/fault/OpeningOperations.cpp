#include "CacheOperations.h"
#include "FailingStatement.h"

#include <QCoreApplication>
#include <QDateTime>

#include <chrono>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Exception = CacheInvariants::Exception;

namespace {

/// What makes a file a cache's, and that this process is registered in it.
QString lackOfOpening(CacheWorld &world)
{
    if (!world.cache->isOpen())
        return u"The cache is not open."_s;
    const QString parts = world.text(
        u"SELECT (SELECT COUNT(*) FROM sqlite_master WHERE type = 'trigger') || ' ' || "
        "(SELECT COUNT(*) FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%') "
        "|| ' ' || (SELECT COUNT(*) FROM CacheMetadata) || ' ' || "
        "(SELECT COUNT(*) FROM Clients WHERE processId = ?)"_s,
        { QCoreApplication::applicationPid() });
    const QString columns
        = world.text(u"SELECT COUNT(*) FROM pragma_table_info('CachedResources')"_s);
    return CacheWorld::difference(parts, u"5 5 1 1"_s) + CacheWorld::difference(columns, u"9"_s);
}

QString rowsLeftBy(const CacheWorld &world, qint64 processId)
{
    return world.text(u"SELECT (SELECT COUNT(*) FROM Clients WHERE processId = ?) || ' ' || "
                      "(SELECT COUNT(*) FROM ResourceUsages) || ' ' || "
                      "(SELECT COUNT(*) FROM AcquiringTasks)"_s,
                      { processId });
}

/// As a program does that could not get rid of its row: waits until that counts as left behind.
/// The next opening then removes it, and the one after that succeeds.
Error openAgain(CacheWorld &world)
{
    world.cache->close();
    Error error = world.open();
    for (int attempt = 0; error.hasError() && attempt < 2; ++attempt) {
        if (world.cache->retryOpenAfter()) {
            CacheDatabase rows = world.database();
            rows.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 11000 "
                     "WHERE processId = ?"_s,
                     { QCoreApplication::applicationPid() });
        }
        error = world.open();
    }
    return error;
}

Error closeAgain(CacheWorld &world)
{
    const Error error = openAgain(world);
    world.cache->close();
    return error;
}

Error open(CacheWorld &world)
{
    return world.open();
}

/// The first opening takes the dead client out, the second what it has used.
Error openTwice(CacheWorld &world)
{
    const Error error = world.open();
    return error.hasError() ? error : world.reopen();
}

Error openTwiceAgain(CacheWorld &world)
{
    const Error error = openAgain(world);
    return error.hasError() ? error : world.reopen();
}

constexpr auto untilOpened = "Rows of those that are gone go with the next opening.";

QList<FaultOperation> openings()
{
    return {
        { .name = "open of a new cache",
          .setUp = [](CacheWorld &world) { world.removeDatabase(); },
          .run = open,
          .missing = lackOfOpening,
          .repeat = openAgain,
          .exceptions = { Exception::NoDatabase },
          .whyExcepted = "The file comes into being by the opening." },
        { .name = "open after a client has died",
          .setUp =
              [](CacheWorld &world) {
                  world.addDeadClient();
                  world.cache->close();
              },
          .run = openTwice,
          .missing =
              [](CacheWorld &world) {
                  return lackOfOpening(world)
                      + CacheWorld::difference(rowsLeftBy(world, CacheWorld::deadProcess),
                                               u"0 1 1"_s)
                      + CacheWorld::difference(world.status(u"test:dead"_s), u"Missing"_s);
              },
          .repeat = openTwiceAgain,
          .exceptions = { Exception::RowsOfTheDead },
          .whyExcepted = untilOpened },
        { .name = "open of an older file",
          .setUp =
              [](CacheWorld &world) {
                  world.cache->close();
                  CacheDatabase rows = world.database();
                  rows.run(u"ALTER TABLE CachedResources DROP COLUMN version"_s);
                  rows.run(u"ALTER TABLE CacheMetadata DROP COLUMN lastScanTimestamp"_s);
              },
          .run = open,
          .missing = lackOfOpening,
          .repeat = openAgain,
          .exceptions = { Exception::OtherSizes },
          .whyExcepted = "Sizes are counted at the opening. A size has no failure: what cannot be "
                         "looked at counts as nothing until the next count." },
    };
}

QList<FaultOperation> closings()
{
    return {
        { .name = "close",
          .setUp =
              [](CacheWorld &world) {
                  world.use = world.cache->useResource(u"test:file"_s).value();
                  world.startFetch();
              },
          .run =
              [](CacheWorld &world) {
                  world.cache->close();
                  return Error();
              },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(
                      rowsLeftBy(world, QCoreApplication::applicationPid()), u"0 1 1"_s);
              },
          .repeat = closeAgain,
          .silence
          = "Closing is logged only: a row that stays is a dead client's, and goes as one.",
          .exceptions = { Exception::RowsOfTheDead },
          .whyExcepted = untilOpened },
    };
}

/// Beside a dead client, and with a row of this process that could not be removed when its handle
/// ended.
void prepareTurn(CacheWorld &world)
{
    world.addDeadClient();
    world.startFetch();
    {
        const FailingStatement failing(0);
        world.fetch.reset();
        EXPECT_TRUE(failing.hasFailed());
    }
    CacheDatabase rows = world.database();
    EXPECT_EQ(rows.count(u"AcquiringTasks"_s), 3);
    rows.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 20000 WHERE processId = ?"_s,
             { QCoreApplication::applicationPid() });
    world.findPing();
}

QString lackOfTurn(CacheWorld &world)
{
    const QString own = world.text(
        u"SELECT lastPingTime > ? FROM Clients WHERE processId = ?"_s,
        { QDateTime::currentMSecsSinceEpoch() - 15000, QCoreApplication::applicationPid() });
    return CacheWorld::difference(own, u"1"_s)
        + CacheWorld::difference(rowsLeftBy(world, CacheWorld::deadProcess), u"0 2 1"_s)
        + CacheWorld::difference(world.status(u"test:dead"_s), u"Missing"_s)
        + CacheWorld::difference(world.status(u"test:missing"_s), u"Missing"_s);
}

QList<FaultOperation> turns()
{
    return {
        { .name = "the ping's turn",
          .setUp = prepareTurn,
          .run =
              [](CacheWorld &world) {
                  world.ping();
                  return Error();
              },
          .missing = lackOfTurn,
          .silence = "A timer has nobody to report to; the next turn does what this one has not.",
          .leftUntilOpened = { Exception::RowsOfTheDead } },
    };
}

} // namespace

QList<FaultOperation> openingOperations()
{
    return openings() + closings() + turns();
}

} // namespace zel::test
