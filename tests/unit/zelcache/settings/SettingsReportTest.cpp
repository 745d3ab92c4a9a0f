#include "settings/SettingsReport.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What a program has that was given nothing.
ResourceManagerSettings defaults()
{
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(u"/default"_s);
    return settings;
}

SettingsFile fileWith(const QMap<SettingKey, QVariant> &values)
{
    SettingsFile file;
    file.path = u"/etc/s.ini"_s;
    file.exists = true;
    file.values = values;
    return file;
}

} // namespace

TEST(SettingsReportTest, settingsLines_mixedOrigins_areNamed)
{
    ResourceManagerSettings inForce = defaults();
    inForce.sizes.optimalSize = 2048;
    const SettingsFile file = fileWith({ { SettingKey::OptimalCacheSize, u"2048"_s } });
    EXPECT_EQ(settingsLines(settingsReport(file, inForce, true)),
              (QStringList { u"CacheLocationPath  /default                command line"_s,
                             u"OptimalCacheSize   2048 (2.0 KiB)          ini file"_s,
                             u"MaximumCacheSize   21474836480 (20.0 GiB)  default"_s }));
}

TEST(SettingsReportTest, settingJson_eachKind_hasTypedValues)
{
    const SettingsReport report = settingsReport(fileWith({}), defaults(), false);
    const QJsonObject location = settingJson(report.setting(SettingKey::CacheLocationPath));
    EXPECT_EQ(location.value(u"key"_s).toString(), u"CacheLocationPath"_s);
    EXPECT_EQ(location.value(u"value"_s).toString(), u"/default"_s);
    EXPECT_EQ(location.value(u"origin"_s).toString(), u"default"_s);
    const QJsonObject size = settingJson(report.setting(SettingKey::MaximumCacheSize));
    EXPECT_EQ(size.value(u"value"_s).toInteger(), 21474836480);
}

TEST(SettingsReportTest, settingsReport_goodValues_warnOfNothing)
{
    const SettingsFile file = fileWith({ { SettingKey::CacheLocationPath, u"/default"_s } });
    EXPECT_EQ(settingsReport(file, defaults(), false).warnings(), QStringList());
}

TEST(SettingsReportTest, settingsReport_badValue_namesFileAndKey)
{
    ResourceManagerSettings inForce = defaults();
    inForce.sizes.optimalSize = 0;
    const SettingsFile file = fileWith({ { SettingKey::OptimalCacheSize, u"banana"_s } });
    const SettingsReport report = settingsReport(file, inForce, false);
    EXPECT_EQ(report.warnings(),
              QStringList { u"OptimalCacheSize in /etc/s.ini is no whole number of bytes: "
                            "\"banana\"; it counts as 0"_s });
    EXPECT_EQ(report.setting(SettingKey::OptimalCacheSize).origin, SettingOrigin::IniFile);
}

TEST(SettingsReportTest, settingsReport_directoryThatIsNotTaken_isTheDefault)
{
    for (const QVariant &value :
         { QVariant(QString()), QVariant(QStringList { u"/a"_s, u"b"_s }) }) {
        const SettingsFile file = fileWith({ { SettingKey::CacheLocationPath, value } });
        const SettingsReport report = settingsReport(file, defaults(), false);
        EXPECT_EQ(report.setting(SettingKey::CacheLocationPath).origin, SettingOrigin::Default);
        EXPECT_EQ(report.warnings().size(), 1);
    }
}

TEST(SettingsReportTest, settingsReport_optimalAboveMaximum_isToldOfTheOneThatIsWritten)
{
    ResourceManagerSettings inForce = defaults();
    inForce.sizes.maximumSize = 1;
    const auto maximumOnly = fileWith({ { SettingKey::MaximumCacheSize, u"1"_s } });
    EXPECT_EQ(settingsReport(maximumOnly, inForce, false).warnings(),
              QStringList { u"MaximumCacheSize in /etc/s.ini puts the optimal size 10737418240 "
                            "(10.0 GiB) above the maximum 1 (1 B)"_s });
    const auto both = fileWith({ { SettingKey::OptimalCacheSize, u"10737418240"_s },
                                 { SettingKey::MaximumCacheSize, u"1"_s } });
    const QStringList warnings = settingsReport(both, inForce, false).warnings();
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings.at(0).startsWith(u"OptimalCacheSize in "_s)) << qPrintable(warnings.at(0));
}

TEST(SettingsReportTest, settingsReport_fileThatCannotBeUsed_isTold)
{
    SettingsFile file = fileWith({});
    file.hasBadLines = true;
    EXPECT_EQ(settingsReport(file, defaults(), false).fileWarning,
              u"/etc/s.ini has lines that are no settings; they count for nothing"_s);
    file.isReadable = false;
    EXPECT_EQ(settingsReport(file, defaults(), false).fileWarning,
              u"/etc/s.ini cannot be read; the defaults count"_s);
}

TEST(SettingsReportTest, settingsReport_sectionInOtherLetterCase_isToldToCountForNothing)
{
    SettingsFile file = fileWith({});
    file.misspelled.insert(SettingKey::CacheLocationPath, u"resourcemanager/CacheLocationPath"_s);
    EXPECT_EQ(settingsReport(file, defaults(), false).warnings(),
              QStringList { u"resourcemanager/CacheLocationPath in /etc/s.ini counts for nothing; "
                            "letter case counts: ResourceManager/CacheLocationPath"_s });
}

TEST(SettingsReportTest, settingFromName_anyCase_findsTheKey)
{
    for (const SettingKey key : allSettingKeys()) {
        EXPECT_EQ(settingFromName(settingName(key)), key);
        EXPECT_EQ(settingFromName(settingName(key).toUpper()), key);
    }
    EXPECT_EQ(settingFromName(u"CacheSize"_s), std::nullopt);
    EXPECT_EQ(settingFromName({}), std::nullopt);
}

} // namespace zel::cli
