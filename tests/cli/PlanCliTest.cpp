#include "RemovalCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QFileInfo>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class PlanCliTest : public RemovalCli
{
protected:
    QJsonObject plan(qint64 optimal, qint64 maximum, const QStringList &references, int exitCode)
    {
        const QStringList before = rows();
        const auto run
            = startWithSettings(settingsWith(optimal, maximum),
                                QStringList { u"get"_s, u"--plan"_s, u"--json"_s } + references);
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        EXPECT_EQ(rows(), before) << "a plan has changed something";
        CacheDatabase database(cache.databasePath());
        EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
        return jsonOf(run->output());
    }
};

TEST_F(PlanCliTest, plan_whatWouldGo_isWhatThenGoes)
{
    const QStringList references = fill({ 600, 600, 600 });
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(500, 'n'));
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);

    const QJsonObject answer = plan(2000, 4000, { wanted, references.at(1) }, 0);
    EXPECT_EQ(textsOf(answer.value(u"missing"_s), u"reference"_s), QStringList { wanted });
    EXPECT_EQ(answer.value(u"missingBytes"_s).toInt(), 500);
    // One is used by another program, one is asked for.
    EXPECT_EQ(textsOf(answer.value(u"evicted"_s), u"reference"_s), references.last(1));
    EXPECT_TRUE(answer.value(u"fits"_s).toBool());
}

TEST_F(PlanCliTest, plan_whatCannotFit_isCode7)
{
    fill({ 600 });
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(5000, 'n'));
    EXPECT_FALSE(plan(2000, 4000, { wanted }, 7).value(u"fits"_s).toBool());
}

TEST_F(PlanCliTest, plan_noSource_sizeIsUnknown)
{
    fill({ 600 });
    const auto run = start({ u"get"_s, u"--plan"_s, u"share:/no/such/file"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(linesOf(run->output()).at(0).contains(u"unknown"_s));
    EXPECT_TRUE(run->errors().contains("share:/no/such/file")) << run->errors().toStdString();
}

TEST_F(PlanCliTest, plan_list_isReadAndNothingElseIsSaid)
{
    fill({ 600 });
    writeFile(cache.outside(u"list"_s), sharedFile(u"new.raw"_s, "new").toUtf8() + '\n');
    const auto run = start({ u"get"_s, u"--plan"_s, u"-f"_s, cache.outside(u"list"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->errors(), "");
    EXPECT_TRUE(linesOf(run->output()).contains(u"1 resource to fetch, 3 B"_s));
}

TEST_F(PlanCliTest, plan_noCache_isCode8AndMakesNone)
{
    EXPECT_EQ(start({ u"get"_s, u"--plan"_s, u"share:/a"_s })->exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

} // namespace zel::test
