#include "output/Format.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <limits>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

TEST(FormatTest, sizeText_sizes_takeTheUnitThatSuits)
{
    EXPECT_EQ(sizeText(0), u"0 B"_s);
    EXPECT_EQ(sizeText(1023), u"1023 B"_s);
    EXPECT_EQ(sizeText(1024), u"1.0 KiB"_s);
    EXPECT_EQ(sizeText(1536), u"1.5 KiB"_s);
    EXPECT_EQ(sizeText(21474836480), u"20.0 GiB"_s);
    EXPECT_EQ(sizeText(std::numeric_limits<qint64>::max()), u"8.0 EiB"_s);
    EXPECT_EQ(sizeText(-2048), u"-2.0 KiB"_s);
}

TEST(FormatTest, sizeText_halves_areRoundedUp)
{
    EXPECT_EQ(sizeText(1280), u"1.3 KiB"_s);
    EXPECT_EQ(sizeText(1279), u"1.2 KiB"_s);
    EXPECT_EQ(sizeText(1408), u"1.4 KiB"_s);
    EXPECT_EQ(sizeText(1536 * 1024 + 52429), u"1.6 MiB"_s);
    EXPECT_EQ(sizeText(1536 * 1024 + 52428), u"1.5 MiB"_s);
}

TEST(FormatTest, sizeText_justBelowAUnit_isNeverRoundedTo1024)
{
    EXPECT_EQ(sizeText(1024 * 1024 - 1), u"1.0 MiB"_s);
    EXPECT_EQ(sizeText(1024 * 1024 - 100), u"1023.9 KiB"_s);
}

TEST(FormatTest, sizeFromText_plainNumbers_areBytes)
{
    EXPECT_EQ(sizeFromText(u"0"_s), 0);
    EXPECT_EQ(sizeFromText(u"4096"_s), 4096);
    EXPECT_EQ(sizeFromText(u"12B"_s), 12);
    EXPECT_EQ(sizeFromText(u"9223372036854775807"_s), std::numeric_limits<qint64>::max());
}

