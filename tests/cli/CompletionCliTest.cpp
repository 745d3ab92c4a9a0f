#include "ZelcacheCli.h"

#include "Printers.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What bash would offer for a line.
class CompletionCliTest : public ZelcacheCli
{
protected:
    /// `words` as bash splits the line, the one at the cursor last.
    QStringList offered(const QStringList &words,
                        const QString &program = ZelcacheCli::program()) const
    {
        QString line = words.join(u' ');
        line.replace(u" : "_s, u":"_s); // where bash splits, there need not be a blank
        QStringList quoted;
        for (const QString &word : words)
            quoted.append(u'\'' + word + u'\'');
        const QString script = u"source '%1'; COMP_WORDS=('%2' %3); COMP_CWORD=%4; "
                               "COMP_LINE='zelcache %5'; COMP_POINT=${#COMP_LINE}; "
                               "_zelcache; printf '%s\\n' \"${COMPREPLY[@]}\""_s;
        ProgramRun::Options options;
        options.environment = environment();
        ProgramRun bash(u"bash"_s,
                        { u"--norc"_s, u"-c"_s,
                          script.arg(QStringLiteral(ZELCACHE_COMPLETION), program,
                                     quoted.join(u' '), QString::number(words.size()), line) },
                        options);
        EXPECT_EQ(bash.exitCode(), 0) << bash.errors().toStdString();
        EXPECT_EQ(bash.errors(), QByteArray());
        QStringList lines = linesOf(bash.output());
        lines.removeAll(QString());
        lines.sort();
        return lines;
    }
};

} // namespace

TEST_F(CompletionCliTest, command_beginning_isCompleted)
{
    EXPECT_EQ(offered({ u"stat"_s }), QStringList(u"status"_s));
    EXPECT_EQ(offered({ u"p"_s }), (QStringList { u"path"_s, u"policy"_s, u"purge"_s }));
    EXPECT_GT(offered({ QString() }).size(), 10);
}

TEST_F(CompletionCliTest, option_beginning_isCompletedFromTheHelpOfTheCommand)
{
    EXPECT_EQ(offered({ u"list"_s, u"--s"_s }), (QStringList { u"--sort"_s, u"--status"_s }));
    EXPECT_EQ(offered({ u"purge"_s, u"--dry"_s }), QStringList(u"--dry-run"_s));
    EXPECT_EQ(offered({ u"get"_s, u"--js"_s }), QStringList(u"--json"_s));
    EXPECT_EQ(offered({ u"get"_s, u"--sort"_s }), QStringList());
}

TEST_F(CompletionCliTest, reference_beginning_isCompletedFromTheCache)
{
    const QString one = sharedFile(u"run1.raw"_s, "one");
    const QString two = sharedFile(u"run 2.raw"_s, "two");
    ASSERT_EQ(start({ u"get"_s, one, two })->exitCode(), 0);
    const QStringList named { u"--cache"_s, cache.baseDir() };

    // Bash has split the word at its colon; what stands before it must not come twice.
    const QString folder = one.chopped(8);
    EXPECT_EQ(offered(named + QStringList { u"get"_s, folder + u"run1"_s }),
              QStringList(one.section(u':', 1)));
    EXPECT_EQ(offered(named + QStringList { u"get"_s, folder + u"run%"_s }),
              QStringList((folder + u"run%202.raw"_s).section(u':', 1)));
    EXPECT_EQ(offered(named + QStringList { u"get"_s, u"share"_s }).size(), 2);
    EXPECT_EQ(offered(named + QStringList { u"get"_s, u"nothing"_s }), QStringList());
}

TEST_F(CompletionCliTest, references_ofALargeCache_areFilteredByTheProgram)
{
    const QString reference = sharedFile(u"run1.raw"_s, "one");
    ASSERT_EQ(start({ u"get"_s, reference })->exitCode(), 0);
    // The one that is asked writes down what for.
    const QString spy = cache.outside(u"spy"_s);
    const QString asked = cache.outside(u"asked"_s);
    writeFile(
        spy,
        u"#!/bin/sh\necho \"$@\" >> '%1'\nexec '%2' \"$@\"\n"_s.arg(asked, program()).toUtf8());
    ASSERT_TRUE(QFile::setPermissions(spy, QFile::Permissions(0x7755)));
    EXPECT_EQ(offered({ u"--cache"_s, cache.baseDir(), u"get"_s, reference.chopped(5) }, spy),
              QStringList(reference.section(u':', 1)));
    const QString expected = u"--cache %1 list --references --prefix %2\n"_s.arg(
        cache.baseDir(), reference.chopped(5));
    EXPECT_TRUE(readFile(asked).endsWith(expected.toUtf8())) << readFile(asked).toStdString();
    EXPECT_LE(readFile(asked).count('\n'), 3);
}

