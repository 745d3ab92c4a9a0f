#include "ResourceManagerSettings.h"

#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SemaphoreSets.h"
#include "TemporaryCache.h"
#include "support/SettingsAt.h"

#include <QProcess>
#include <QSettings>

#include <filesystem>
#include <iostream>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceManagerSettingsTest : public testing::Test
{
protected:
    ResourceManagerSettings loaded(const QByteArray &content) const
    {
        writeFile(path, content);
        SettingsAt settings(path);
        settings.load();
        return settings;
    }

    QTemporaryDir directory;
    const QString path = directory.filePath(u"settings.ini"_s);
};

void expectDefaults(const ResourceManagerSettings &settings)
{
    EXPECT_EQ(settings.cachePath.baseDirPath().toString(),
              ResourceCachePath::defaultBaseDirectoryPath());
    EXPECT_EQ(settings.sizes.optimalSize, 10737418240);
    EXPECT_EQ(settings.sizes.maximumSize, 21474836480);
}

constexpr char fileName[] = "resource_manager_settings.ini";

/// This very program under another folder, so that files can lie beside an executable without
/// being seen by anybody else, and with a home of its own.
class ResourceManagerSettingsOfAProgramTest : public testing::Test
{
protected:
    ResourceManagerSettingsOfAProgramTest()
    {
        std::filesystem::create_hard_link(QCoreApplication::applicationFilePath().toStdString(),
                                          program.toStdString());
    }

    QStringList run(const QString &caseName) const
    {
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, directory.filePath(u"home"_s));
        environment.insert(u"XDG_CONFIG_HOME"_s, directory.filePath(u"config"_s));
        environment.insert(u"XDG_DATA_HOME"_s, directory.filePath(u"data"_s));
        process.setProcessEnvironment(environment);
        process.start(program,
                      { u"--gtest_also_run_disabled_tests"_s, u"--gtest_filter="_s + caseName });
        EXPECT_TRUE(process.waitForFinished(30000));
        QStringList answers;
        for (const QString &line :
             QString::fromUtf8(process.readAllStandardOutput()).split(u'\n')) {
            if (line.startsWith(u"answer: "_s))
                answers.append(line.mid(8));
        }
        return answers;
    }
    QString userFile() const
    {
        return run(u"ResourceManagerSettingsChildTest.DISABLED_userFile"_s).value(0);
    }
    QString fileBesideTheProgram() const
    {
        return directory.filePath(QString::fromLatin1(fileName));
    }

    QTemporaryDir directory;
    const QString program = directory.filePath(u"program"_s);
};

void answer(const QString &text)
{
    std::cout << "answer: " << text.toStdString() << '\n';
}

/// Tells which file is in force.
struct FileTelling : ResourceManagerSettings
{
    using ResourceManagerSettings::settingsFilePath;
};

} // namespace

// What the copies of this program do.

TEST(ResourceManagerSettingsChildTest, DISABLED_userFile)
{
    answer(FileTelling().settingsFilePath());
}

TEST(ResourceManagerSettingsChildTest, DISABLED_loadSettings)
{
    const auto settings = ResourceManagerSettings::loadSettings();
    answer(settings.cachePath.baseDirPath());
    answer(QString::number(settings.sizes.optimalSize));
    answer(QString::number(settings.sizes.maximumSize));
    answer(ResourceCachePath::defaultBaseDirectoryPath());
}

TEST(ResourceManagerSettingsChildTest, DISABLED_managerWithOverride)
{
    const TemporaryCache directory;
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(directory.baseDir());
    settings.sizes.optimalSize = 5;
    ResourceManager::overrideDefaultSettings(settings);
    answer(QString::number(ResourceManager::optimalCacheSize().value()));
    ResourceManager::cache()->close();
}

TEST(ResourceManagerSettingsChildTest, DISABLED_managerWithoutOverride)
{
    answer(QString::number(ResourceManager::optimalCacheSize().value()));
    ResourceManager::cache()->close();
}

TEST_F(ResourceManagerSettingsOfAProgramTest, loadSettings_noFileAnywhere_givesTheDefaults)
{
    const QStringList answers = run(u"ResourceManagerSettingsChildTest.DISABLED_loadSettings"_s);
    ASSERT_EQ(answers.size(), 4);
    EXPECT_EQ(answers.at(0), answers.at(3));
    EXPECT_EQ(answers.at(1), u"10737418240"_s);
    EXPECT_EQ(answers.at(2), u"21474836480"_s);
}

TEST_F(ResourceManagerSettingsOfAProgramTest, loadSettings_fileOfTheUser_isRead)
{
    const QString path = userFile();
    EXPECT_TRUE(path.startsWith(directory.filePath(u"config"_s))) << qPrintable(path);
    EXPECT_EQ(QFileInfo(path).fileName(), QString::fromLatin1(fileName));
    writeFile(path, "[ResourceManager]\nOptimalCacheSize=1\n");
    EXPECT_EQ(run(u"ResourceManagerSettingsChildTest.DISABLED_loadSettings"_s).value(1), u"1"_s);
}

TEST_F(ResourceManagerSettingsOfAProgramTest, loadSettings_fileBesideTheExecutable_wins)
{
    writeFile(userFile(), "[ResourceManager]\nOptimalCacheSize=1\nMaximumCacheSize=2\n");
    writeFile(fileBesideTheProgram(), "[ResourceManager]\nOptimalCacheSize=7\n");
    const QStringList answers = run(u"ResourceManagerSettingsChildTest.DISABLED_loadSettings"_s);
    EXPECT_EQ(answers.value(1), u"7"_s);
    EXPECT_EQ(answers.value(2), u"21474836480"_s); // the user's file is not looked at
    EXPECT_EQ(userFile(), fileBesideTheProgram()); // and it is the one that is written
}

