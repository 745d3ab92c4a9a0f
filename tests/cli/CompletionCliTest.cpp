#include "ZelcacheCli.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What bash would offer for a line.
class CompletionCliTest : public ZelcacheCli
{
protected:
    /// `words` as bash splits the line, the one at the cursor last.
    QStringList offered(const QStringList &words) const
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
                          script.arg(QStringLiteral(ZELCACHE_COMPLETION), program(),
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

} // namespace zel::test
