#include "plan/FitPlan.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <limits>

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

/// Free is what the plan may use, beside what it leaves free.
FitPlan planFor(std::optional<qint64> size, const QStringList &wanted = {},
                std::optional<qint64> freeBytes = {})
{
    FitPlan::Missing missing;
    missing.reference = u"a"_s;
    missing.size = size;
    if (freeBytes)
        *freeBytes += FitPlan::reserveBytes;
    return fitPlan(filled(), { 800, 1000 }, { missing }, wanted, freeBytes, 0);
}

FitPlan::Missing missingAt(std::optional<qint64> size, std::optional<qint64> bytesPerSecond)
{
    FitPlan::Missing missing;
    missing.size = size;
    missing.bytesPerSecond = bytesPerSecond;
    return missing;
}

std::optional<std::chrono::seconds> timeOf(const QList<FitPlan::Missing> &missing)
{
    return fitPlan(filled(), { 800, 1000 }, missing, {}, {}, 0).time();
}

} // namespace

TEST(FitPlanTest, fitPlan_rowOfWhatIsMissing_isCountedOnceAndStays)
{
    FitPlan::Missing missing;
    missing.reference = u"old"_s; // 400 bytes are counted of it, and 300 of the other
    missing.size = 500;
    const FitPlan plan = fitPlan(filled(), { 750, 800 }, { missing }, {}, {}, 0);
    EXPECT_EQ(plan.staleBytes, 400);
    EXPECT_EQ(plan.purgeBytes(), 100);
    ASSERT_EQ(plan.evicted.size(), 1);
    EXPECT_EQ(plan.evicted.constFirst().reference, u"new"_s);
    EXPECT_EQ(plan.sizeAfterwards(), 500);
}

TEST(FitPlanTest, fitPlan_rowTellsTheSmallestNumber_sumsStayNumbers)
{
    ResourceCacheReader::Snapshot snapshot = filled();
    snapshot.resources[0].size = std::numeric_limits<qint64>::min();
    FitPlan::Missing missing;
    missing.reference = u"old"_s;
    missing.size = 1;
    const FitPlan plan = fitPlan(snapshot, { 800, 1000 }, { missing }, {}, {}, 0);
    EXPECT_EQ(plan.staleBytes, std::numeric_limits<qint64>::min());
    EXPECT_EQ(plan.purgeBytes(), std::numeric_limits<qint64>::max());
    EXPECT_GT(plan.sizeAfterwards(), plan.limits.maximumSize);
    EXPECT_FALSE(plan.fits());
}

TEST(FitPlanTest, fitPlan_enoughRoom_evictsNothing)
{
    const FitPlan plan = planFor(100);
    EXPECT_TRUE(plan.evicted.isEmpty());
    EXPECT_FALSE(plan.needsPurge());
    EXPECT_TRUE(plan.fits());
    EXPECT_EQ(fitPlanLines(plan),
              (QStringList { u"fetch       100 B  a"_s, u"1 resource to fetch, 100 B"_s,
                             u"Time: unknown"_s, u"Fits: 800 B afterwards, at most 1000 B"_s }));
}

TEST(FitPlanTest, fitPlan_aboveTheOptimum_evictsTheOldest)
{
    const FitPlan plan = planFor(300);
    ASSERT_EQ(plan.evicted.size(), 1);
    EXPECT_EQ(plan.evicted.at(0).reference, u"old"_s);
    EXPECT_TRUE(plan.needsPurge());
    EXPECT_EQ(plan.purgeBytes(), 300);
    EXPECT_EQ(plan.sizeAfterwards(), 600);
    EXPECT_TRUE(plan.fits());
}

TEST(FitPlanTest, fitPlan_wantedAndHere_stays)
{
    const FitPlan plan = planFor(300, { u"old"_s });
    ASSERT_EQ(plan.evicted.size(), 1);
    EXPECT_EQ(plan.evicted.at(0).reference, u"new"_s);
}

TEST(FitPlanTest, fitPlan_moreThanTheMaximum_doesNotFit)
{
    const FitPlan plan = planFor(1001);
    EXPECT_FALSE(plan.fits());
    EXPECT_TRUE(fitPlanLines(plan).contains(
        u"Does not fit the cache: 1001 B afterwards, at most 1000 B"_s));
    EXPECT_EQ(fitPlanSummary(plan),
              u"1 resource to fetch, 1001 B. "
              "Does not fit the cache: 1001 B afterwards, at most 1000 B"_s);
}

TEST(FitPlanTest, fitPlan_nothingMissing_evictsNothingOfATooFullCache)
{
    EXPECT_TRUE(fitPlan(filled(), { 100, 200 }, {}, {}, 0, 0).evicted.isEmpty());
}

TEST(FitPlanTest, fitPlan_maximumThatIsNoSize_stopsNothing)
{
    for (const qint64 maximum : { 0, -5 })
        EXPECT_TRUE(fitPlan(filled(), { 800, maximum }, { missingAt(5000, {}) }, {}, {}, 0).fits());
}

TEST(FitPlanTest, fitPlan_noEndOfBytes_doesNotFit)
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    EXPECT_FALSE(planFor(most).fits());
    const FitPlan plan
        = fitPlan(filled(), { 800, 1000 }, { missingAt(most, {}), missingAt(most, {}) }, {}, 0, 0);
    EXPECT_EQ(plan.missingBytes(), most);
    EXPECT_FALSE(plan.fits());
}

