#include "plan/FitPlan.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// "old" 400 bytes, "new" 300.
ResourceCacheReader::Snapshot filled()
{
    ResourceCacheReader::Snapshot snapshot;
    for (const auto &[reference, size] :
         { std::pair { u"old"_s, 400 }, std::pair { u"new"_s, 300 } }) {
        ResourceCacheReader::Resource made;
        made.reference = reference;
        made.size = size;
        made.status = ResourceStatus::Ready;
        made.lastAccess = snapshot.resources.size();
        snapshot.resources.append(made);
        snapshot.currentSize += size;
    }
    return snapshot;
}

FitPlan planFor(std::optional<qint64> size, const QStringList &wanted = {},
                std::optional<qint64> freeBytes = {})
{
    return fitPlan(filled(), { 800, 1000 }, { { u"a"_s, size, {} } }, wanted, freeBytes, 0);
}

} // namespace

TEST(FitPlan, fitPlan_enoughRoom_evictsNothing)
{
    const FitPlan plan = planFor(100);
    EXPECT_TRUE(plan.evicted.isEmpty());
    EXPECT_TRUE(plan.fits());
    EXPECT_EQ(fitPlanLines(plan),
              (QStringList { u"fetch       100 B  a"_s, u"1 resource to fetch, 100 B"_s,
                             u"Fits: 800 B afterwards, at most 1000 B"_s }));
}

TEST(FitPlan, fitPlan_aboveTheOptimum_evictsTheOldest)
{
    const FitPlan plan = planFor(300);
    ASSERT_EQ(plan.evicted.size(), 1);
    EXPECT_EQ(plan.evicted.at(0).reference, u"old"_s);
    EXPECT_EQ(plan.sizeAfterwards(), 600);
    EXPECT_TRUE(plan.fits());
}

TEST(FitPlan, fitPlan_wantedAndHere_stays)
{
    const FitPlan plan = planFor(300, { u"old"_s });
    ASSERT_EQ(plan.evicted.size(), 1);
    EXPECT_EQ(plan.evicted.at(0).reference, u"new"_s);
}

TEST(FitPlan, fitPlan_moreThanTheMaximum_doesNotFit)
{
    const FitPlan plan = planFor(1001);
    EXPECT_FALSE(plan.fits());
    EXPECT_EQ(fitPlanLines(plan).last(),
              u"Does not fit the cache: 1001 B afterwards, at most 1000 B"_s);
}

TEST(FitPlan, fitPlan_diskIsTooSmall_doesNotFitEvenAfterTheEviction)
{
    EXPECT_TRUE(planFor(100, {}, 100).fits());
    const FitPlan plan = planFor(100, {}, 99);
    EXPECT_FALSE(plan.fits());
    EXPECT_EQ(fitPlanLines(plan).last(), u"Does not fit the disk: 99 B free"_s);
    EXPECT_TRUE(planFor(450, {}, 50).fits()); // 400 bytes go first
}

TEST(FitPlan, fitPlan_unknownSize_isSaid)
{
    const FitPlan plan = planFor({});
    EXPECT_EQ(
        fitPlanLines(plan),
        (QStringList { u"fetch     unknown  a"_s,
                       u"1 resource to fetch, 0 B and 1 resource of unknown size"_s,
                       u"Fits as far as sizes are known: 700 B afterwards, at most 1000 B"_s }));
    EXPECT_TRUE(fitPlanJson(plan).value(u"missing"_s)[0][u"size"_s].isNull());
    EXPECT_EQ(fitPlanJson(plan).value(u"unknownSizes"_s).toInt(), 1);
}

} // namespace zel::cli
