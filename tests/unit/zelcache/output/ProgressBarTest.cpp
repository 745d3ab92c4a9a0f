#include "output/ProgressBar.h"

#include "output/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 mebibyte = 1024 * 1024;

ProgressState halfway()
{
    ProgressState state;
    state.label = u"run1.raw"_s;
    state.receivedBytes = 50 * mebibyte;
    state.totalBytes = 100 * mebibyte;
    state.bytesPerSecond = 10.0 * mebibyte;
    return state;
}

} // namespace

TEST(ProgressBarTest, progressLine_usualTerminal_showsEverything)
{
    EXPECT_EQ(progressLine(halfway(), 100),
              u"run1.raw  [===============>              ]   50%  50.0 MiB of 100.0 MiB"
              "  10.0 MiB/s  0:05 left"_s);
}

TEST(ProgressBarTest, progressLine_anyWidth_leavesTheLastColumnFree)
{
    ProgressState state = halfway();
    state.label = u"a rather long name of a 試料 in a folder.raw"_s;
    state.fetchingProcess = 4711;
    state.overallCount = 12;
    for (int columns = 0; columns < 200; ++columns)
        EXPECT_LE(columnsOf(progressLine(state, columns)), std::max(columns - 1, 0)) << columns;
}

TEST(ProgressBarTest, progressLine_narrowTerminal_keepsLabelAndPercent)
{
    EXPECT_EQ(progressLine(halfway(), 20), u"run1.raw   50%"_s);
}

TEST(ProgressBarTest, progressLine_lessRoom_leavesTheRateOutFirst)
{
    EXPECT_EQ(progressLine(halfway(), 55), u"run1.raw   50%  50.0 MiB of 100.0 MiB  0:05 left"_s);
}

TEST(ProgressBarTest, progressLine_unknownTotal_showsBytesAndRateOnly)
{
    ProgressState state = halfway();
    state.totalBytes.reset();
    EXPECT_EQ(progressLine(state, 80), u"run1.raw  50.0 MiB  10.0 MiB/s"_s);
}

TEST(ProgressBarTest, progressLine_nothingKnown_isTheLabel)
{
    ProgressState state;
    state.label = u"run1.raw"_s;
    EXPECT_EQ(progressLine(state, 80), u"run1.raw"_s);
}

TEST(ProgressBarTest, progressLine_anotherProcessFetches_namesItAndHowFar)
{
    ProgressState state;
    state.label = u"run1.raw"_s;
    state.fraction = 0.37;
    state.fetchingProcess = 4711;
    const QString line = progressLine(state, 80);
    EXPECT_TRUE(line.contains(u"fetched by process 4711"_s)) << qPrintable(line);
    EXPECT_TRUE(line.contains(u" 37%"_s)) << qPrintable(line);
}

TEST(ProgressBarTest, progressLine_severalResources_countsThem)
{
    ProgressState state = halfway();
    state.finishedCount = 2;
    state.overallCount = 5;
    EXPECT_TRUE(progressLine(state, 100).contains(u"2/5"_s));
}

TEST(ProgressBarTest, progressLine_almostDone_isNotYetAHundredPercent)
{
    ProgressState state = halfway();
    state.receivedBytes = 100 * mebibyte - 1;
    EXPECT_TRUE(progressLine(state, 100).contains(u" 99%"_s));
    state.receivedBytes = 100 * mebibyte;
    EXPECT_TRUE(progressLine(state, 100).contains(u"100%"_s));
    EXPECT_FALSE(progressLine(state, 100).contains(u'>'));
}

TEST(ProgressBarTest, progressLine_moreThanTheTotal_staysAtAHundredPercent)
{
    ProgressState state = halfway();
    state.receivedBytes = 200 * mebibyte;
    const QString line = progressLine(state, 100);
    EXPECT_TRUE(line.contains(u"100%"_s)) << qPrintable(line);
    EXPECT_TRUE(line.contains(u"0:00 left"_s)) << qPrintable(line);
}

TEST(ProgressBarTest, progressLine_labelWithControlCharacters_isEscaped)
{
    ProgressState state;
    state.label = u"a\x1b[2Jb\nc"_s;
    EXPECT_EQ(progressLine(state, 80), u"a\\x1b[2Jb\\nc"_s);
}

TEST(ProgressBarTest, progressLine_stalledFetch_tellsNoTimeLeft)
{
    ProgressState state = halfway();
    state.bytesPerSecond = 0;
    EXPECT_FALSE(progressLine(state, 120).contains(u"left"_s));
}

} // namespace zel::cli
