#include "holders/Holders.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonObject>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 now = 1'700'000'000'000;
using Role = Holder::Role;

/// Processes 100 to 199 were started long ago, 200 to 299 just now; there are no others.
ProcessSight sightOf(qint64 processId)
{
    if (processId < 100 || processId >= 300)
        return {};
    return { processId < 200 ? now - 3'600'000 : now - 1000, u"viewer"_s, {} };
}

ResourceCacheReader::Snapshot snapshotWithClients()
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.clients.append({ 1, 101, now - 2000 });
    snapshot.clients.append({ 2, 102, now - 72'000 });
    snapshot.clients.append({ 3, 300, now - 5000 });
    snapshot.clients.append({ 4, 200, now - 10'000 });
    return snapshot;
}

Program programOf(qint64 clientId)
{
    return programOfClient(snapshotWithClients(), clientId, now, sightOf);
}

} // namespace

TEST(HoldersTest, programOfClient_processThatPings_isAlive)
{
    const Program program = programOf(1);
    EXPECT_EQ(program.liveness, Liveness::Alive);
    EXPECT_TRUE(program.counts);
    EXPECT_EQ(program.processId, 101);
    EXPECT_EQ(programText(program, now), u"process 101 (viewer), last ping 0:02 ago"_s);
}

TEST(HoldersTest, programOfClient_processThatDoesNotPing_isSilentAndHoldsNothing)
{
    const Program program = programOf(2);
    EXPECT_EQ(program.liveness, Liveness::Silent);
    EXPECT_FALSE(program.counts);
    EXPECT_EQ(programText(program, now),
              u"process 102 (viewer), silent for 1:12: it holds nothing any more"_s);
}

TEST(HoldersTest, programOfClient_noProcess_isDeadAndCountsUntilItWasSilentForLong)
{
    const Program program = programOf(3);
    EXPECT_EQ(program.liveness, Liveness::Dead);
    EXPECT_TRUE(program.counts);
    EXPECT_EQ(programText(program, now),
              u"process 300, dead or not to be seen from here, last ping 0:05 ago"_s);
}

TEST(HoldersTest, programOfClient_processStartedAfterTheLastPing_isAnotherOne)
{
    const Program program = programOf(4);
    EXPECT_EQ(program.liveness, Liveness::Reused);
    EXPECT_EQ(program.name, QString());
    EXPECT_EQ(programText(program, now),
              u"process 200, dead: the number belongs to another program now, "
              "last ping 0:10 ago"_s);
}

TEST(HoldersTest, programOfClient_noRow_isAProgramThatIsGone)
{
    const Program program = programOf(9);
    EXPECT_EQ(programText(program, now), u"a program that is gone"_s);
    const QJsonObject json = programJson(program);
    EXPECT_TRUE(json.value(u"process"_s).isNull());
    EXPECT_TRUE(json.value(u"lastPing"_s).isNull());
    EXPECT_EQ(json.value(u"state"_s).toString(), u"dead"_s);
}

TEST(HoldersTest, holdersOf_allRoles_fetcherFirstAndEachOnce)
{
    ResourceCacheReader::Snapshot snapshot = snapshotWithClients();
    snapshot.usages.append({ u"a"_s, 1, 101 });
    snapshot.usages.append({ u"b"_s, 2, 102 });
    snapshot.usages.append({ u"a"_s, 1, 101 });
    snapshot.usages.append({ u"a"_s, 9, std::nullopt });
    snapshot.acquiringTasks.append({ u"a"_s, 2, 102, std::nullopt });
    snapshot.acquiringTasks.append({ u"b"_s, 1, 101, 7 });
    snapshot.acquiringTasks.append({ u"a"_s, 1, 101, 42 });
    const QList<Holder> holders = holdersOf(snapshot, u"a"_s, now, sightOf);
    ASSERT_EQ(holders.size(), 4);
    EXPECT_EQ(holders.at(0).role, Role::Fetches);
    EXPECT_EQ(holders.at(0).percent, 42);
    EXPECT_EQ(holders.at(1).role, Role::Waits);
    EXPECT_EQ(holders.at(2).role, Role::Uses);
    EXPECT_EQ(holders.at(2).usages, 2);
    EXPECT_EQ(holderLines(holders, now),
              (QStringList { u"fetches  process 101 (viewer), last ping 0:02 ago, 42%"_s,
                             u"waits    process 102 (viewer), silent for 1:12: it holds nothing "
                             "any more"_s,
                             u"uses     process 101 (viewer), last ping 0:02 ago, 2 times"_s,
                             u"uses     a program that is gone"_s }));
    const QJsonObject user = holdersJson(holders).at(2).toObject();
    EXPECT_EQ(user.value(u"usages"_s).toInt(), 2);
    EXPECT_EQ(user.value(u"role"_s).toString(), u"uses"_s);
    EXPECT_EQ(user.value(u"state"_s).toString(), u"alive"_s);
    EXPECT_FALSE(user.contains(u"percent"_s));
}

} // namespace zel::cli
