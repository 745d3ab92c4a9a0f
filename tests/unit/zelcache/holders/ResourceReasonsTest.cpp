#include "holders/ResourceReasons.h"

#include "Printers.h"
#include "SchemesRegistration.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 now = 1'700'000'000'000;
using Verdict = ResourceReasons::Verdict;

ProcessSight sightOf(qint64)
{
    return { now - 3'600'000, u"viewer"_s, {} };
}

class ResourceReasonsTest : public testing::Test
{
protected:
    ResourceReasonsTest()
    {
        registerResourceSchemes();
        for (const QString &name : { u"share:/a"_s, u"share:/b"_s, u"lims:c"_s })
            add(name);
        snapshot.clients.append({ 1, 101, now - 1000 });
        snapshot.clients.append({ 2, 102, now - 31'000 });
    }

    void add(const QString &reference)
    {
        ResourceCacheReader::Resource made;
        made.reference = reference;
        made.path = u"/c"_s;
        made.size = 100;
        made.status = ResourceStatus::Ready;
        made.policy = ResourceCleanupPolicy::OnDemand;
        made.lastAccess = now - 60'000 + snapshot.resources.size();
        made.lastWriterClientId = 1;
        made.version = QVersionNumber(1, 0);
        snapshot.resources.append(made);
        snapshot.currentSize += made.size;
    }

    ResourceReasons reasonsFor(qsizetype index, qint64 optimal = 1000, bool isThere = true) const
    {
        return resourceReasons(snapshot, snapshot.resources.at(index), isThere, { optimal, 5000 },
                               now, sightOf);
    }
    Verdict verdict(qsizetype index, qint64 optimal = 1000, bool isThere = true) const
    {
        return reasonsFor(index, optimal, isThere).verdict;
    }
    QString line(qsizetype index, const QString &label, qint64 optimal = 1000) const
    {
        for (const QString &line : resourceReasonLines(reasonsFor(index, optimal))) {
            if (line.startsWith(label + u':'))
                return line.mid(label.size() + 1).trimmed();
        }
        return {};
    }

    ResourceCacheReader::Snapshot snapshot;
};

} // namespace

TEST_F(ResourceReasonsTest, ready_unusedWithinTheSizes_isKept)
{
    EXPECT_EQ(verdict(1), Verdict::Kept);
    EXPECT_EQ(line(1, u"Purge"_s), u"number 2 of 3 in line, behind 100 B"_s);
    EXPECT_EQ(line(1, u"Status"_s), u"Ready"_s);
    EXPECT_EQ(line(1, u"Policy"_s), u"OnDemand"_s);
    EXPECT_EQ(line(1, u"Written by"_s), u"process 101 (viewer), last ping 0:01 ago"_s);
}

TEST_F(ResourceReasonsTest, ready_aboveTheOptimum_onlyWhatAPurgeTakesIsNext)
{
    // 120 bytes are to go: 300 less nine tenths of 200.
    EXPECT_EQ(verdict(0, 200), Verdict::NextToGo);
    EXPECT_EQ(verdict(1, 200), Verdict::NextToGo);
    EXPECT_EQ(verdict(2, 200), Verdict::Kept);
}

TEST_F(ResourceReasonsTest, ready_ofTheSameAge_keepsTheOrderOfTheRows)
{
    for (auto &resource : snapshot.resources)
        resource.lastAccess = now - 60'000;
    EXPECT_EQ(line(0, u"Purge"_s), u"number 1 of 3 in line, behind 0 B"_s);
    EXPECT_EQ(line(2, u"Purge"_s), u"number 3 of 3 in line, behind 200 B"_s);
    EXPECT_EQ(verdict(1, 200), Verdict::NextToGo);
    EXPECT_EQ(verdict(2, 200), Verdict::Kept);
    // 100 bytes are to go, 280 less nine tenths of 200, and 100 are not yet more than that.
    snapshot.currentSize = 280;
    EXPECT_EQ(verdict(1, 200), Verdict::NextToGo);
    snapshot.currentSize = 279;
    EXPECT_EQ(verdict(1, 200), Verdict::Kept);
}

TEST_F(ResourceReasonsTest, ready_inUse_staysAndIsNotInLine)
{
    snapshot.usages.append({ u"share:/a"_s, 1, 101 });
    EXPECT_EQ(verdict(0, 200), Verdict::InUse);
    EXPECT_EQ(line(0, u"Purge"_s), u"not in line, since it is in use"_s);
    EXPECT_EQ(line(0, u"Program"_s), u"uses     process 101 (viewer), last ping 0:01 ago"_s);
}

TEST_F(ResourceReasonsTest, ready_userSilentForLong_isNotInUse)
{
    snapshot.usages.append({ u"share:/a"_s, 2, 102 });
    EXPECT_EQ(verdict(0), Verdict::Kept);
    EXPECT_EQ(reasonsFor(0).holders.size(), 1);
}

TEST_F(ResourceReasonsTest, ready_dataIsGone_isTold)
{
    EXPECT_EQ(verdict(0, 1000, false), Verdict::DataGone);
}

TEST_F(ResourceReasonsTest, missing_anyWay_inventsNoHistory)
{
    snapshot.resources[0].status = ResourceStatus::Missing;
    snapshot.resources[0].size = 0;
    snapshot.resources[0].path.clear();
    snapshot.resources[0].lastWriterClientId = 7;
    const ResourceReasons reasons = reasonsFor(0);
    EXPECT_EQ(reasons.verdict, Verdict::Missing);
    EXPECT_EQ(
        resourceReasonLines(reasons).first(),
        u"It is not here. Whether it ever was, and why it went, the cache does not record."_s);
    EXPECT_EQ(line(0, u"Written by"_s), u"a program that is gone"_s);
    EXPECT_EQ(line(0, u"Purge"_s), u"not in line, since nothing is here"_s);
    EXPECT_EQ(line(0, u"Size"_s), u"unknown"_s);
    EXPECT_TRUE(
        line(0, u"Status since"_s).endsWith(u"(1:00 ago); what was before is not recorded"_s));
    snapshot.resources[0].policy = ResourceCleanupPolicy::OnClose;
    EXPECT_TRUE(resourceReasonLines(reasonsFor(0)).first().contains(u"the end of its last use"_s));
}

TEST_F(ResourceReasonsTest, onItsWay_whoeverIsKnown_decides)
{
    snapshot.resources[0].status = ResourceStatus::Acquiring;
    EXPECT_EQ(verdict(0), Verdict::Abandoned);
    snapshot.acquiringTasks.append({ u"share:/a"_s, 1, 101, std::nullopt });
    EXPECT_EQ(verdict(0), Verdict::Waiting);
    snapshot.acquiringTasks.append({ u"share:/a"_s, 2, 102, 50 });
    EXPECT_EQ(verdict(0), Verdict::FetcherGone);
    snapshot.clients[1].lastPing = now;
    EXPECT_EQ(verdict(0), Verdict::Fetched);
}

TEST_F(ResourceReasonsTest, fetched_byADeadProgramThatStillCounts_standsStill)
{
    snapshot.resources[0].status = ResourceStatus::Acquiring;
    snapshot.acquiringTasks.append({ u"share:/a"_s, 1, 101, 50 });
    EXPECT_EQ(resourceReasonLines(reasonsFor(0)).first(), u"It is being fetched."_s);
    const auto nobody = [](qint64) {
        return ProcessSight();
    };
    const ResourceReasons reasons
        = resourceReasons(snapshot, snapshot.resources.at(0), true, { 1000, 5000 }, now, nobody);
    EXPECT_EQ(reasons.verdict, Verdict::Fetched);
    EXPECT_TRUE(
        resourceReasonLines(reasons).first().startsWith(u"Its fetch stands still: the program"_s));
}

TEST_F(ResourceReasonsTest, version_declaredByTheReference_tellsWhetherItIsOutdated)
{
    EXPECT_FALSE(reasonsFor(0).isOutdated());
    EXPECT_TRUE(line(0, u"Version"_s).endsWith(u"not outdated"_s));
    snapshot.resources[1].version = QVersionNumber(0, 9);
    EXPECT_TRUE(reasonsFor(1).isOutdated());
    EXPECT_EQ(line(1, u"Version"_s), u"0.9, outdated: the reference declares 1.0"_s);
    EXPECT_TRUE(line(2, u"Version"_s).contains(u"unknown"_s));
    const QJsonObject json = resourceReasonsJson(reasonsFor(2));
    EXPECT_TRUE(json.value(u"outdated"_s).isNull());
    EXPECT_TRUE(json.value(u"declaredVersion"_s).isNull());
}

TEST_F(ResourceReasonsTest, version_withoutACopy_isNoneAndNotOutdated)
{
    snapshot.resources[0].status = ResourceStatus::Acquiring;
    snapshot.resources[0].version = QVersionNumber();
    snapshot.resources[0].path.clear();
    snapshot.resources[1].status = ResourceStatus::Missing; // but keeps the version that it had
    snapshot.resources[2].status = ResourceStatus::Missing;
    for (const qsizetype index : { 0, 1, 2 }) {
        EXPECT_EQ(line(index, u"Version"_s), u"none"_s);
        const QJsonObject json = resourceReasonsJson(reasonsFor(index));
        EXPECT_EQ(json.value(u"outdated"_s), QJsonValue(false));
        EXPECT_TRUE(json.value(u"version"_s).isNull());
    }
    const QJsonObject gone = resourceReasonsJson(reasonsFor(0, 1000, false));
    EXPECT_EQ(gone.value(u"outdated"_s), QJsonValue(false));
}

TEST_F(ResourceReasonsTest, json_ready_hasPlaceAndHolders)
{
    snapshot.usages.append({ u"share:/b"_s, 1, 101 });
    const QJsonObject json = resourceReasonsJson(reasonsFor(2));
    EXPECT_EQ(json.value(u"verdict"_s).toString(), u"kept"_s);
    const QJsonObject place = json.value(u"purgePlace"_s).toObject();
    EXPECT_EQ(place.value(u"number"_s).toInt(), 2);
    EXPECT_EQ(place.value(u"of"_s).toInt(), 2);
    EXPECT_EQ(place.value(u"bytesBefore"_s).toInt(), 100);
    EXPECT_TRUE(resourceReasonsJson(reasonsFor(1)).value(u"purgePlace"_s).isNull());
}

} // namespace zel::cli