TEST_F(CompletionCliTest, cache_inEachOfItsForms_isTheOneThatIsAsked)
{
    const QString reference = sharedFile(u"run1.raw"_s, "one");
    ASSERT_EQ(start({ u"get"_s, reference })->exitCode(), 0);
    ASSERT_TRUE(QFile::link(cache.baseDir(), home.filePath(u"mine"_s)));
    const QStringList found(reference.section(u':', 1));
    EXPECT_EQ(offered({ u"--cache="_s + cache.baseDir(), u"get"_s, u"share:"_s }), found);
    EXPECT_EQ(offered({ u"--cache=~/mine"_s, u"get"_s, u"share:"_s }), found);
    EXPECT_EQ(offered({ u"get"_s, u"--cache"_s, u"~/mine"_s, u"share:"_s }), found);
    EXPECT_EQ(offered({ u"--cache"_s, u"~/mi"_s }), QStringList(home.filePath(u"mine"_s)));
    EXPECT_EQ(offered({ u"--cache=~/mi"_s }), QStringList(home.filePath(u"mine"_s)));
}

TEST_F(CompletionCliTest, references_whereNoneMayStand_areNotOffered)
{
    const QString reference = sharedFile(u"run1.raw"_s, "one");
    ASSERT_EQ(start({ u"get"_s, reference })->exitCode(), 0);
    const QStringList found(reference.section(u':', 1));
    const auto inCache = [this](const QStringList &words) {
        return offered(QStringList { u"--cache"_s, cache.baseDir() } + words);
    };
    const QString begun = u"share:"_s;
    EXPECT_EQ(inCache({ u"who"_s, begun }), found);
    EXPECT_EQ(inCache({ u"who"_s, reference, begun }), QStringList());
    EXPECT_EQ(inCache({ u"hold"_s, u"--for"_s, u"1h"_s, reference, begun }), found);
    EXPECT_EQ(inCache({ u"hold"_s, reference, u"--"_s, u"cat"_s, begun }), QStringList());
    EXPECT_EQ(inCache({ u"hold"_s, u"--for"_s, begun }), QStringList());
    EXPECT_EQ(inCache({ u"purge"_s, begun }), QStringList());
    EXPECT_EQ(inCache({ u"list"_s, u"--prefix"_s, begun }), found);
    EXPECT_EQ(inCache({ u"add"_s, reference, cache.outside(u"run"_s) }),
              QStringList(cache.outside(u"run1.raw"_s)));
}

TEST_F(CompletionCliTest, values_areThoseThatTheProgramTakes)
{
    EXPECT_EQ(offered({ u"policy"_s, u"share:/a"_s, QString() }),
              (QStringList { u"Never"_s, u"OnClose"_s, u"OnDemand"_s }));
    EXPECT_EQ(offered({ u"config"_s, QString() }),
              (QStringList { u"get"_s, u"path"_s, u"set"_s, u"show"_s }));
    EXPECT_EQ(offered({ u"config"_s, u"get"_s, u"Max"_s }), QStringList(u"MaximumCacheSize"_s));
    EXPECT_EQ(offered({ u"list"_s, u"--sort=s"_s }), QStringList(u"size"_s));
    // Where the program takes any letter case.
    EXPECT_EQ(offered({ u"list"_s, u"--format"_s, u"MZML"_s }), QStringList(u"Mzml"_s));
    EXPECT_EQ(offered({ u"list"_s, u"--status"_s, u"re"_s }), QStringList(u"Ready"_s));
    EXPECT_EQ(offered({ u"policy"_s, u"share:/a"_s, u"onc"_s }), QStringList(u"OnClose"_s));
    EXPECT_EQ(offered({ u"config"_s, u"get"_s, u"opt"_s }), QStringList(u"OptimalCacheSize"_s));
    ASSERT_EQ(start({ u"get"_s, sharedFile(u"run1.raw"_s, "one") })->exitCode(), 0);
    for (const QString &option : { u"--sort"_s, u"--status"_s, u"--format"_s }) {
        const QStringList values = offered({ u"list"_s, option, QString() });
        EXPECT_GT(values.size(), 2) << qPrintable(option);
        for (const QString &value : values)
            EXPECT_EQ(start({ u"list"_s, option, value })->exitCode(), 0) << qPrintable(value);
    }
}

