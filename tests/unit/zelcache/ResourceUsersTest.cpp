#include "ResourceUsers.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QJsonObject>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 now = 1'700'000'000'000;
/// No system gives a process this number.
constexpr qint64 impossibleProcess = 4'999'999;

ResourceCacheReader::Snapshot snapshotWithUsers()
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.clients.append({ 1, 100, now - 30'000 });
    snapshot.clients.append({ 2, 200, now - 30'001 });
    snapshot.usages.append({ u"a"_s, 1, 100 });
    snapshot.usages.append({ u"a"_s, 1, 100 });
    snapshot.usages.append({ u"b"_s, 2, 200 }); // silent for too long
    snapshot.usages.append({ u"c"_s, 3, std::nullopt }); // gone
    return snapshot;
}

} // namespace

TEST(ResourceUsers, usersByReference_living_countOnce)
{
    const ResourceUsers users = usersByReference(snapshotWithUsers(), now);
    EXPECT_EQ(users.value(u"a"_s), QList<qint64> { 100 });
    EXPECT_EQ(users.size(), 1);
}

TEST(ResourceUsers, fetchersOf_tasks_nameTheFetchingOneFirst)
{
    ResourceCacheReader::Snapshot snapshot;
    snapshot.acquiringTasks.append({ u"a"_s, 1, 100, std::nullopt });
    snapshot.acquiringTasks.append({ u"a"_s, 2, 200, 0 });
    snapshot.acquiringTasks.append({ u"a"_s, 3, std::nullopt, std::nullopt });
    snapshot.acquiringTasks.append({ u"b"_s, 4, 400, 50 });
    EXPECT_EQ(fetchersOf(snapshot, u"a"_s), (QList<qint64> { 200, 100 }));
    EXPECT_TRUE(fetchersOf(snapshot, u"c"_s).isEmpty());
}

TEST(ResourceUsers, processesText_processes_areNamedWhereTheyCanBeSeen)
{
    const qint64 own = QCoreApplication::applicationPid();
    EXPECT_EQ(processesText({ own, impossibleProcess }),
              u"process %1 (ResourceUsersTe), process 4999999"_s.arg(own));
    EXPECT_EQ(processesText({}), QString());
}

TEST(ResourceUsers, processesJson_processes_haveNumberAndProgram)
{
    const QJsonArray processes
        = processesJson({ QCoreApplication::applicationPid(), impossibleProcess });
    ASSERT_EQ(processes.size(), 2);
    EXPECT_EQ(processes.at(0).toObject().value(u"program"_s).toString(), u"ResourceUsersTe"_s);
    EXPECT_EQ(processes.at(1).toObject().value(u"process"_s).toInteger(), impossibleProcess);
    EXPECT_TRUE(processes.at(1).toObject().value(u"program"_s).isNull());
}

} // namespace zel::cli