TEST(FormatTest, sizeFromText_units_arePowersOf1024UnlessTheyEndInAPlainB)
{
    EXPECT_EQ(sizeFromText(u"1K"_s), 1024);
    EXPECT_EQ(sizeFromText(u"1kib"_s), 1024);
    EXPECT_EQ(sizeFromText(u"1KB"_s), 1000);
    EXPECT_EQ(sizeFromText(u"3M"_s), 3 * 1024 * 1024);
    EXPECT_EQ(sizeFromText(u"20g"_s), 21474836480);
    EXPECT_EQ(sizeFromText(u"20 GiB"_s), 21474836480);
    EXPECT_EQ(sizeFromText(u"20GB"_s), 20'000'000'000);
    EXPECT_EQ(sizeFromText(u"2T"_s), qint64(2) << 40);
    EXPECT_EQ(sizeFromText(u"2P"_s), qint64(2) << 50);
    EXPECT_EQ(sizeFromText(u"2E"_s), qint64(2) << 60);
}

TEST(FormatTest, sizeFromText_fractionsOfAUnit_areWholeBytes)
{
    EXPECT_EQ(sizeFromText(u"1.5K"_s), 1536);
    EXPECT_EQ(sizeFromText(u"1.29 KB"_s), 1290);
    EXPECT_EQ(sizeFromText(u"0.3KB"_s), 300);
    EXPECT_EQ(sizeFromText(u"0.0001K"_s), 0);
}

TEST(FormatTest, sizeFromText_whatSizeTextSays_isRead)
{
    for (const qint64 bytes : { qint64(0), qint64(1023), qint64(1536), qint64(21474836480) })
        EXPECT_EQ(sizeFromText(sizeText(bytes)), bytes);
}

TEST(FormatTest, sizeFromText_nonsense_isNothing)
{
    for (const QString &text : { u""_s,
                                 u" "_s,
                                 u"-1"_s,
                                 u"+1"_s,
                                 u"-1K"_s,
                                 u"1.5"_s,
                                 u"1.5B"_s,
                                 u".5K"_s,
                                 u"1.K"_s,
                                 u"1e3"_s,
                                 u"0x10"_s,
                                 u"1,5K"_s,
                                 u"K"_s,
                                 u"1KK"_s,
                                 u"1X"_s,
                                 u"1iB"_s,
                                 u"1 000"_s,
                                 u"1  K"_s,
                                 u" 1"_s,
                                 u"1 "_s,
                                 u"1K\n"_s,
                                 u"١"_s,
                                 u"banana"_s,
                                 u"nan"_s,
                                 u"inf"_s,
                                 u"9223372036854775808"_s,
                                 u"8E"_s,
                                 u"7.9999999999999999999E"_s,
                                 u"99999999999999999999999999"_s })
        EXPECT_EQ(sizeFromText(text), std::nullopt) << qPrintable(text);
}

TEST(FormatTest, rateText_rates_areSizesPerSecond)
{
    EXPECT_EQ(rateText(1.5 * 1024 * 1024), u"1.5 MiB/s"_s);
    EXPECT_EQ(rateText(0.2), u"0 B/s"_s);
    EXPECT_EQ(rateText(-5), u"0 B/s"_s);
}

TEST(FormatTest, durationText_durations_growByUnits)
{
    EXPECT_EQ(durationText(0s), u"0:00"_s);
    EXPECT_EQ(durationText(42s), u"0:42"_s);
    EXPECT_EQ(durationText(12min + 5s), u"12:05"_s);
    EXPECT_EQ(durationText(1h + 2min + 3s), u"1:02:03"_s);
    EXPECT_EQ(durationText(51h + 59min), u"2d 03h"_s);
    EXPECT_EQ(durationText(-3s), u"0:00"_s);
}

TEST(FormatTest, timeText_time_isLocalAndSortable)
{
    const QDateTime time(QDate(2024, 5, 31), QTime(7, 2, 11));
    EXPECT_EQ(timeText(time.toMSecsSinceEpoch()), u"2024-05-31 07:02:11"_s);
    const QDateTime last(QDate(9999, 12, 31), QTime(23, 59, 59));
    EXPECT_EQ(timeText(last.toMSecsSinceEpoch()), u"9999-12-31 23:59:59"_s);
    EXPECT_EQ(timeText(last.addSecs(1).toMSecsSinceEpoch()), u"10000-01-01 00:00:00"_s);
}

TEST(FormatTest, durationFromText_times_areRead)
{
    const std::pair<QString, std::chrono::milliseconds> table[] {
        { u"90"_s, 90s },
        { u"1.5"_s, 1500ms },
        { u"0.2"_s, 200ms },
        { u"90s"_s, 90s },
        { u"15m"_s, 15min },
        { u"2h"_s, 2h },
        { u"2d"_s, 48h },
        { u"1h30m"_s, 90min },
        { u"1H30M"_s, 90min },
        { u"2d1s"_s, 48h + 1s },
        { u"1d2h3m4s"_s, 26h + 3min + 4s },
        { u"1.5h"_s, 90min },
        { u"1.5 H"_s, 90min },
        { u"1 h"_s, 1h },
        { u"1h1.5m"_s, 61min + 30s },
        { u"0.25s"_s, 250ms },
        { u"0h1s"_s, 1s },
        { u"36500d"_s, 24h * 36'500 },
    };
    for (const auto &[text, time] : table)
        EXPECT_EQ(durationFromText(text), time) << qPrintable(text);
}

TEST(FormatTest, durationFromText_anythingElse_isNone)
{
    for (const QString &text : { u""_s,           u" "_s,
                                 u"0"_s,          u"0h"_s,
                                 u"0.0001s"_s,    u"-1"_s,
                                 u"-1s"_s,        u"+1"_s,
                                 u"h"_s,          u"2h3d"_s,
                                 u"1m1m"_s,       u"1.5.5"_s,
                                 u"1."_s,         u".5h"_s,
                                 u"1,5h"_s,       u"1.5h30m"_s,
                                 u"1h30"_s,       u"5x"_s,
                                 u"1hm"_s,        u"1  h"_s,
                                 u" 1s"_s,        u"1s "_s,
                                 u"1h 30m"_s,     u"1s\n"_s,
                                 u"1e3s"_s,       u"0x10"_s,
                                 u"nan"_s,        u"inf"_s,
                                 u"٣s"_s,         u"soon"_s,
                                 u"36501d"_s,     u"99999999999"_s,
                                 u"9999999999"_s, QString(400, u'9') + u's' })
        EXPECT_FALSE(durationFromText(text)) << qPrintable(text);
}

} // namespace zel::cli