namespace {

/// What bash makes of a line when Tab is pressed at its end.
class CompletionKeyCliTest : public ZelcacheCli, public testing::WithParamInterface<const char *>
{
protected:
    /// The line that is there afterwards.
    QByteArray completed(const QByteArray &typed) const
    {
        PtyRun::Options options;
        options.columns = 1000; // so that no line is broken
        options.environment = environment()
            + QStringList { u"TERM=dumb"_s, u"INPUTRC=/dev/null"_s,
                            u"PATH=%1:%2"_s.arg(QFileInfo(program()).path(),
                                                qEnvironmentVariable("PATH")) };
        PtyRun bash(QStandardPaths::findExecutable(u"bash"_s),
                    { u"--norc"_s, u"--noprofile"_s, u"-i"_s }, options);
        // Ctrl-O shows the line as it stands.
        bash.type("source '" ZELCACHE_COMPLETION "'; "
                  R"(bind -x '"\C-o": printf "<%s>\n" "$READLINE_LINE"'; echo rea""dy)"
                  "\n");
        bash.waitFor("ready\r\n");
        bash.type("zelcache --cache " + cache.baseDir().toUtf8() + " get " + typed + "\t\x0f");
        bash.waitForSeen(u"the line"_s, [](const QByteArray &seen) {
            return seen.lastIndexOf(">\r\n") > seen.lastIndexOf('<') && seen.contains('<');
        });
        bash.type("\x15"
                  "exit\n");
        EXPECT_EQ(bash.exitCode(), 0);
        QByteArray line = bash.seen();
        line = line.mid(line.lastIndexOf('<') + 1);
        line.truncate(line.indexOf(">\r\n"));
        return line.mid(line.indexOf(" get ") + 5);
    }
};

/// "typed -> completed".
const char *const keys[] {
    R"(lims:a -> lims:a\ b\$1\ \"c\'d )",
    R"(lims:a\ b -> lims:a\ b\$1\ \"c\'d )",
    R"("lims:a b -> "lims:a b\$1 \"c'd" )",
    R"("lims:a b\$ -> "lims:a b\$1 \"c'd" )",
    R"('lims:a b$ -> 'lims:a b$1 "c'\''d' )",
    R"(lims:"a b -> lims:"a b\$1 \"c'd" )",
    R"("lims:a"\ b -> lims:a\ b\$1\ \"c\'d )",
    R"("share:/x" "lims:sam -> "share:/x" "lims:sam@x:y" )",
    R"(lims:sam@ -> lims:sam@x:y )",
    R"(lims:sam@x: -> lims:sam@x:y )",
    R"('lims:sam@x: -> 'lims:sam@x:y' )",
    R"("l -> "lims:)",
};

} // namespace

TEST_P(CompletionKeyCliTest, tab_inAReference_completesItAsBashReadsIt)
{
    ASSERT_EQ(start({ u"path"_s, sharedFile(u"run1.raw"_s, "one") })->exitCode(), 3); // a cache
    for (const QString &reference : { u"lims:a b$1 \"c'd"_s, u"lims:sam@x:y"_s }) {
        CacheDatabase(cache.databasePath())
            .run(u"INSERT INTO CachedResources(reference, status, cleanupPolicy, "
                 "lastAccessDateTime, lastStatusUpdateClientId) "
                 "VALUES(?, 'Missing', 'OnDemand', 1, 1)"_s,
                 { reference });
    }
    const QByteArray key = GetParam();
    const qsizetype arrow = key.indexOf(" -> ");
    EXPECT_EQ(completed(key.left(arrow)), key.mid(arrow + 4));
}

INSTANTIATE_TEST_SUITE_P(Each, CompletionKeyCliTest, testing::ValuesIn(keys),
                         [](const auto &key) { return std::to_string(key.index); });

} // namespace zel::test
