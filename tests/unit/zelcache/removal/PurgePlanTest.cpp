#include "removal/PurgePlan.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <limits>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Snapshot = ResourceCacheReader::Snapshot;

void add(Snapshot &snapshot, const QString &reference, qint64 size, qint64 lastAccess)
{
    ResourceCacheReader::Resource made;
    made.reference = reference;
    made.hasPath = size > 0;
    made.size = size;
    made.status = size > 0 ? ResourceStatus::Ready : ResourceStatus::Missing;
    made.lastAccess = lastAccess;
    snapshot.resources.append(made);
    snapshot.currentSize += size;
}

/// 150 bytes: "old" 40, "middle" 50, "new" 60.
Snapshot filled()
{
    Snapshot snapshot;
    add(snapshot, u"new"_s, 60, 300);
    add(snapshot, u"old"_s, 40, 100);
    add(snapshot, u"gone"_s, 0, 50);
    add(snapshot, u"middle"_s, 50, 200);
    return snapshot;
}

QStringList namesOf(const ResourceRows &resources)
{
    QStringList names;
    for (const ResourceCacheReader::Resource &resource : resources)
        names.append(resource.reference);
    return names;
}

PurgePlan planTo(qint64 target, const Snapshot &snapshot, const ResourceUsers &users = {})
{
    return planPurge(snapshot, purgeLimits({ 1000, 2000 }, target), users);
}

} // namespace

TEST(PurgePlanTest, planPurge_aboveTheOptimum_freesMoreThanLeadsToNineTenthsOfIt)
{
    // 60 bytes are to go: 150 less nine tenths of 100.
    const PurgePlan plan = planPurge(filled(), purgeLimits({ 100, 200 }, {}), {});
    EXPECT_EQ(plan.goal, 90);
    EXPECT_EQ(namesOf(plan.resources), (QStringList { u"old"_s, u"middle"_s }));
}

TEST(PurgePlanTest, planPurge_atTheOptimum_removesNothing)
{
    const PurgePlan plan = planPurge(filled(), purgeLimits({ 150, 200 }, {}), {});
    EXPECT_EQ(plan.goal, 150);
    EXPECT_TRUE(plan.resources.isEmpty());
}

TEST(PurgePlanTest, planPurge_oddOptimum_cutsWhatIsToGoTowardsZero)
{
    // 150 less 99.9: 50 bytes, so that 50 are not yet more than that.
    Snapshot snapshot = filled();
    const PurgePlan plan = planPurge(snapshot, purgeLimits({ 111, 200 }, {}), {});
    EXPECT_EQ(plan.goal, 100);
    EXPECT_EQ(namesOf(plan.resources), (QStringList { u"old"_s, u"middle"_s }));
}

TEST(PurgePlanTest, planPurge_target_goesBelowOrStopsAtTheFirstThatIsEnough)
{
    EXPECT_EQ(namesOf(planTo(120, filled()).resources), QStringList { u"old"_s });
    EXPECT_EQ(namesOf(planTo(111, filled()).resources), QStringList { u"old"_s });
    // Freed must be more than 40.
    EXPECT_EQ(namesOf(planTo(110, filled()).resources), (QStringList { u"old"_s, u"middle"_s }));
    EXPECT_EQ(planTo(110, filled()).goal, 110);
}

TEST(PurgePlanTest, planPurge_targetZero_takesAllThatHasASize)
{
    const PurgePlan plan = planTo(0, filled());
    EXPECT_EQ(namesOf(plan.resources), (QStringList { u"old"_s, u"middle"_s, u"new"_s }));
    EXPECT_EQ(plan.goal, 0);
}

TEST(PurgePlanTest, planPurge_targetAtOrAboveTheSize_removesNothing)
{
    for (const qint64 target : { qint64(150), qint64(151), std::numeric_limits<qint64>::max() }) {
        EXPECT_TRUE(planTo(target, filled()).resources.isEmpty());
        EXPECT_EQ(planTo(target, filled()).goal, target);
    }
    Snapshot strange;
    strange.currentSize = -5;
    EXPECT_TRUE(planTo(std::numeric_limits<qint64>::max(), strange).resources.isEmpty());
}

TEST(PurgePlanTest, planPurge_inUse_isLeftAlone)
{
    const ResourceUsers users { { u"old"_s, { 12 } } };
    EXPECT_EQ(namesOf(planTo(120, filled(), users).resources), QStringList { u"middle"_s });
}

TEST(PurgePlanTest, planPurge_sameAge_keepsTheOrderOfTheRows)
{
    Snapshot snapshot;
    for (const QString &name : { u"c"_s, u"a"_s, u"b"_s })
        add(snapshot, name, 10, 100);
    EXPECT_EQ(namesOf(planTo(0, snapshot).resources), (QStringList { u"c"_s, u"a"_s, u"b"_s }));
}

TEST(PurgePlanTest, purgeLimits_target_keepsTheMaximum)
{
    const PurgeLimits limits = purgeLimits({ 100, 200 }, 30);
    EXPECT_EQ(limits.sizes.optimalSize, 0);
    EXPECT_EQ(limits.sizes.maximumSize, 200);
    EXPECT_EQ(limits.extraSize, -30);
    EXPECT_EQ(purgeLimits({ 100, 200 }, {}).sizes.optimalSize, 100);
    EXPECT_EQ(purgeLimits({ 100, 200 }, {}).extraSize, 0);
}

TEST(PurgePlanTest, planPurge_sizesBeyondAllNumbers_takesAllAndStaysANumber)
{
    constexpr qint64 huge = qint64(1) << 62;
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    Snapshot snapshot;
    add(snapshot, u"a"_s, huge, 1);
    snapshot.currentSize = 0;
    add(snapshot, u"b"_s, huge, 2);
    snapshot.currentSize = largest;
    const PurgePlan plan = planPurge(snapshot, { { 0, 0 }, largest }, {});
    EXPECT_EQ(namesOf(plan.resources), (QStringList { u"a"_s, u"b"_s }));
    EXPECT_EQ(sizeOfAll(plan.resources), largest);
    EXPECT_EQ(plan.goal, 0);
}

TEST(PurgePlanTest, removedBetween_states_areWhatLostItsDataInOrderOfAge)
{
    const Snapshot before = filled();
    Snapshot after;
    add(after, u"new"_s, 0, 999);
    add(after, u"old"_s, 0, 999);
    add(after, u"gone"_s, 0, 50);
    add(after, u"middle"_s, 50, 200);
    add(after, u"unheard"_s, 0, 50);
    const ResourceRows removed = removedBetween(before, after);
    EXPECT_EQ(namesOf(removed), (QStringList { u"old"_s, u"new"_s }));
    EXPECT_EQ(sizeOfAll(removed), 100);
    EXPECT_TRUE(removedBetween(before, before).isEmpty());
}

} // namespace zel::cli
