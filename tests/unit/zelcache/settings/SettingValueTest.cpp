#include "settings/SettingValue.h"

#include "Printers.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <limits>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

ResourceCacheSizes sizes(qint64 optimal, qint64 maximum)
{
    ResourceCacheSizes made;
    made.optimalSize = optimal;
    made.maximumSize = maximum;
    return made;
}

Result<QVariant> optimal(const QString &text)
{
    return settingFromText(SettingKey::OptimalCacheSize, text, sizes(10, 2048));
}

Result<QVariant> maximum(const QString &text)
{
    return settingFromText(SettingKey::MaximumCacheSize, text, sizes(1024, 2048));
}

Result<QVariant> location(const QString &text)
{
    return settingFromText(SettingKey::CacheLocationPath, text, {});
}

void expectRefused(const Result<QVariant> &value, const QString &why)
{
    ASSERT_FALSE(value.hasValue());
    EXPECT_EQ(value.error().errorCode(), ErrorCode::BadArgument);
    EXPECT_TRUE(value.error().errorMessage().contains(why))
        << qPrintable(value.error().errorMessage());
}

} // namespace

TEST(SettingValueTest, settingFromText_sizes_areBytes)
{
    EXPECT_EQ(optimal(u"2048"_s).value(), QVariant(qlonglong(2048)));
    EXPECT_EQ(optimal(u"1.5KiB"_s).value(), QVariant(qlonglong(1536)));
    EXPECT_EQ(maximum(u"200 GiB"_s).value(), QVariant(qlonglong(214748364800)));
    EXPECT_EQ(maximum(u"9223372036854775807"_s).value(),
              QVariant(qlonglong(std::numeric_limits<qint64>::max())));
}

TEST(SettingValueTest, settingFromText_badSizes_areRefused)
{
    for (const QString &text : { u""_s, u"banana"_s, u"-5"_s, u"0"_s, u"0GiB"_s, u"10 apples"_s,
                                 u"9223372036854775808"_s, u"99999999TiB"_s, u"1e3"_s }) {
        expectRefused(optimal(text), u'"' + text + u"\" is no size above 0"_s);
        expectRefused(maximum(text), u'"' + text + u"\" is no size above 0"_s);
    }
}

TEST(SettingValueTest, settingFromText_optimalAboveMaximum_isRefusedFromBothSides)
{
    EXPECT_TRUE(optimal(u"2048"_s).hasValue());
    expectRefused(optimal(u"2049"_s),
                  u"the optimal size 2049 (2.0 KiB) would be above the maximum 2048 (2.0 KiB)."_s);
    EXPECT_TRUE(maximum(u"1024"_s).hasValue());
    expectRefused(maximum(u"1023"_s),
                  u"the optimal size 1024 (1.0 KiB) would be above the maximum 1023 (1023 B)."_s);
}

TEST(SettingValueTest, settingFromText_directory_isSpelledInOneWay)
{
    EXPECT_EQ(location(u"/no/such//folder/../x, y/"_s).value(), QVariant(u"/no/such/x, y"_s));
    EXPECT_EQ(location(u"/"_s).value(), QVariant(u"/"_s));
}

TEST(SettingValueTest, settingFromText_badDirectories_areRefused)
{
    expectRefused(location({}), u"must not be empty"_s);
    for (const QString &text : { u"."_s, u"data/cache"_s, u"~/cache"_s, u":/cache"_s, u" "_s })
        expectRefused(location(text), u'"' + text + u"\" is no absolute directory"_s);
    const test::TemporaryCache folder;
    test::writeFile(folder.outside(u"file"_s), "x");
    expectRefused(location(folder.outside(u"file"_s)), u"is not a directory"_s);
}

TEST(SettingValueTest, complaintAbout_goodValues_isEmpty)
{
    EXPECT_EQ(complaintAbout(SettingKey::CacheLocationPath, u"/c"_s), QString());
    EXPECT_EQ(complaintAbout(SettingKey::OptimalCacheSize, u"1"_s), QString());
    EXPECT_EQ(complaintAbout(SettingKey::MaximumCacheSize, qlonglong(20)), QString());
}

TEST(SettingValueTest, complaintAbout_badSizes_tellsWhatIsMadeOfThem)
{
    const auto about = [](const QVariant &value) {
        return complaintAbout(SettingKey::OptimalCacheSize, value);
    };
    const QString noNumber = u"is no whole number of bytes: \"%1\"; it counts as 0"_s;
    EXPECT_EQ(about(u"banana"_s), noNumber.arg(u"banana"_s));
    EXPECT_EQ(about(u"10GiB"_s), noNumber.arg(u"10GiB"_s));
    EXPECT_EQ(about(QStringList { u"10"_s, u"5"_s }), noNumber.arg(u"10, 5"_s));
    EXPECT_EQ(about(QVariant()), noNumber.arg(QString()));
    EXPECT_EQ(about(u"-5"_s), u"is no size that a cache can have: -5"_s);
    EXPECT_EQ(about(u"0"_s), u"is no size that a cache can have: 0"_s);
}

TEST(SettingValueTest, complaintAbout_badDirectories_tellsWhatIsMadeOfThem)
{
    const auto about = [](const QVariant &value) {
        return complaintAbout(SettingKey::CacheLocationPath, value);
    };
    EXPECT_EQ(about(QString()), u"is empty; the default counts"_s);
    EXPECT_EQ(about(u"cache"_s), u"is no absolute directory: \"cache\""_s);
    EXPECT_TRUE(about(QStringList { u"/a"_s, u"b"_s }).startsWith(u"is a list"_s));
}

} // namespace zel::cli
