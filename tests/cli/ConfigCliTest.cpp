#include "ZelcacheCli.h"

#include "Printers.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSize>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class ConfigCliTest : public ZelcacheCli
{
protected:
    QString iniPath() const { return home.filePath(u"resource_manager_settings.ini"_s); }
    QVariant written(const QString &key) const
    {
        return QSettings(iniPath(), QSettings::IniFormat).value(key);
    }

    /// Without --cache, so that the settings decide.
    std::unique_ptr<ProgramRun> config(const QStringList &arguments) const
    {
        ProgramRun::Options options;
        options.environment = environment();
        return std::make_unique<ProgramRun>(program(), QStringList { u"config"_s } + arguments,
                                            options);
    }

    QByteArray answerTo(const QStringList &arguments) const
    {
        const auto run = config(arguments);
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        return run->output();
    }

    void expectRefused(const QString &key, const QString &value, const QString &why) const
    {
        const QByteArray before = QFile::exists(iniPath()) ? readFile(iniPath()) : QByteArray();
        const auto run = config({ u"set"_s, key, value });
        EXPECT_EQ(run->exitCode(), 2) << qPrintable(value);
        EXPECT_EQ(run->output(), "");
        const QString errors = QString::fromUtf8(run->errors());
        EXPECT_TRUE(errors.contains(why)) << qPrintable(errors);
        EXPECT_TRUE(errors.contains(iniPath())) << qPrintable(errors);
        EXPECT_EQ(QFile::exists(iniPath()) ? readFile(iniPath()) : QByteArray(), before);
    }
};

