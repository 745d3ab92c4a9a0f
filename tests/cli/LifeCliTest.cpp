#include "RemovalCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QDateTime>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// What all commands tell of programs that are gone.
class LifeCliTest : public RemovalCli
{
protected:
    /// Enters a client under the number of a process that has nothing to do with the cache.
    void enterStranger(qint64 lastPing)
    {
        CacheDatabase(cache.databasePath())
            .run(u"INSERT INTO Clients (id, processId, lastPingTime) VALUES (77, ?, ?)"_s,
                 { stranger.processId(), lastPing });
    }
    /// Its client still counts, but pinged before the process was started.
    void enterReused() { enterStranger(beforeStranger - 10'000); }

    void letItUseAll()
    {
        CacheDatabase(cache.databasePath())
            .run(u"INSERT INTO ResourceUsages (resourceId, clientId) "
                 "SELECT id, 77 FROM CachedResources"_s);
    }
    void letItFetchTheFirst()
    {
        CacheDatabase database(cache.databasePath());
        database.run(
            u"INSERT INTO AcquiringTasks (resourceId, progress, clientId) VALUES (1, 40, 77)"_s);
        database.run(u"UPDATE CachedResources SET status = 'Acquiring' WHERE id = 1"_s);
    }

    static qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }
    QString number() const { return QString::number(stranger.processId()); }

    QJsonObject answerOf(const QStringList &arguments, int exitCode) const
    {
        const auto run = start(arguments + QStringList { u"--json"_s });
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        EXPECT_FALSE(run->errors().contains("sleep")) << run->errors().toStdString();
        return jsonOf(run->output());
    }

    void expectNameless(const QJsonValue &processes) const
    {
        ASSERT_EQ(processes.toArray().size(), 1);
        const QJsonObject process = processes[0].toObject();
        EXPECT_EQ(process.value(u"process"_s).toInteger(), stranger.processId());
        EXPECT_EQ(process.value(u"program"_s), QJsonValue(QJsonValue::Null));
    }

    const qint64 beforeStranger = now();
    ProgramRun stranger { u"sleep"_s, QStringList { u"1000"_s } };
};

TEST_F(LifeCliTest, commandsThatNameUsers_numberReused_nameNoProgram)
{
    const QString reference = fill({ 500 }).at(0);
    CacheDatabase(cache.databasePath()).run(u"UPDATE CachedResources SET version = '0.9'"_s);
    enterReused();
    letItUseAll();
    expectNameless(answerOf({ u"purge"_s, u"--to"_s, u"0"_s, u"-n"_s }, 3)
                       .value(u"pinned"_s)[0][u"processes"_s]);
    expectNameless(
        answerOf({ u"remove"_s, u"-n"_s, reference }, 3).value(u"results"_s)[0][u"processes"_s]);
    expectNameless(answerOf({ u"outdated"_s, u"-n"_s }, 0).value(u"removed"_s)[0][u"processes"_s]);
    expectNameless(answerOf({ u"verify"_s }, 0).value(u"results"_s)[0][u"processes"_s]);
    expectNameless(answerOf({ u"who"_s, reference }, 0).value(u"holders"_s));

    const auto text = start({ u"purge"_s, u"--to"_s, u"0"_s, u"-n"_s });
    EXPECT_EQ(text->exitCode(), 3);
    const QByteArray said = "is in use by process " + number().toLatin1() + "\n";
    EXPECT_TRUE(text->errors().contains(said)) << text->errors().toStdString();
}

TEST_F(LifeCliTest, remove_numberOfTheFetcherReused_namesNoProgram)
{
    const QString reference = fill({ 500 }).at(0);
    enterReused();
    letItFetchTheFirst();
    const QJsonValue result
        = answerOf({ u"remove"_s, u"-n"_s, reference }, 3).value(u"results"_s)[0];
    expectNameless(result[u"processes"_s]);
    EXPECT_TRUE(result[u"error"_s][u"message"_s].toString().endsWith(
        u"It is being fetched by process %1."_s.arg(number())));
}

TEST_F(LifeCliTest, commandsThatNameUsers_numberOfAnotherContainer_nameNoProgram)
{
    const QString reference = fill({ 500 }).at(0);
    enterStranger(now());
    letItUseAll();
    expectNameless(answerOf({ u"purge"_s, u"--to"_s, u"0"_s, u"-n"_s }, 3)
                       .value(u"pinned"_s)[0][u"processes"_s]);
    const QJsonValue holder = answerOf({ u"who"_s, reference }, 0).value(u"holders"_s)[0];
    EXPECT_EQ(holder[u"state"_s].toString(), u"dead"_s);
    EXPECT_TRUE(holder[u"counts"_s].toBool());
    const QJsonValue client = answerOf({ u"status"_s }, 0).value(u"clients"_s)[0];
    EXPECT_EQ(client[u"state"_s].toString(), u"dead"_s);
    EXPECT_TRUE(client[u"counts"_s].toBool());
}

TEST_F(LifeCliTest, why_holderWasKilled_isWaitedForAndNotClosed)
{
    const QStringList references = fill({ 600, 600, 600, 600 });
    CacheProcess user(cache.baseDir());
    for (const QString &reference : references)
        ASSERT_EQ(user.ask(u"useResource "_s + reference), u"ok"_s);
    user.kill();
    const QByteArray settings = settingsWith(2000, 10'000);
    const auto run = startWithSettings(settings, { u"why"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QJsonValue holder = jsonOf(run->output()).value(u"holders"_s)[0];
    EXPECT_EQ(holder[u"state"_s].toString(), u"dead"_s);
    EXPECT_FALSE(holder[u"closing"_s].toBool(true));
    EXPECT_EQ(holder[u"countsUntil"_s].toInteger(), holder[u"lastPing"_s].toInteger() + 30'000);

    const auto text = startWithSettings(settings, { u"why"_s });
    EXPECT_EQ(text->exitCode(), 0);
    EXPECT_FALSE(text->output().contains("Closing")) << text->output().toStdString();
    const QStringList lines = linesOf(text->output());
    ASSERT_EQ(lines.size(), 4);
    EXPECT_TRUE(lines.at(2).contains(u"; without a ping it stops counting in "_s))
        << qPrintable(lines.at(2));
    EXPECT_EQ(lines.at(3),
              u"The purge reaches its target once what is not alive has stopped counting."_s);
}

TEST_F(LifeCliTest, status_numberReused_isToldAsByTheBoard)
{
    fill({ 500 });
    enterReused();
    letItFetchTheFirst();
    const QJsonObject once = answerOf({ u"status"_s }, 0);
    const auto board = startInShell(u"$zelcache status --watch --json | head -n 1"_s);
    EXPECT_EQ(board->exitCode(), 0) << board->errors().toStdString();
    const QJsonObject watched = jsonOf(board->output());
    EXPECT_EQ(once.value(u"clients"_s), watched.value(u"clients"_s));
    EXPECT_EQ(once.value(u"fetches"_s), watched.value(u"fetches"_s));

    const QJsonValue client = once.value(u"clients"_s)[0];
    EXPECT_EQ(client[u"state"_s].toString(), u"reused"_s);
    EXPECT_FALSE(client[u"alive"_s].toBool(true));
    EXPECT_TRUE(client[u"counts"_s].toBool());
    EXPECT_EQ(client[u"program"_s], QJsonValue(QJsonValue::Null));
    EXPECT_TRUE(client[u"lastPing"_s].isDouble());
    EXPECT_EQ(once.value(u"fetches"_s)[0][u"state"_s].toString(), u"reused"_s);
}

TEST_F(LifeCliTest, statusText_fetcherIsDead_saysSo)
{
    fill({ 500 });
    enterReused();
    letItFetchTheFirst();
    CacheDatabase(cache.databasePath()).setLastPing(77, std::chrono::minutes(10));
    const auto run = start({ u"status"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QString dead
        = u"process %1 (dead, its number is another program's now, last seen 10:0"_s.arg(number());
    const QString text = QString::fromUtf8(run->output());
    EXPECT_TRUE(text.contains(u"Programs:     "_s + dead)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"40%     "_s + dead)) << qPrintable(text);
}

TEST_F(LifeCliTest, doctor_numberReusedSoon_isJudgedAsByTheOthers)
{
    fill({ 500 });
    enterStranger(beforeStranger - 1500);
    const QJsonValue client = answerOf({ u"status"_s }, 0).value(u"clients"_s)[0];
    EXPECT_EQ(client[u"state"_s].toString(), u"reused"_s);
    const auto run = start({ u"doctor"_s, u"--json"_s });
    EXPECT_TRUE(run->exitCode() >= 0) << run->errors().toStdString();
    EXPECT_TRUE(
        textsOf(jsonOf(run->output()).value(u"findings"_s), u"id"_s).contains(u"client-reused"_s))
        << run->output().toStdString();
}

} // namespace zel::test
