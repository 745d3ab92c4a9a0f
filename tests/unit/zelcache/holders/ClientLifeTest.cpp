#include "holders/ClientLife.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QTemporaryFile>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 now = 1'700'000'000'000;

struct LifeCase
{
    const char *name;
    qint64 pingAge; ///< milliseconds
    std::optional<qint64> processAge; ///< empty: there is no such process
    std::optional<bool> hasCacheOpen;
    Liveness liveness;
    bool counts;
};

class ClientLifeFateTest : public testing::TestWithParam<LifeCase>
{
};

} // namespace

TEST_P(ClientLifeFateTest, at_rowAndProcess_tellTheFate)
{
    const LifeCase &given = GetParam();
    const ResourceCacheReader::Client client { 1, 100, now - given.pingAge };
    ProcessSight sight { {}, u"viewer"_s, given.hasCacheOpen };
    if (given.processAge)
        sight.startedAt = now - *given.processAge;
    const ClientLife life(client, sight);
    EXPECT_EQ(life.at(now), given.liveness);
    EXPECT_EQ(ClientLife::counts(client, now), given.counts);
    const bool isItself = given.liveness == Liveness::Alive || given.liveness == Liveness::Silent;
    EXPECT_EQ(life.program(), isItself ? u"viewer"_s : QString());
}

INSTANTIATE_TEST_SUITE_P(
    All, ClientLifeFateTest,
    testing::Values(
        LifeCase { "pings", 4'000, 60'000, {}, Liveness::Alive, true },
        LifeCase { "pingsWithTheCacheOpen", 4'000, 60'000, true, Liveness::Alive, true },
        LifeCase { "pingedJustInTime", 30'000, 60'000, {}, Liveness::Alive, true },
        LifeCase { "silent", 30'001, 60'000, {}, Liveness::Silent, false },
        LifeCase { "startedWithinTheRounding", 100, 50, {}, Liveness::Alive, true },
        LifeCase { "gone", 4'000, {}, {}, Liveness::Dead, true },
        LifeCase { "goneForLong", 400'000, {}, {}, Liveness::Dead, false },
        LifeCase { "numberReused", 20'000, 10'000, {}, Liveness::Reused, true },
        LifeCase { "numberReusedSoon", 20'000, 19'500, {}, Liveness::Reused, true },
        LifeCase { "numberReusedByOneWithTheCache", 20'000, 10'000, true, Liveness::Reused, true },
        LifeCase { "numberReusedForLong", 400'000, 300'000, {}, Liveness::Reused, false },
        LifeCase { "numberOfAnotherContainer", 4'000, 60'000, false, Liveness::Dead, true }),
    [](const auto &tested) { return tested.param.name; });

TEST(ClientLifeTest, countsUntil_lastPing_isHalfAMinuteLater)
{
    EXPECT_EQ(ClientLife::countsUntil(now), now + 30'000);
}

TEST(ClientLifeTest, processesOf_thisProcess_isSeenWithItsFiles)
{
    QTemporaryFile opened;
    ASSERT_TRUE(opened.open());
    const qint64 self = QCoreApplication::applicationPid();
    const ProcessSight sight = processesOf(opened.fileName())(self);
    ASSERT_TRUE(sight.startedAt);
    EXPECT_LE(*sight.startedAt, QDateTime::currentMSecsSinceEpoch());
    EXPECT_EQ(sight.program, u"ClientLifeTest"_s);
    EXPECT_EQ(sight.hasCacheOpen, true);
    EXPECT_EQ(processesOf(QCoreApplication::applicationDirPath() + u"/CTestTestfile.cmake"_s)(self)
                  .hasCacheOpen,
              false);
}

TEST(ClientLifeTest, processesOf_noSuchProcess_nothingIsSeen)
{
    const ProcessSight sight = processesOf(QCoreApplication::applicationFilePath())(4'999'999);
    EXPECT_FALSE(sight.startedAt);
    EXPECT_EQ(sight.program, QString());
    EXPECT_FALSE(sight.hasCacheOpen);
}

} // namespace zel::cli