TEST_F(ResourceManagerSettingsOfAProgramTest, instance_withAnOverride_readsNoFile)
{
    writeFile(fileBesideTheProgram(), "[ResourceManager]\nOptimalCacheSize=7\n");
    EXPECT_EQ(run(u"ResourceManagerSettingsChildTest.DISABLED_managerWithOverride"_s),
              QStringList { u"5"_s });
}

TEST_F(ResourceManagerSettingsOfAProgramTest, instance_withoutOverride_readsTheFile)
{
    const QString baseDir = directory.filePath(u"base"_s);
    writeFile(fileBesideTheProgram(),
              "[ResourceManager]\nOptimalCacheSize=7\nCacheLocationPath=" + baseDir.toUtf8()
                  + '\n');
    EXPECT_EQ(run(u"ResourceManagerSettingsChildTest.DISABLED_managerWithoutOverride"_s),
              QStringList { u"7"_s });
    EXPECT_TRUE(QFileInfo::exists(baseDir + u"/ResourceCache.db"_s));
    removeSystemSemaphoreAtEnd(TemporaryCache::semaphoreKey(baseDir));
}

TEST_F(ResourceManagerSettingsTest, constructor_always_givesTheDefaults)
{
    expectDefaults(ResourceManagerSettings());
}

TEST_F(ResourceManagerSettingsTest, load_missingFile_givesTheDefaults)
{
    SettingsAt settings(path);
    settings.sizes = { 1, 2 };
    settings.load();
    expectDefaults(settings);
    EXPECT_FALSE(QFileInfo::exists(path));
}

TEST_F(ResourceManagerSettingsTest, load_onlyTheOptimalSize_keepsTheOtherDefaults)
{
    const auto settings = loaded("[ResourceManager]\nOptimalCacheSize=123\n");
    EXPECT_EQ(settings.sizes.optimalSize, 123);
    EXPECT_EQ(settings.sizes.maximumSize, 21474836480);
    EXPECT_EQ(settings.cachePath.baseDirPath().toString(),
              ResourceCachePath::defaultBaseDirectoryPath());
}

TEST_F(ResourceManagerSettingsTest, load_valuesThatMakeNoSense_takesThemAsTheyStand)
{
    const auto settings = loaded("[ResourceManager]\nCacheLocationPath=/some/where/./x/\n"
                                 "OptimalCacheSize=-5\nMaximumCacheSize=-9\n");
    EXPECT_EQ(settings.cachePath.baseDirPath().toString(), u"/some/where/./x/"_s);
    EXPECT_EQ(settings.sizes.optimalSize, -5);
    EXPECT_EQ(settings.sizes.maximumSize, -9);
}

TEST_F(ResourceManagerSettingsTest, load_emptyDirectory_countsAsAbsent)
{
    const auto settings = loaded("[ResourceManager]\nCacheLocationPath=\nMaximumCacheSize=9\n");
    EXPECT_EQ(settings.cachePath.baseDirPath().toString(),
              ResourceCachePath::defaultBaseDirectoryPath());
    EXPECT_EQ(settings.sizes.maximumSize, 9);
}

TEST_F(ResourceManagerSettingsTest, load_sizesThatAreNoNumbers_areWhatAVariantMakesOfThem)
{
    const auto settings = loaded("[ResourceManager]\nOptimalCacheSize=plenty\n");
    EXPECT_EQ(settings.sizes.optimalSize, 0);
}

TEST_F(ResourceManagerSettingsTest, load_nonsense_givesTheDefaults)
{
    expectDefaults(loaded("\xff\xfe[[[\n=\n;;;\n]ResourceManager[\nOptimalCacheSize"));
}

TEST_F(ResourceManagerSettingsTest, load_afterSave_givesTheSameFields)
{
    SettingsAt saved(path);
    saved.cachePath.setBaseDirPath(u"/data, mit Umläuten;/%1/cache"_s);
    saved.sizes = { 9007199254740993, 9223372036854775807 };
    ASSERT_FALSE(saved.save().hasError());

    SettingsAt read(path);
    read.load();
    EXPECT_EQ(read.cachePath.baseDirPath(), saved.cachePath.baseDirPath());
    EXPECT_EQ(read.sizes.optimalSize, saved.sizes.optimalSize);
    EXPECT_EQ(read.sizes.maximumSize, saved.sizes.maximumSize);
}

TEST_F(ResourceManagerSettingsTest, save_always_writesOneSectionWithThreeKeys)
{
    SettingsAt settings(path);
    settings.cachePath.setBaseDirPath(u"/base"_s);
    settings.sizes = { 1, 2 };
    ASSERT_FALSE(settings.save().hasError());
    const QSettings file(path, QSettings::IniFormat);
    QStringList keys = file.allKeys();
    keys.sort();
    EXPECT_EQ(keys,
              (QStringList { u"ResourceManager/CacheLocationPath"_s,
                             u"ResourceManager/MaximumCacheSize"_s,
                             u"ResourceManager/OptimalCacheSize"_s }));
    EXPECT_EQ(file.value(u"ResourceManager/CacheLocationPath"_s).toString(), u"/base"_s);
}
