#include "holders/ResourceUsers.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonObject>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 now = 1'700'000'000'000;
/// All processes but 300 were started long ago.
ProcessSight sightOf(qint64 processId)
{
    return { processId == 300 ? now - 1000 : now - 3'600'000, u"viewer"_s, {} };
}

ResourceCacheReader::Snapshot snapshotWithUsers()
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.clients.append({ 1, 100, now - 30'000 });
    snapshot.clients.append({ 2, 200, now - 30'001 });
    snapshot.clients.append({ 4, 300, now - 20'000 });
    snapshot.usages.append({ u"a"_s, 1, 100 });
    snapshot.usages.append({ u"a"_s, 1, 100 });
    snapshot.usages.append({ u"b"_s, 2, 200 }); // silent for too long
    snapshot.usages.append({ u"c"_s, 3, std::nullopt }); // gone
    snapshot.usages.append({ u"d"_s, 4, 300 });
    return snapshot;
}

} // namespace

TEST(ResourceUsersTest, usersByReference_counting_areToldOnce)
{
    const ResourceUsers users = usersByReference(snapshotWithUsers(), now);
    EXPECT_EQ(users.value(u"a"_s), UserProcesses { 100 });
    EXPECT_EQ(users.value(u"d"_s), UserProcesses { 300 });
    EXPECT_EQ(users.size(), 2);
    EXPECT_EQ(processesText(users.value(u"a"_s)), u"process 100"_s);
}

TEST(ResourceUsersTest, usersByReference_numberReused_hasNotTheNameOfTheOtherProgram)
{
    const ResourceUsers users = usersByReference(snapshotWithUsers(), now, sightOf);
    EXPECT_EQ(processesText(users.value(u"a"_s)), u"process 100 (viewer)"_s);
    EXPECT_EQ(processesText(users.value(u"d"_s)), u"process 300"_s);
}

TEST(ResourceUsersTest, fetchersOf_tasks_areThoseThatFetchAndWaitersOfTheOthers)
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.clients
        = { { 1, 100, now }, { 2, 200, now }, { 4, 400, now }, { 5, 300, now - 5000 } };
    snapshot.acquiringTasks.append({ u"a"_s, 1, 100, std::nullopt });
    snapshot.acquiringTasks.append({ u"a"_s, 2, 200, 0 });
    snapshot.acquiringTasks.append({ u"a"_s, 3, std::nullopt, std::nullopt });
    snapshot.acquiringTasks.append({ u"b"_s, 4, 400, 50 });
    snapshot.acquiringTasks.append({ u"c"_s, 5, 300, 50 });
    EXPECT_EQ(fetchersOf(snapshot, u"a"_s), UserProcesses { 200 });
    EXPECT_EQ(waitersOf(snapshot, u"a"_s), UserProcesses { 100 });
    EXPECT_EQ(processesText(fetchersOf(snapshot, u"a"_s, sightOf)), u"process 200 (viewer)"_s);
    EXPECT_EQ(processesText(waitersOf(snapshot, u"a"_s, sightOf)), u"process 100 (viewer)"_s);
    EXPECT_EQ(processesText(fetchersOf(snapshot, u"c"_s, sightOf)), u"process 300"_s);
    EXPECT_TRUE(fetchersOf(snapshot, u"d"_s).isEmpty());
    EXPECT_TRUE(waitersOf(snapshot, u"c"_s).isEmpty());
}

TEST(ResourceUsersTest, processesText_none_isEmpty)
{
    EXPECT_EQ(processesText({}), QString());
}

TEST(ResourceUsersTest, processesJson_processes_haveNumberAndProgram)
{
    const QJsonArray processes = processesJson({ { 100, u"viewer"_s }, 200 });
    ASSERT_EQ(processes.size(), 2);
    EXPECT_EQ(processes.at(0).toObject().value(u"program"_s).toString(), u"viewer"_s);
    EXPECT_EQ(processes.at(1).toObject().value(u"process"_s).toInteger(), 200);
    EXPECT_TRUE(processes.at(1).toObject().value(u"program"_s).isNull());
}

} // namespace zel::cli
