#include "ReadingCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class WhoCliTest : public ReadingCli
{
};

TEST_F(WhoCliTest, who_unused_saysSoAndSucceeds)
{
    const QString reference = fill({ 500 }).at(0);
    const auto run = start({ u"who"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "Nobody uses it, fetches it or waits for it.\n");
    EXPECT_EQ(run->errors(), "");
    EXPECT_TRUE(answerWhileHeld({ u"who"_s, reference }).value(u"holders"_s).toArray().isEmpty());
}

TEST_F(WhoCliTest, who_usersFetcherAndWaiter_areAllTold)
{
    const QString reference = fill({ 500 }).at(0);
    CacheProcess user(cache.baseDir());
    CacheProcess fetcher(cache.baseDir());
    CacheProcess waiter(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + reference), u"ok"_s);
    ASSERT_EQ(user.ask(u"useResource "_s + reference), u"ok"_s);
    ASSERT_EQ(fetcher.ask(u"add test:a OnDemand"_s), u"ok"_s);
    ASSERT_EQ(fetcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    ASSERT_EQ(waiter.ask(u"tryStartRetrieve test:a"_s), u"false"_s);

    const QJsonArray users = answerWhileHeld({ u"who"_s, reference }).value(u"holders"_s).toArray();
    ASSERT_EQ(users.size(), 1);
    const QJsonObject holder = users.at(0).toObject();
    EXPECT_EQ(holder.value(u"role"_s).toString(), u"uses"_s);
    EXPECT_EQ(holder.value(u"process"_s).toInteger(), user.pid());
    EXPECT_EQ(holder.value(u"program"_s).toString(), u"cache_actor"_s);
    EXPECT_EQ(holder.value(u"state"_s).toString(), u"alive"_s);
    EXPECT_TRUE(holder.value(u"counts"_s).toBool());

    const QJsonArray wanting
        = answerWhileHeld({ u"who"_s, u"test:a"_s }).value(u"holders"_s).toArray();
    ASSERT_GE(wanting.size(), 2);
    EXPECT_EQ(wanting.at(0).toObject().value(u"role"_s).toString(), u"fetches"_s);
    EXPECT_EQ(wanting.at(0).toObject().value(u"process"_s).toInteger(), fetcher.pid());
    EXPECT_TRUE(wanting.at(0).toObject().value(u"percent"_s).isDouble());
    EXPECT_EQ(wanting.at(1).toObject().value(u"role"_s).toString(), u"waits"_s);
    EXPECT_EQ(wanting.at(1).toObject().value(u"process"_s).toInteger(), waiter.pid());
}

TEST_F(WhoCliTest, who_userWasKilled_isDead)
{
    const QString reference = fill({ 500 }).at(0);
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + reference), u"ok"_s);
    user.kill();
    const auto run = start({ u"who"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.at(0).startsWith(
        u"uses     process %1, dead or not to be seen from here, last ping 0:"_s.arg(user.pid())))
        << qPrintable(lines.at(0));
}

TEST_F(WhoCliTest, who_userStandsStill_isSilentAndHoldsNothing)
{
    const QString reference = fill({ 500 }).at(0);
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + reference), u"ok"_s);
    user.stop();
    CacheDatabase(cache.databasePath()).setLastPing(user.clientId(), std::chrono::seconds(31));
    // Started after its last ping, the process would be taken for another one; this one was not,
    // and whether it has the cache open is not shown to everybody.
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE Clients SET processId = 1 WHERE id = ?"_s, { user.clientId() });
    const QStringList who { u"who"_s, reference, u"--json"_s };
    const auto run = ::geteuid() == 0 ? startWithoutRights(who) : start(who);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QJsonObject holder = jsonOf(run->output()).value(u"holders"_s)[0].toObject();
    EXPECT_EQ(holder.value(u"state"_s).toString(), u"silent"_s);
    EXPECT_FALSE(holder.value(u"counts"_s).toBool());
    user.cont();
}

TEST_F(WhoCliTest, who_numberBelongsToAnotherProgramNow_isReused)
{
    const QString reference = fill({ 500 }).at(0);
    CacheDatabase database(cache.databasePath());
    database.run(
        u"INSERT INTO Clients (id, processId, lastPingTime) VALUES (77, ?, 1700000000000)"_s,
        { QCoreApplication::applicationPid() });
    database.run(u"INSERT INTO ResourceUsages (resourceId, clientId) "
                 "SELECT id, 77 FROM CachedResources"_s);
    const auto run = start({ u"who"_s, reference, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QJsonObject holder = jsonOf(run->output()).value(u"holders"_s)[0].toObject();
    EXPECT_EQ(holder.value(u"state"_s).toString(), u"reused"_s);
    EXPECT_TRUE(holder.value(u"program"_s).isNull());
    EXPECT_EQ(holder.value(u"process"_s).toInteger(), QCoreApplication::applicationPid());
}

TEST_F(WhoCliTest, who_notInTheCache_isCode3AndAReferenceOfNoUseIsCode2)
{
    fill({ 500 });
    const QJsonObject answer = answerWhileHeld({ u"who"_s, u"share:/no/such/file"_s }, 3);
    EXPECT_EQ(answer.value(u"error"_s).toObject().value(u"code"_s).toInt(), 3);
    EXPECT_EQ(start({ u"who"_s, u"nonsense"_s })->exitCode(), 2);
    EXPECT_EQ(start({ u"who"_s })->exitCode(), 2);
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"CachedResources"_s), 1);
}

TEST_F(WhoCliTest, who_noCache_isCode8AndMakesNone)
{
    EXPECT_EQ(start({ u"who"_s, u"share:/a"_s })->exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

TEST_F(WhoCliTest, who_hundredThousandResources_findsTheOne)
{
    fill({ 500 });
    addHundredThousand();
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource lims:sample-99999.raw"_s), u"ok"_s);
    QElapsedTimer clock;
    clock.start();
    const QJsonObject answer = answerWhileHeld({ u"who"_s, u"lims:sample-99999.raw"_s });
    RecordProperty("milliseconds", int(clock.elapsed()));
    EXPECT_EQ(answer.value(u"holders"_s)[0][u"process"_s].toInteger(), user.pid());
}

TEST_F(WhoCliTest, who_referenceWithControlCharacters_cannotSteerTheTerminal)
{
    fill({ 500 });
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CachedResources SET reference = ?"_s, { u"lims:a\x1b[2Jb"_s });
    const auto run = startAtTerminal({ u"who"_s, u"lims:other\x1b[2Jb"_s });
    EXPECT_EQ(run->exitCode(), 2);
    EXPECT_FALSE(run->seen().contains("\x1b[2J")) << run->seen().toStdString();
}

} // namespace zel::test
