#include "removal/RemovalVerdict.h"

#include "Printers.h"
#include "TemporaryCache.h"

#include <QFile>
#include <QTemporaryDir>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

namespace {

/// No system gives a process this number.
constexpr qint64 someProcess = 4'999'999;

ResourceCacheReader::Snapshot snapshotWith(ResourceStatus status, ResourceCleanupPolicy policy)
{
    ResourceCacheReader::Resource resource;
    resource.reference = u"a"_s;
    resource.status = status;
    resource.policy = policy;
    ResourceCacheReader::Snapshot snapshot;
    snapshot.resources.append(resource);
    return snapshot;
}

QString reasonFor(ResourceStatus status, ResourceCleanupPolicy policy, bool force = false)
{
    const auto refusal = refusalOf(snapshotWith(status, policy), {}, {}, u"a"_s, force);
    return refusal ? refusal->reason : QString();
}

} // namespace

TEST(RemovalVerdictTest, refusalOf_readyAndUnused_isNone)
{
    EXPECT_EQ(reasonFor(ResourceStatus::Ready, ResourceCleanupPolicy::OnDemand), QString());
    EXPECT_EQ(reasonFor(ResourceStatus::Ready, ResourceCleanupPolicy::OnClose), QString());
}

TEST(RemovalVerdictTest, refusalOf_never_isOvercomeByForce)
{
    EXPECT_TRUE(
        reasonFor(ResourceStatus::Ready, ResourceCleanupPolicy::Never).contains(u"--force"_s));
    EXPECT_EQ(reasonFor(ResourceStatus::Ready, ResourceCleanupPolicy::Never, true), QString());
}

TEST(RemovalVerdictTest, refusalOf_policyThatIsNotKnown_isNotOvercome)
{
    for (const bool force : { false, true })
        EXPECT_TRUE(reasonFor(ResourceStatus::Ready, ResourceCleanupPolicy::Invalid, force)
                        .contains(u"policy"_s));
}

TEST(RemovalVerdictTest, refusalOf_everyOtherStatus_hasItsReason)
{
    const auto policy = ResourceCleanupPolicy::OnDemand;
    EXPECT_EQ(reasonFor(ResourceStatus::Missing, policy), u"Nothing is there to remove."_s);
    EXPECT_EQ(reasonFor(ResourceStatus::ScheduledForAcquire, policy), u"It is wanted."_s);
    EXPECT_EQ(reasonFor(ResourceStatus::Acquiring, policy, true), u"It is being fetched."_s);
}

TEST(RemovalVerdictTest, refusalOf_statusThatIsNotKnown_isOvercomeByForceUnlessSomebodyFetches)
{
    const auto policy = ResourceCleanupPolicy::OnDemand;
    EXPECT_TRUE(reasonFor(ResourceStatus::Invalid, policy).contains(u"status"_s));
    EXPECT_TRUE(reasonFor(ResourceStatus::Invalid, policy).contains(u"--force"_s));
    EXPECT_EQ(reasonFor(ResourceStatus::Invalid, policy, true), QString());
    auto snapshot = snapshotWith(ResourceStatus::Invalid, policy);
    snapshot.clients.append({ 1, someProcess, 0 });
    snapshot.acquiringTasks.append({ u"a"_s, 1, someProcess, 40 });
    const auto refusal = refusalOf(snapshot, {}, {}, u"a"_s, true);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->processes, UserProcesses { someProcess });
}

