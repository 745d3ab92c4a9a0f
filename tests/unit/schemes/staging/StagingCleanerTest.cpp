#include "StagingFixture.h"

#include "LogCapture.h"
#include "staging/StagingCleaner.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class StagingCleanerTest : public StagingFixture
{
protected:
    void SetUp() override { append(*open(planFor(u"share:/a"_s), u"v1"_s), "content"); }

    void clean(std::chrono::seconds later = {})
    {
        const auto now = QDateTime::currentDateTimeUtc().addSecs(later.count());
        StagingCleaner::removeStale(planFor(u"share:/other"_s), now);
    }
};

constexpr std::chrono::seconds sevenDays = std::chrono::days(7);

} // namespace

TEST_F(StagingCleanerTest, removeStale_freshPlace_stays)
{
    clean();
    clean(sevenDays - std::chrono::minutes(1));
    EXPECT_EQ(places().size(), 1);
}

TEST_F(StagingCleanerTest, removeStale_olderThanSevenDays_goes)
{
    clean(sevenDays + std::chrono::minutes(1));
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(StagingCleanerTest, removeStale_resourceIsReady_goes)
{
    ready << u"share:/a"_s;
    clean();
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(StagingCleanerTest, removeStaleBeforeFetch_manyFetches_looksOnceInTenMinutes)
{
    FetchPlan plan = planFor(u"share:/other"_s);
    int asked = 0;
    plan.isReady = [&asked](const QString &) {
        ++asked;
        return false;
    };
    const auto now = QDateTime::currentDateTimeUtc();
    const auto askedAt = [&](std::chrono::seconds later) {
        StagingCleaner::removeStaleBeforeFetch(plan, now.addSecs(later.count()));
        return std::exchange(asked, 0);
    };
    const std::chrono::seconds tenMinutes = StagingCleaner::looksAgainAfter;
    EXPECT_EQ(askedAt({}), 1);
    EXPECT_EQ(askedAt({}), 0);
    EXPECT_EQ(askedAt(std::chrono::seconds(-1)), 0)
        << "It looked at the clock before the other one.";
    EXPECT_EQ(askedAt(tenMinutes - std::chrono::seconds(1)), 0);
    EXPECT_EQ(askedAt(tenMinutes), 1);
    EXPECT_EQ(askedAt({}), 1) << "The clock was put back.";
    plan.stagingDirectory += u"2"_s;
    writeFile(plan.stagingDirectory + u"/key-state-0/record.json"_s,
              readFile(StagingFolder::recordPath(places().first())));
    EXPECT_EQ(askedAt({}), 1) << "Another cache.";
}

TEST_F(StagingCleanerTest, removeStaleBeforeFetch_isDue_removesWhatIsStale)
{
    ready << u"share:/a"_s;
    StagingCleaner::removeStaleBeforeFetch(planFor(u"share:/other"_s));
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(StagingCleanerTest, removeIfUnused_placeHasGoneMeanwhile_isNothingToTellOf)
{
    const LogCapture log;
    StagingFolder::removeIfUnused(places().first() + u"-gone"_s);
    EXPECT_TRUE(log.texts(QtWarningMsg).isEmpty());
    EXPECT_EQ(places().size(), 1);
}

TEST_F(StagingCleanerTest, removeStale_lockedByThisProcess_stays)
{
    const auto area = open(planFor(u"share:/a"_s), u"v1"_s);
    ready << u"share:/a"_s;
    clean(2 * sevenDays);
    EXPECT_EQ(stagedBytes(*area), 7);
}

TEST_F(StagingCleanerTest, removeStale_lockedByAnotherProcess_stays)
{
    const LockingProcess process(StagingFolder::lockPath(places().first()));
    ready << u"share:/a"_s;
    clean(2 * sevenDays);
    EXPECT_EQ(places().size(), 1);
}

TEST_F(StagingCleanerTest, removeStale_placeWithoutRecord_goesByItsAge)
{
    ASSERT_TRUE(QFile::remove(StagingFolder::recordPath(places().first())));
    clean();
    EXPECT_EQ(places().size(), 1);
    clean(sevenDays + std::chrono::minutes(1));
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(StagingCleanerTest, removeStale_interruptedRemoval_isEnded)
{
    const QString place = places().first();
    const QString leaving = place + u".x.leaving"_s;
    ASSERT_TRUE(QFile::rename(place, leaving));
    EXPECT_TRUE(places().isEmpty());
    clean();
    EXPECT_FALSE(QFileInfo::exists(leaving));
}

TEST_F(StagingCleanerTest, removeStale_noStagingDirectory_isNoFault)
{
    ASSERT_TRUE(QDir(planFor({}).stagingDirectory).removeRecursively());
    clean();
    EXPECT_FALSE(QFileInfo::exists(planFor({}).stagingDirectory));
}
