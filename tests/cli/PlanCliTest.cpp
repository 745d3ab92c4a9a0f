#include "ReadingCli.h"

#include "CacheProcess.h"
#include "NginxServer.h"
#include "Printers.h"

#include <QFileInfo>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class PlanCliTest : public ReadingCli
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
    QByteArray planned(const QStringList &arguments) const
    {
        const auto run = start(QStringList { u"get"_s, u"--plan"_s } + arguments);
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        return run->output();
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

TEST_F(PlanCliTest, plan_heldSemaphore_waitsForNobodyAndChangesNoRow)
{
    CacheProcess(cache.baseDir()).ask(u"close"_s);
    const QString wanted = sharedFile(u"new.raw"_s, "new");
    const QStringList command { u"get"_s, u"--plan"_s, wanted };
    EXPECT_EQ(answerWhileHeld(command).value(u"missingBytes"_s).toInt(), 3) << "an empty cache";

    const QString here = fill({ 600 }).constFirst();
    EXPECT_EQ(answerWhileHeld(command + QStringList { here }).value(u"missingBytes"_s).toInt(), 3);

    addHundredThousand();
    const QJsonObject answer = answerWhileHeld(command + QStringList { here });
    EXPECT_EQ(textsOf(answer.value(u"missing"_s), u"reference"_s), QStringList { wanted });
    EXPECT_GT(answer.value(u"size"_s).toInteger(), 600);
}

TEST_F(PlanCliTest, plan_earlierFetchesFromTheHost_tellTheTime)
{
    NginxServer::Options slowly;
    slowly.bytesPerSecond = 1'000'000;
    const NginxServer server(slowly);
    server.addFile(u"first.raw"_s, QByteArray(1'500'000, 'f'));
    server.addFile(u"second.raw"_s, QByteArray(4'000'000, 's'));
    ASSERT_EQ(start({ u"get"_s, server.url(u"first.raw"_s) })->exitCode(), 0);

    const QString wanted = server.url(u"second.raw"_s);
    const QJsonObject answer = jsonOf(planned({ u"--json"_s, wanted }));
    const qint64 rate = answer.value(u"missing"_s)[0][u"bytesPerSecond"_s].toInteger();
    ASSERT_GT(rate, 100'000);
    EXPECT_EQ(answer.value(u"seconds"_s).toInteger(), (4'000'000 + rate - 1) / rate);
    EXPECT_TRUE(linesOf(planned({ wanted })).at(2).startsWith(u"Time: about 0:"_s));

    // Of a share nothing is known.
    const QString ofShare = sharedFile(u"new.raw"_s, "new");
    EXPECT_TRUE(linesOf(planned({ wanted, ofShare })).contains(u"Time: unknown"_s));
}

TEST_F(PlanCliTest, plan_noFetchFromTheHost_timeIsUnknown)
{
    fill({ 600 });
    const NginxServer server;
    server.addFile(u"run.raw"_s, QByteArray(1'500'000, 'f'));
    EXPECT_TRUE(linesOf(planned({ server.url(u"run.raw"_s) })).contains(u"Time: unknown"_s));
    const QJsonObject answer = jsonOf(planned({ u"--json"_s, server.url(u"run.raw"_s) }));
    EXPECT_TRUE(answer.contains(u"seconds"_s));
    EXPECT_TRUE(answer.value(u"seconds"_s).isNull());
}

TEST_F(PlanCliTest, plan_noCache_isCode8AndMakesNone)
{
    EXPECT_EQ(start({ u"get"_s, u"--plan"_s, u"share:/a"_s })->exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

} // namespace zel::test