TEST(RemovalVerdictTest, refusalOf_pathWhoseRemovalTakesMore_isNotOvercome)
{
    QTemporaryDir directory;
    const QString data = directory.filePath(u"Cache"_s);
    const auto refusalAt = [&data](const QString &path) {
        auto snapshot = snapshotWith(ResourceStatus::Ready, ResourceCleanupPolicy::OnDemand);
        snapshot.resources.first().path = path;
        const auto refusal = refusalOf(snapshot, {}, DataPlaces(data), u"a"_s, true);
        return refusal ? refusal->reason : QString();
    };
    for (const QString &path :
         { data + u"/share/own/run.raw"_s, data + u"/run.raw"_s, data + u"/share/run.raw"_s,
           directory.filePath(u"elsewhere/run.raw"_s) }) {
        EXPECT_EQ(refusalAt(path), QString()) << "nothing is there to be taken";
        writeFile(path, "data");
    }
    EXPECT_EQ(refusalAt(data + u"/share/own/run.raw"_s), QString());
    EXPECT_TRUE(refusalAt(data + u"/run.raw"_s).contains(u"zelcache doctor"_s));
    EXPECT_TRUE(refusalAt(data + u"/share/../run.raw"_s).contains(u"all data"_s));
    EXPECT_TRUE(refusalAt(data + u"/share/run.raw"_s).contains(u"all data of the scheme"_s));
    EXPECT_TRUE(refusalAt(data + u"/share/own"_s).contains(u"all data of the scheme"_s));
    EXPECT_TRUE(refusalAt(directory.filePath(u"elsewhere/run.raw"_s)).contains(u"outside"_s));

    const QString link = directory.filePath(u"link"_s);
    ASSERT_TRUE(QFile::link(data, link));
    EXPECT_EQ(refusalAt(link + u"/share/own/run.raw"_s), QString());
    EXPECT_TRUE(refusalAt(link + u"/run.raw"_s).contains(u"all data"_s));
    EXPECT_TRUE(refusalAt(link + u"/share/run.raw"_s).contains(u"of the scheme"_s));
}

TEST(RemovalVerdictTest, refusalOf_unknownKey_isRefused)
{
    const auto refusal = refusalOf({}, {}, {}, u"a"_s, true);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->reason, u"The cache does not know it."_s);
}

TEST(RemovalVerdictTest, refusalOf_inUse_namesTheProcesses)
{
    const auto snapshot = snapshotWith(ResourceStatus::Ready, ResourceCleanupPolicy::Never);
    const auto refusal = refusalOf(snapshot, { { u"a"_s, { someProcess } } }, {}, u"a"_s, true);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->reason, u"It is in use by process 4999999."_s);
    EXPECT_EQ(refusal->processes, UserProcesses { someProcess });
}

TEST(RemovalVerdictTest, refusalOf_beingFetched_namesTheFetcherThoughItUsesItToo)
{
    auto snapshot = snapshotWith(ResourceStatus::Acquiring, ResourceCleanupPolicy::OnDemand);
    snapshot.clients.append({ 1, someProcess, 0 });
    snapshot.acquiringTasks.append({ u"a"_s, 1, someProcess, 40 });
    const auto refusal = refusalOf(snapshot, { { u"a"_s, { someProcess } } }, {}, u"a"_s, false);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->reason, u"It is being fetched by process 4999999."_s);
}

TEST(RemovalVerdictTest, refusalOf_whoWaits_isNoFetcher)
{
    auto snapshot = snapshotWith(ResourceStatus::Acquiring, ResourceCleanupPolicy::OnDemand);
    snapshot.clients = { { 1, someProcess, 0 }, { 2, someProcess - 1, 0 } };
    snapshot.acquiringTasks.append({ u"a"_s, 2, someProcess - 1, std::nullopt });
    EXPECT_EQ(refusalOf(snapshot, {}, {}, u"a"_s, false)->reason, u"It is being fetched."_s);
    snapshot.acquiringTasks.append({ u"a"_s, 1, someProcess, 40 });
    EXPECT_EQ(refusalOf(snapshot, {}, {}, u"a"_s, false)->reason,
              u"It is being fetched by process 4999999."_s);
    snapshot.resources[0].status = ResourceStatus::ScheduledForAcquire;
    EXPECT_EQ(refusalOf(snapshot, {}, {}, u"a"_s, false)->reason,
              u"It is wanted by process 4999998."_s);
}

} // namespace zel::cli
