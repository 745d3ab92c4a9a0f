#include "ZelcacheCli.h"

#include "Printers.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class UsageCliTest : public ZelcacheCli
{
};

TEST_F(UsageCliTest, help_always_isAnAnswer)
{
    const auto run = start({ u"--help"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->output().contains("Exit codes:"));
    EXPECT_EQ(run->errors(), "");
}

TEST_F(UsageCliTest, version_always_isAnAnswer)
{
    const auto run = start({ u"--version"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->output().startsWith("zelcache "));
}

TEST_F(UsageCliTest, mistake_always_isCode2AndSaidBesideTheAnswer)
{
    for (const QStringList &arguments : { QStringList {}, QStringList { u"get"_s },
                                          QStringList { u"status"_s, u"--nonsense"_s } }) {
        const auto run = start(arguments);
        EXPECT_EQ(run->exitCode(), 2);
        EXPECT_EQ(run->output(), "");
        EXPECT_TRUE(run->errors().contains("--help"));
    }
}

TEST_F(UsageCliTest, mistake_always_leavesTheCacheAlone)
{
    const auto run = start({ u"get"_s });
    EXPECT_EQ(run->exitCode(), 2);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

TEST_F(UsageCliTest, reference_empty_isCode2)
{
    ASSERT_EQ(start({ u"exists"_s, sharedFile(u"run"_s, "x") })->exitCode(), 0);
    for (const QStringList &arguments :
         { QStringList { u"path"_s, QString() }, QStringList { u"info"_s, QString() },
           QStringList { u"policy"_s, QString() }, QStringList { u"get"_s, QString() } }) {
        const auto run = start(arguments);
        EXPECT_EQ(run->exitCode(), 2) << qPrintable(arguments.constFirst());
        EXPECT_EQ(run->output(), "");
    }
}

} // namespace zel::test
