#include "ZelcacheCli.h"

#include "Printers.h"

#include <QDir>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class FormatsCliTest : public ZelcacheCli
{
protected:
    QString file(const QString &name) const
    {
        writeFile(cache.outside(name), "x");
        return cache.outside(name);
    }

    static QJsonObject firstResult(const std::unique_ptr<ProgramRun> &run)
    {
        return jsonOf(run->output()).value(u"results"_s).toArray().at(0).toObject();
    }
};

TEST_F(FormatsCliTest, formats_noPath_isTheTable)
{
    const auto run = start({ u"formats"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(run->errors(), "");
    const QStringList lines = linesOf(run->output());
    EXPECT_EQ(lines.size(), 26);
    EXPECT_TRUE(lines.at(0).startsWith(u"NAME "_s));
    EXPECT_TRUE(run->output().contains("Mzml              file            mzml       "
                                       "Open data format mzml\n"))
        << run->output().toStdString();
}

TEST_F(FormatsCliTest, formats_noPathJson_listsAll)
{
    const auto run = start({ u"formats"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QJsonArray formats = jsonOf(run->output()).value(u"formats"_s).toArray();
    ASSERT_EQ(formats.size(), 25);
    EXPECT_EQ(formats.at(0).toObject().value(u"name"_s).toString(), u"Testing"_s);
}

TEST_F(FormatsCliTest, formats_knownData_isToldForEachPath)
{
    file(u"w.raw/_FUNC001.DAT"_s);
    file(u"s.wiff.scan"_s);
    const auto run = start({ u"formats"_s, file(u"t.raw"_s), cache.outside(u"w.raw/"_s),
                             file(u"s.wiff"_s), file(u"m.MZML"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QByteArray folder = cache.outside(QString()).toUtf8() + '/';
    EXPECT_EQ(run->output(),
              "Thermo     " + folder + "t.raw\nWaters     " + folder + "w.raw/\nSciexWiff  "
                  + folder + "s.wiff\nMzml       " + folder + "m.MZML\n");
}

TEST_F(FormatsCliTest, formats_folderThatIsTheCurrentOne_hasItsName)
{
    file(u"w.raw/_FUNC001.DAT"_s);
    ProgramRun::Options options;
    options.workingDirectory = cache.outside(u"w.raw"_s);
    const auto run = start({ u"formats"_s, u"."_s }, options);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "Waters  .\n");
}

TEST_F(FormatsCliTest, formats_dataThatDoesNotShowIt_isByName)
{
    const QString lonely = file(u"a.wiff"_s);
    const auto run = start({ u"formats"_s, lonely });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(run->output(), "SciexWiff (by name)  " + lonely.toUtf8() + '\n');
    const auto json = start({ u"formats"_s, u"--json"_s, lonely });
    EXPECT_EQ(json->exitCode(), 0);
    EXPECT_TRUE(firstResult(json).value(u"byNameOnly"_s).toBool());
    EXPECT_TRUE(firstResult(json).value(u"exists"_s).toBool());
}

TEST_F(FormatsCliTest, formats_unknownData_isCode3)
{
    const QString readme = file(u"readme.txt"_s);
    const auto run = start({ u"formats"_s, file(u"m.mzml"_s), readme });
    EXPECT_EQ(run->exitCode(), 3);
    EXPECT_TRUE(run->output().contains("unknown  " + readme.toUtf8()))
        << run->output().toStdString();
    EXPECT_TRUE(run->output().contains("Mzml     ")) << run->output().toStdString();
    const auto json = start({ u"formats"_s, u"--json"_s, readme });
    EXPECT_EQ(json->exitCode(), 3);
    EXPECT_EQ(firstResult(json).value(u"formats"_s).toArray(), QJsonArray());
}

TEST_F(FormatsCliTest, formats_missingPath_isCode3WithItsAnswerByName)
{
    const QString missing = cache.outside(u"none.mzML"_s);
    const auto run = start({ u"formats"_s, missing });
    EXPECT_EQ(run->exitCode(), 3);
    EXPECT_TRUE(run->errors().contains('"' + missing.toUtf8() + "\" does not exist."));
    EXPECT_EQ(run->output(), "Mzml (by name)  " + missing.toUtf8() + '\n');
    const auto json = start({ u"formats"_s, u"--json"_s, missing });
    EXPECT_EQ(json->exitCode(), 3);
    EXPECT_FALSE(firstResult(json).value(u"exists"_s).toBool(true));
    EXPECT_EQ(firstResult(json).value(u"formats"_s).toArray(), QJsonArray { u"Mzml"_s });
}

TEST_F(FormatsCliTest, formats_oddNames_areAnsweredOneByOne)
{
    const QStringList odd { u""_s,     u"."_s,        u"/"_s,
                            u":"_s,    u":/x.mzML"_s, QString(5000, u'x'),
                            u"a\nb"_s, u"%1%n"_s,     u"*"_s,
                            u"ä日本"_s };
    const auto run = start(QStringList { u"formats"_s, u"--json"_s, u"--"_s, u"-x"_s } + odd);
    EXPECT_EQ(run->exitCode(), 3);
    const QJsonArray results = jsonOf(run->output()).value(u"results"_s).toArray();
    ASSERT_EQ(results.size(), odd.size() + 1);
    EXPECT_EQ(results.at(1).toObject().value(u"path"_s).toString(), QString());
    EXPECT_EQ(results.at(8).toObject().value(u"path"_s).toString(), u"%1%n"_s);
}

TEST_F(FormatsCliTest, formats_controlCharactersInAName_doNotReachTheTerminal)
{
    const auto run = startAtTerminal({ u"formats"_s, u"--no-progress"_s, file(u"a\x1b[2J.mzML"_s) },
                                     { .environment = { u"NO_COLOR=1"_s } });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_FALSE(run->seen().contains('\x1b')) << run->seen().toStdString();
    EXPECT_TRUE(run->seen().contains("a\\x1b[2J.mzML")) << run->seen().toStdString();
}

TEST_F(FormatsCliTest, formats_always_leavesCachesAlone)
{
    EXPECT_EQ(start({ u"formats"_s })->exitCode(), 0);
    EXPECT_EQ(start({ u"formats"_s, file(u"a.mzML"_s) })->exitCode(), 0);
    EXPECT_FALSE(QFile::exists(cache.databasePath()));
    EXPECT_EQ(QDir(home.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

} // namespace zel::test
