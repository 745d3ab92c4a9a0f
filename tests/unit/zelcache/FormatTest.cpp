#include "Format.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <limits>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

TEST(Format, sizeText_sizes_takeTheUnitThatSuits)
{
    EXPECT_EQ(sizeText(0), u"0 B"_s);
    EXPECT_EQ(sizeText(1023), u"1023 B"_s);
    EXPECT_EQ(sizeText(1024), u"1.0 KiB"_s);
    EXPECT_EQ(sizeText(1536), u"1.5 KiB"_s);
    EXPECT_EQ(sizeText(21474836480), u"20.0 GiB"_s);
    EXPECT_EQ(sizeText(std::numeric_limits<qint64>::max()), u"8.0 EiB"_s);
    EXPECT_EQ(sizeText(-2048), u"-2.0 KiB"_s);
}

TEST(Format, sizeText_justBelowAUnit_isNeverRoundedTo1024)
{
    EXPECT_EQ(sizeText(1024 * 1024 - 1), u"1.0 MiB"_s);
    EXPECT_EQ(sizeText(1024 * 1024 - 100), u"1023.9 KiB"_s);
}

TEST(Format, rateText_rates_areSizesPerSecond)
{
    EXPECT_EQ(rateText(1.5 * 1024 * 1024), u"1.5 MiB/s"_s);
    EXPECT_EQ(rateText(0.2), u"0 B/s"_s);
    EXPECT_EQ(rateText(-5), u"0 B/s"_s);
}

TEST(Format, durationText_durations_growByUnits)
{
    EXPECT_EQ(durationText(0s), u"0:00"_s);
    EXPECT_EQ(durationText(42s), u"0:42"_s);
    EXPECT_EQ(durationText(12min + 5s), u"12:05"_s);
    EXPECT_EQ(durationText(1h + 2min + 3s), u"1:02:03"_s);
    EXPECT_EQ(durationText(51h + 59min), u"2d 03h"_s);
    EXPECT_EQ(durationText(-3s), u"0:00"_s);
}

TEST(Format, timeText_time_isLocalAndSortable)
{
    const QDateTime time(QDate(2024, 5, 31), QTime(7, 2, 11));
    EXPECT_EQ(timeText(time.toMSecsSinceEpoch()), u"2024-05-31 07:02:11"_s);
}

} // namespace zel::cli