TEST(FitPlanTest, fitPlan_diskIsShort_evictsAsMuchAsThatTakes)
{
    EXPECT_TRUE(planFor(100, {}, 100).evicted.isEmpty());
    const FitPlan plan = planFor(100, {}, 99);
    ASSERT_EQ(plan.evicted.size(), 1) << "far below the optimum";
    EXPECT_EQ(plan.evicted.at(0).reference, u"old"_s);
    EXPECT_TRUE(plan.fits());
    EXPECT_TRUE(planFor(90, {}, 50).fits());
    EXPECT_EQ(planFor(800, {}, 100).evicted.size(), 2);
    EXPECT_TRUE(planFor(800, {}, 100).fits());
}

TEST(FitPlanTest, fitPlan_diskIsTooSmall_doesNotFitEvenAfterTheEviction)
{
    EXPECT_FALSE(planFor(800, {}, 99).fits());
    const FitPlan plan = planFor(100, { u"old"_s, u"new"_s }, 99);
    EXPECT_FALSE(plan.fits());
    EXPECT_TRUE(fitPlanLines(plan).contains(
        u"Does not fit the disk: 100 B to come, 4.0 MiB free, 0 B can go, 4.0 MiB stay free"_s));
}

TEST(FitPlanTest, fitPlan_partOnTheDiskAlready_takesNoFurtherRoomThere)
{
    FitPlan::Missing missing = missingAt(100, 10);
    missing.stagedBytes = 60;
    const QStringList wanted { u"old"_s, u"new"_s };
    const auto fits = [&](qint64 freeBytes) {
        return fitPlan(filled(), { 800, 1000 }, { missing }, wanted,
                       FitPlan::reserveBytes + freeBytes, 0)
            .fits();
    };
    EXPECT_TRUE(fits(40));
    EXPECT_FALSE(fits(39));
    EXPECT_EQ(timeOf({ missing }), std::chrono::seconds(4));
    missing.stagedBytes = 100; // has to be put to its place only
    EXPECT_TRUE(fits(-FitPlan::reserveBytes));
}

TEST(FitPlanTest, fitPlan_unknownSize_isSaid)
{
    const FitPlan plan = planFor({});
    EXPECT_EQ(
        fitPlanLines(plan),
        (QStringList { u"fetch     unknown  a"_s, u"1 resource to fetch, of unknown size"_s,
                       u"Time: unknown"_s,
                       u"Fits as far as sizes are known: 700 B afterwards, at most 1000 B"_s }));
    EXPECT_TRUE(fitPlanJson(plan).value(u"missing"_s)[0][u"size"_s].isNull());
    EXPECT_EQ(fitPlanJson(plan).value(u"unknownSizes"_s).toInt(), 1);
}

TEST(FitPlanTest, fitPlan_someSizesUnknown_areCountedAmongAll)
{
    const QList<FitPlan::Missing> missing { missingAt(100, {}), missingAt({}, {}) };
    const QStringList lines = fitPlanLines(fitPlan(filled(), { 800, 1000 }, missing, {}, {}, 0));
    EXPECT_TRUE(lines.contains(u"2 resources to fetch, 100 B without the 1 of unknown size"_s))
        << qPrintable(lines.join(u'\n'));
}

TEST(FitPlanTest, fitPlan_doesNotFit_pointsToWhy)
{
    EXPECT_TRUE(fitPlanLines(planFor(5000)).constLast().contains(u"zelcache why"_s));
    EXPECT_FALSE(fitPlanLines(planFor(100)).constLast().contains(u"zelcache why"_s));
}

TEST(FitPlanTest, fitPlan_unknownSizeAndATooFullCache_fits)
{
    const QStringList wanted { u"old"_s, u"new"_s };
    EXPECT_TRUE(fitPlan(filled(), { 100, 200 }, { missingAt({}, {}) }, wanted, 0, 0).fits());
}

TEST(FitPlanTest, time_ratesOfAll_addUp)
{
    using namespace std::chrono_literals;
    EXPECT_EQ(timeOf({}), 0s);
    EXPECT_EQ(timeOf({ missingAt(100, 50), missingAt(30, 10) }), 5s);
    EXPECT_EQ(timeOf({ missingAt(1, 1000) }), 1s);
    EXPECT_EQ(timeOf({ missingAt(100, 50), missingAt(30, {}) }), std::nullopt);
    EXPECT_EQ(timeOf({ missingAt({}, 50) }), std::nullopt);
}

TEST(FitPlanTest, fitPlanJson_time_isSecondsOrNull)
{
    const auto jsonFor = [](const FitPlan::Missing &missing) {
        return fitPlanJson(fitPlan(filled(), { 800, 1000 }, { missing }, {}, {}, 0));
    };
    const QJsonObject known = jsonFor(missingAt(100, 50));
    EXPECT_EQ(known.value(u"seconds"_s).toInt(), 2);
    EXPECT_EQ(known.value(u"missing"_s)[0][u"bytesPerSecond"_s].toInt(), 50);
    const QJsonObject unknown = jsonFor(missingAt(100, {}));
    EXPECT_TRUE(unknown.value(u"seconds"_s).isNull());
    EXPECT_TRUE(unknown.value(u"missing"_s)[0][u"bytesPerSecond"_s].isNull());
}

} // namespace zel::cli
