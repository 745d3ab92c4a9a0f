#include "output/OverallProgress.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

Transfer running(const QString &label, qint64 received, std::optional<qint64> total)
{
    Transfer transfer;
    transfer.label = label;
    transfer.started = true;
    transfer.receivedBytes = received;
    transfer.totalBytes = total;
    transfer.bytesPerSecond = 10;
    return transfer;
}

Transfer settled()
{
    Transfer transfer;
    transfer.settled = true;
    return transfer;
}

Transfer queued()
{
    return {};
}

} // namespace

TEST(OverallProgressTest, overallProgress_singleFetch_showsItself)
{
    Transfer transfer = running(u"a.raw"_s, 25, 100);
    transfer.fetchingProcess = 4711;
    const ProgressState state = overallProgress({ transfer });
    EXPECT_EQ(state.label, u"a.raw"_s);
    EXPECT_EQ(state.fraction, 0.25);
    EXPECT_EQ(state.totalBytes, 100);
    EXPECT_EQ(state.fetchingProcess, 4711);
    EXPECT_EQ(state.overallCount, 1);
}

TEST(OverallProgressTest, overallProgress_withoutBytes_takesTheTasksFraction)
{
    Transfer transfer;
    transfer.started = true;
    transfer.fraction = 0.4;
    EXPECT_EQ(overallProgress({ transfer }).fraction, 0.4);
}

TEST(OverallProgressTest, overallProgress_severalFetches_countEachAlike)
{
    const ProgressState state
        = overallProgress({ settled(), running(u"a"_s, 50, 100), queued(), queued() });
    EXPECT_EQ(state.fraction, 1.5 / 4);
    EXPECT_EQ(state.finishedCount, 1);
    EXPECT_EQ(state.overallCount, 4);
}

TEST(OverallProgressTest, overallProgress_severalRunning_sumsBytesAndRates)
{
    const ProgressState state
        = overallProgress({ running(u"a"_s, 50, 100), running(u"b"_s, 5, 10) });
    EXPECT_EQ(state.label, u"a and 1 more"_s);
    EXPECT_EQ(state.receivedBytes, 55);
    EXPECT_EQ(state.totalBytes, 110);
    EXPECT_EQ(state.bytesPerSecond, 20.0);
}

TEST(OverallProgressTest, overallProgress_oneTotalUnknown_knowsNoTotal)
{
    EXPECT_FALSE(overallProgress({ running(u"a"_s, 50, 100), running(u"b"_s, 5, {}) })
                     .totalBytes.has_value());
    EXPECT_FALSE(overallProgress({ running(u"a"_s, 50, 100), queued() }).totalBytes.has_value());
}

TEST(OverallProgressTest, overallProgress_nothing_isEmpty)
{
    const ProgressState state = overallProgress({});
    EXPECT_TRUE(state.label.isEmpty());
    EXPECT_FALSE(state.fraction.has_value());
}

} // namespace zel::cli