TEST_F(ConfigCliTest, show_noFile_isTheDefaults)
{
    const auto run = config({ u"show"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(run->errors(), "");
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines.at(0).startsWith(u"CacheLocationPath  "_s + home.path()));
    EXPECT_TRUE(lines.at(1).startsWith(u"OptimalCacheSize   10737418240 (10.0 GiB)"_s));
    for (const QString &line : lines)
        EXPECT_TRUE(line.endsWith(u"  default"_s)) << qPrintable(line);
    EXPECT_FALSE(QFile::exists(iniPath()));
}

TEST_F(ConfigCliTest, show_json_tellsOrigins)
{
    writeFile(iniPath(), "[ResourceManager]\nOptimalCacheSize=5\n");
    const auto run = start({ u"config"_s, u"show"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QJsonObject answer = jsonOf(run->output());
    EXPECT_EQ(answer.value(u"command"_s).toString(), u"config"_s);
    EXPECT_EQ(answer.value(u"file"_s).toString(), iniPath());
    EXPECT_TRUE(answer.value(u"exists"_s).toBool());
    EXPECT_EQ(answer.value(u"warnings"_s).toArray(), QJsonArray());
    const QJsonArray settings = answer.value(u"settings"_s).toArray();
    ASSERT_EQ(settings.size(), 3);
    EXPECT_EQ(settings.at(0).toObject().value(u"value"_s).toString(), cache.baseDir());
    EXPECT_EQ(settings.at(0).toObject().value(u"origin"_s).toString(), u"commandLine"_s);
    EXPECT_EQ(settings.at(1).toObject().value(u"value"_s).toInt(), 5);
    EXPECT_EQ(settings.at(1).toObject().value(u"origin"_s).toString(), u"iniFile"_s);
    EXPECT_EQ(settings.at(2).toObject().value(u"origin"_s).toString(), u"default"_s);
}

TEST_F(ConfigCliTest, show_sectionInOtherLetterCase_warnsThatItCountsForNothing)
{
    writeFile(iniPath(), "[resourcemanager]\nOptimalCacheSize=5\n");
    const auto run = config({ u"show"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QByteArray warning = "resourcemanager/OptimalCacheSize in " + iniPath().toUtf8()
        + " counts for nothing; letter case counts: ResourceManager/OptimalCacheSize";
    EXPECT_TRUE(run->errors().contains(warning)) << run->errors().toStdString();
}

TEST_F(ConfigCliTest, show_badValues_warnsWithFileAndKey)
{
    writeFile(iniPath(),
              "[ResourceManager]\nCacheLocationPath=cache\nOptimalCacheSize=banana\n"
              "MaximumCacheSize=-5\n");
    const auto run = config({ u"show"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QByteArray ini = iniPath().toUtf8();
    for (const QByteArray &warning :
         { "CacheLocationPath in " + ini + " is no absolute directory: \"cache\"",
           "OptimalCacheSize in " + ini + " is no whole number of bytes: \"banana\"",
           "MaximumCacheSize in " + ini + " is no size that a cache can have: -5" })
        EXPECT_TRUE(run->errors().contains("zelcache: warning: " + warning))
            << run->errors().toStdString();
    const QJsonObject answer = jsonOf(run->output());
    EXPECT_EQ(answer.value(u"warnings"_s).toArray().size(), 3);
    const QJsonArray settings = answer.value(u"settings"_s).toArray();
    EXPECT_EQ(settings.at(1).toObject().value(u"value"_s), QJsonValue(0));
    EXPECT_EQ(settings.at(2).toObject().value(u"value"_s), QJsonValue(-5));
}

TEST_F(ConfigCliTest, show_anything_makesNoCache)
{
    answerTo({ u"show"_s });
    EXPECT_EQ(QDir(home.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

TEST_F(ConfigCliTest, get_anyKey_isTheBareValue)
{
    writeFile(iniPath(),
              "[ResourceManager]\nCacheLocationPath=\"/data/a, b\"\n"
              "OptimalCacheSize=banana\n");
    EXPECT_EQ(answerTo({ u"get"_s, u"CacheLocationPath"_s }), "/data/a, b\n");
    EXPECT_EQ(answerTo({ u"get"_s, u"maximumcachesize"_s }), "21474836480\n");
    const auto run = config({ u"get"_s, u"OptimalCacheSize"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->errors().contains("banana"));
    const QJsonObject answer = jsonOf(run->output());
    EXPECT_EQ(answer.value(u"key"_s).toString(), u"OptimalCacheSize"_s);
    EXPECT_EQ(answer.value(u"value"_s), QJsonValue(0));
    EXPECT_EQ(answer.value(u"origin"_s).toString(), u"iniFile"_s);
    EXPECT_EQ(answer.value(u"warnings"_s).toArray().size(), 1);
}

TEST_F(ConfigCliTest, getAndSet_unknownKey_isCode2AndNamesTheKeys)
{
    for (const QStringList &arguments :
         { QStringList { u"get"_s, u"Colour"_s }, QStringList { u"set"_s, u"Colour"_s, u"1"_s } }) {
        const auto run = config(arguments + QStringList { u"--json"_s });
        EXPECT_EQ(run->exitCode(), 2);
        EXPECT_TRUE(run->errors().contains("\"Colour\"")) << run->errors().toStdString();
        EXPECT_TRUE(
            run->errors().contains("CacheLocationPath, OptimalCacheSize, MaximumCacheSize"));
        EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 2);
    }
    EXPECT_FALSE(QFile::exists(iniPath()));
}

TEST_F(ConfigCliTest, set_noFileYet_makesOneWithThisKeyAlone)
{
    EXPECT_EQ(answerTo({ u"set"_s, u"maximumCacheSize"_s, u"200GiB"_s }),
              "MaximumCacheSize  214748364800 (200.0 GiB)  " + iniPath().toUtf8() + "\n");
    EXPECT_EQ(readFile(iniPath()), "[ResourceManager]\nMaximumCacheSize=214748364800\n");
    const QString line = linesOf(answerTo({ u"show"_s })).at(2);
    EXPECT_TRUE(line.startsWith(u"MaximumCacheSize   214748364800 (200.0 GiB) "_s));
    EXPECT_TRUE(line.endsWith(u"  ini file"_s)) << qPrintable(line);
}

TEST_F(ConfigCliTest, set_directory_isUsedByTheNextCommand)
{
    answerTo({ u"set"_s, u"CacheLocationPath"_s, cache.baseDir() + u"//x, y/.."_s });
    EXPECT_EQ(written(u"ResourceManager/CacheLocationPath"_s).toString(), cache.baseDir());
    answerTo({ u"set"_s, u"CacheLocationPath"_s, cache.outside(u"ä, b=c;d"_s) });
    const auto get = config({ u"get"_s, u"CacheLocationPath"_s });
    EXPECT_EQ(get->exitCode(), 0);
    EXPECT_EQ(get->errors(), "");
    EXPECT_EQ(get->output(), cache.outside(u"ä, b=c;d"_s).toUtf8() + '\n');
}

TEST_F(ConfigCliTest, set_json_tellsWhatWasWritten)
{
    const QJsonObject answer
        = jsonOf(answerTo({ u"set"_s, u"OptimalCacheSize"_s, u"5"_s, u"--json"_s }));
    EXPECT_EQ(answer.value(u"key"_s).toString(), u"OptimalCacheSize"_s);
    EXPECT_EQ(answer.value(u"value"_s).toInt(), 5);
    EXPECT_EQ(answer.value(u"file"_s).toString(), iniPath());
    EXPECT_TRUE(answer.value(u"exists"_s).toBool());
}

TEST_F(ConfigCliTest, set_otherKeysInTheFile_stay)
{
    writeFile(iniPath(),
              "[General]\ncolour=red\n[Host]\nwindow\\size=@Size(10 20)\nlist=a, b\n"
              "[ResourceManager]\nMaximumCacheSize=banana\nFuture=\"x;y\"\n"
              "OptimalCacheSize=7\n");
    expectRefused(u"OptimalCacheSize"_s, u"8"_s, u"above the maximum 0"_s);
    answerTo({ u"set"_s, u"CacheLocationPath"_s, u"/c"_s });
    EXPECT_EQ(written(u"colour"_s).toString(), u"red"_s);
    EXPECT_EQ(written(u"Host/window/size"_s).toSize(), QSize(10, 20));
    EXPECT_EQ(written(u"Host/list"_s).toStringList(), (QStringList { u"a"_s, u"b"_s }));
    EXPECT_EQ(written(u"ResourceManager/Future"_s).toString(), u"x;y"_s);
    EXPECT_EQ(written(u"ResourceManager/MaximumCacheSize"_s).toString(), u"banana"_s);
    EXPECT_EQ(written(u"ResourceManager/OptimalCacheSize"_s).toInt(), 7);
    EXPECT_EQ(written(u"ResourceManager/CacheLocationPath"_s).toString(), u"/c"_s);
}

TEST_F(ConfigCliTest, set_commentsInTheFile_goAndThatIsSaid)
{
    writeFile(iniPath(), "; mine\n[ResourceManager]\nOptimalCacheSize=7\n");
    const auto run = config({ u"set"_s, u"OptimalCacheSize"_s, u"8"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->errors().contains("comments of " + iniPath().toUtf8() + " are gone"))
        << run->errors().toStdString();
    EXPECT_EQ(readFile(iniPath()), "[ResourceManager]\nOptimalCacheSize=8\n");
    EXPECT_EQ(config({ u"set"_s, u"OptimalCacheSize"_s, u"9"_s })->exitCode(), 0);
}

TEST_F(ConfigCliTest, set_linesThatAreNoSettings_isCode4AndChangesNothing)
{
    const QList<QByteArray> contents {
        "# mine\n[ResourceManager]\nOptimalCacheSize=7\n",
        "[ResourceManager]\nnonsense\nOptimalCacheSize=7\n",
        "[ResourceManager]\nOptimalCacheSize=7\n[Host]\nnonsense\n",
    };
    for (const QByteArray &content : contents) {
        writeFile(iniPath(), content);
        const auto run = config({ u"set"_s, u"OptimalCacheSize"_s, u"8"_s });
        EXPECT_EQ(run->exitCode(), 4) << content.toStdString();
        EXPECT_TRUE(run->errors().contains("has lines that are no settings"))
            << run->errors().toStdString();
        EXPECT_EQ(readFile(iniPath()), content);
        const auto show = config({ u"show"_s });
        EXPECT_EQ(show->exitCode(), 0);
        EXPECT_TRUE(show->errors().contains("has lines that are no settings"))
            << content.toStdString();
    }
}

TEST_F(ConfigCliTest, set_badValues_areCode2AndChangeNothing)
{
    for (const QString &value : { u"banana"_s, u"0"_s, u"99999999999999999999"_s, u""_s })
        expectRefused(u"MaximumCacheSize"_s, value, u"is no size above 0"_s);
    expectRefused(u"OptimalCacheSize"_s, u"21GiB"_s, u"above the maximum 21474836480"_s);
    expectRefused(u"MaximumCacheSize"_s, u"9GiB"_s, u"the optimal size 10737418240"_s);
    expectRefused(u"CacheLocationPath"_s, u""_s, u"must not be empty"_s);
    expectRefused(u"CacheLocationPath"_s, u"data/cache"_s, u"is no absolute directory"_s);
    writeFile(iniPath(), "[ResourceManager]\nOptimalCacheSize=7\n");
    expectRefused(u"MaximumCacheSize"_s, u"6"_s, u"the optimal size 7"_s);
}

TEST_F(ConfigCliTest, set_negativeSize_isCode2)
{
    for (const QStringList &end : { QStringList { u"-5"_s }, QStringList { u"--"_s, u"-5"_s } }) {
        const auto run = config(QStringList { u"set"_s, u"MaximumCacheSize"_s } + end);
        EXPECT_EQ(run->exitCode(), 2) << run->errors().toStdString();
        EXPECT_EQ(run->output(), "");
    }
    EXPECT_FALSE(QFile::exists(iniPath()));
}

TEST_F(ConfigCliTest, set_placeThatCannotBeWritten_isCode1AndSaysWhere)
{
    // A folder of that name: nobody, whatever his rights, can write a file there.
    ASSERT_TRUE(QDir().mkpath(iniPath() + u"/x"_s));
    const auto run = config({ u"set"_s, u"MaximumCacheSize"_s, u"200GiB"_s });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_TRUE(run->errors().contains(iniPath().toUtf8())) << run->errors().toStdString();
    const auto show = config({ u"show"_s });
    EXPECT_EQ(show->exitCode(), 0);
    EXPECT_TRUE(show->errors().contains("cannot be read")) << show->errors().toStdString();
}

TEST_F(ConfigCliTest, set_manyAtOnce_loseNothing)
{
    std::vector<std::unique_ptr<ProgramRun>> runs;
    for (int i = 0; i < 4; ++i) {
        runs.push_back(config({ u"set"_s, u"OptimalCacheSize"_s, u"5"_s }));
        runs.push_back(config({ u"set"_s, u"MaximumCacheSize"_s, u"100GiB"_s }));
        runs.push_back(config({ u"set"_s, u"CacheLocationPath"_s, u"/c"_s }));
    }
    for (const auto &run : runs)
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(readFile(iniPath()),
              "[ResourceManager]\nCacheLocationPath=/c\n"
              "MaximumCacheSize=107374182400\nOptimalCacheSize=5\n");
    EXPECT_EQ(QDir(home.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList { u"resource_manager_settings.ini"_s });
}

TEST_F(ConfigCliTest, path_always_isTheFileThatSetWrites)
{
    EXPECT_EQ(answerTo({ u"path"_s }), iniPath().toUtf8() + '\n');
    const QJsonObject answer = jsonOf(answerTo({ u"path"_s, u"--json"_s }));
    EXPECT_EQ(answer.value(u"file"_s).toString(), iniPath());
    EXPECT_FALSE(answer.value(u"exists"_s).toBool(true));
}

TEST_F(ConfigCliTest, everyAction_fileBesideTheProgram_isTheOneThatCounts)
{
    const QString copy = cache.outside(u"zelcache"_s);
    ASSERT_TRUE(QFile::copy(program(), copy));
    const QString pinned = cache.outside(u"resource_manager_settings.ini"_s);
    writeFile(pinned, "[ResourceManager]\nOptimalCacheSize=7\n");
    writeFile(iniPath(), "[ResourceManager]\nOptimalCacheSize=8\n");
    const auto answer = [&](const QStringList &arguments) {
        ProgramRun::Options options;
        options.environment = environment();
        ProgramRun run(copy, QStringList { u"config"_s } + arguments, options);
        EXPECT_EQ(run.exitCode(), 0) << run.errors().toStdString();
        return run.output();
    };
    EXPECT_EQ(answer({ u"path"_s }), pinned.toUtf8() + '\n');
    EXPECT_EQ(answer({ u"get"_s, u"OptimalCacheSize"_s }), "7\n");
    answer({ u"set"_s, u"OptimalCacheSize"_s, u"9"_s });
    EXPECT_EQ(readFile(pinned), "[ResourceManager]\nOptimalCacheSize=9\n");
    EXPECT_EQ(written(u"ResourceManager/OptimalCacheSize"_s).toInt(), 8);
}

TEST_F(ConfigCliTest, show_noise_warnsAndIsTheDefaults)
{
    QByteArray noise;
    for (int i = 0; i < 5000; ++i)
        noise.append(char(i * 7919 >> 3));
    writeFile(iniPath(), noise);
    const auto run = config({ u"show"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->errors().contains("warning: ")) << run->errors().toStdString();
    EXPECT_TRUE(run->output().contains("10737418240 (10.0 GiB)"));
    EXPECT_EQ(config({ u"set"_s, u"OptimalCacheSize"_s, u"9"_s })->exitCode(), 4);
    EXPECT_EQ(readFile(iniPath()), noise);
}

TEST_F(ConfigCliTest, show_controlCharactersInAValue_doNotReachTheTerminal)
{
    writeFile(iniPath(),
              "[ResourceManager]\nCacheLocationPath=/a\\x1b[2J\nOptimalCacheSize=\\x1b[3J\n");
    const auto show = config({ u"show"_s });
    EXPECT_EQ(show->exitCode(), 0);
    EXPECT_FALSE(show->errors().contains('\x1b')) << show->errors().toStdString();
    EXPECT_TRUE(show->errors().contains("\\x1b[3J")) << show->errors().toStdString();
    PtyRun::Options options;
    options.environment = environment();
    options.environment.append(u"NO_COLOR=1"_s);
    PtyRun terminal(program(), { u"config"_s, u"show"_s }, options);
    EXPECT_EQ(terminal.exitCode(), 0);
    EXPECT_FALSE(terminal.seen().contains('\x1b')) << terminal.seen().toStdString();
    EXPECT_TRUE(terminal.seen().contains("/a\\x1b[2J")) << terminal.seen().toStdString();
}

} // namespace zel::test
