#include "RemovalCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QSystemSemaphore>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class OutdatedCliTest : public RemovalCli
{
protected:
    /// Lets the copy be of this version; null for one of none.
    void setVersion(const QString &reference, const QVariant &version) const
    {
        CacheDatabase(cache.databasePath())
            .run(u"UPDATE CachedResources SET version = ? WHERE reference = ?"_s,
                 { version, reference });
    }

    void setAllVersions(const QString &version) const
    {
        CacheDatabase(cache.databasePath())
            .run(u"UPDATE CachedResources SET version = ?"_s, { version });
    }
};

TEST_F(OutdatedCliTest, outdated_newCache_removesNothing)
{
    fill({ 500, 700 });
    const QStringList before = rows();
    const QJsonObject answer = rehearseAndRun({ u"outdated"_s }, 0);
    EXPECT_EQ(answer.keys(),
              (QStringList { u"command"_s, u"dryRun"_s, u"freed"_s, u"left"_s, u"removed"_s,
                             u"schema"_s }));
    EXPECT_TRUE(answer.value(u"removed"_s).toArray().isEmpty());
    EXPECT_EQ(rows(), before);
}

TEST_F(OutdatedCliTest, outdated_olderMajorVersions_goAndNoOthers)
{
    const QStringList references = fill({ 500, 600, 700, 800 });
    setVersion(references.at(0), u"0.9"_s);
    setVersion(references.at(1), u"1.7"_s);
    setVersion(references.at(2), QVariant());
    setVersion(references.at(3), u"2.0"_s);
    const QString path = pathOf(references.at(0));
    const QJsonObject answer = rehearseAndRun({ u"outdated"_s }, 0);
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s),
              (QStringList { references.at(0), references.at(2) }));
    EXPECT_EQ(answer.value(u"freed"_s).toInt(), 1200);
    const QJsonObject first = answer.value(u"removed"_s).toArray().at(0).toObject();
    EXPECT_EQ(first.value(u"size"_s).toInt(), 500);
    EXPECT_EQ(first.value(u"version"_s).toString(), u"0.9"_s);
    EXPECT_EQ(first.value(u"declaredVersion"_s).toString(), u"1.0"_s);
    EXPECT_TRUE(answer.value(u"removed"_s).toArray().at(1).toObject().value(u"version"_s).isNull());
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_EQ(readyReferences(), (QStringList { references.at(1), references.at(3) }));
    EXPECT_EQ(currentSize(), 1400);
}

TEST_F(OutdatedCliTest, outdated_dangerousPath_isRefusedAndTakesNothing)
{
    const QStringList references = fill({ 500, 600 });
    setAllVersions(u"0.9"_s);
    moveData(references.at(0), cache.dataDir() + u"/run.raw"_s);
    expectDangerNamed({ u"outdated"_s }, references.at(0));
    expectDangerNamed({ u"outdated"_s, u"--dry-run"_s }, references.at(0));
    EXPECT_TRUE(QFileInfo::exists(pathOf(references.at(1))));
    setVersion(references.at(0), u"99.0"_s);
    EXPECT_EQ(start({ u"outdated"_s })->exitCode(), 0);
    EXPECT_EQ(readyReferences(), references.first(1));
}

TEST_F(OutdatedCliTest, outdated_text_showsBothVersions)
{
    const QStringList references = fill({ 500, 2048 });
    setAllVersions(u"0.9"_s);
    const auto rehearsal = start({ u"outdated"_s, u"-n"_s });
    EXPECT_EQ(rehearsal->exitCode(), 0);
    EXPECT_EQ(linesOf(rehearsal->output()).constLast(), u"2 resources would go, 2.5 KiB"_s);
    const auto run = start({ u"outdated"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()),
              (QStringList { u"  500 B  0.9 -> 1.0  "_s + references.at(0),
                             u"2.0 KiB  0.9 -> 1.0  "_s + references.at(1),
                             u"2 resources removed, 2.5 KiB freed"_s }));
    EXPECT_EQ(run->errors(), "");
}

TEST_F(OutdatedCliTest, outdated_inUse_goesAllTheSameAndSaysWhoUsesIt)
{
    const QStringList references = fill({ 500 });
    setAllVersions(u"0.9"_s);
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    const QJsonObject answer = rehearseAndRun({ u"outdated"_s }, 0);
    const QJsonObject row = answer.value(u"removed"_s).toArray().at(0).toObject();
    EXPECT_EQ(row.value(u"processes"_s).toArray().at(0).toObject().value(u"process"_s).toInteger(),
              user.pid());
    EXPECT_TRUE(readyReferences().isEmpty());
}

TEST_F(OutdatedCliTest, outdated_referenceOfAnUnknownScheme_failsAsAWholeAndNamesIt)
{
    fill({ 500 });
    setAllVersions(u"0.9"_s);
    CacheDatabase(cache.databasePath())
        .run(u"INSERT INTO CachedResources (reference, status, cleanupPolicy, "
             "lastAccessDateTime, lastStatusUpdateClientId) "
             "VALUES ('lims:a', 'Ready', 'OnDemand', 1, 1)"_s);
    const QStringList before = rows();
    for (const QString &option : { u"--dry-run"_s, u"--no-progress"_s }) {
        const auto run = start({ u"outdated"_s, option, u"--json"_s });
        EXPECT_EQ(run->exitCode(), 2);
        EXPECT_TRUE(run->errors().contains("lims:a: ")) << run->errors().toStdString();
        EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 2);
    }
    EXPECT_EQ(rows(), before);
}

TEST_F(OutdatedCliTest, interrupt_betweenTwoResources_keepsAndTellsWhatWasDone)
{
    const QStringList references = fill(QList<int>(100, 10));
    setAllVersions(u"0.9"_s);
    makeRemovalsSlow();
    const auto run = start({ u"outdated"_s, u"--json"_s });
    CacheDatabase database(cache.databasePath());
    waitUntil([&] { return database.status(references.at(0)) == u"Missing"_s; });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();

    const QJsonObject answer = jsonOf(run->output());
    const QStringList removed = textsOf(answer.value(u"removed"_s), u"reference"_s);
    EXPECT_GT(removed.size(), 0);
    EXPECT_LT(removed.size(), references.size());
    EXPECT_EQ(removed, references.first(removed.size()));
    EXPECT_EQ(readyReferences(), references.mid(removed.size()));
    EXPECT_EQ(textsOf(answer.value(u"left"_s), u"reference"_s), readyReferences());
    EXPECT_EQ(answer.value(u"freed"_s).toInt(), 10 * removed.size());
    EXPECT_EQ(answer.value(u"error"_s).toObject().value(u"code"_s).toInt(), 20);
    EXPECT_TRUE(run->errors().contains("Still outdated")) << run->errors().toStdString();
    EXPECT_EQ(database.count(u"Clients"_s), 0);

    makeRemovalsQuick();
    const auto again = start({ u"outdated"_s });
    EXPECT_EQ(again->exitCode(), 0) << again->errors().toStdString();
    EXPECT_TRUE(readyReferences().isEmpty());
}

TEST_F(OutdatedCliTest, interrupt_ofALongRun_isHeardAtOnce)
{
    const QStringList references = fill(QList<int>(160, 10));
    setAllVersions(u"0.9"_s);
    makeRemovalsSlow();
    QElapsedTimer sinceStart;
    sinceStart.start();
    const auto run = start({ u"outdated"_s, u"--json"_s });
    // By then a program that takes part in a cache wants to tell that it lives, and would have to
    // wait for its own removal.
    waitUntil([&] { return sinceStart.hasExpired(6'000); });
    ASSERT_FALSE(readyReferences().isEmpty());
    const qsizetype before = readyReferences().size();
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();
    EXPECT_GE(readyReferences().size(), before / 2);
}

TEST_F(OutdatedCliTest, outdated_atATerminal_showsHowFarItIs)
{
    fill({ 500, 600 });
    setAllVersions(u"0.9"_s);
    const auto run = startAtTerminal({ u"outdated"_s });
    EXPECT_TRUE(run->waitFor("Removing")) << run->seen().toStdString();
    EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    EXPECT_TRUE(run->seen().contains("2 resources removed")) << run->seen().toStdString();
}

TEST_F(OutdatedCliTest, outdated_noCache_isCode8AndMakesNone)
{
    EXPECT_EQ(start({ u"outdated"_s })->exitCode(), 8);
    EXPECT_EQ(start({ u"outdated"_s, u"--dry-run"_s })->exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

TEST_F(OutdatedCliTest, dryRun_cacheIsHeldByAnother_waitsForNobody)
{
    fill({ 500 });
    setAllVersions(u"0.9"_s);
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto run = start({ u"outdated"_s, u"--dry-run"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()).size(), 2);
    EXPECT_TRUE(semaphore.release());
}

TEST_F(OutdatedCliTest, interrupt_whileTheCacheIsHeldByAnother_endsAtOnce)
{
    fill({ 500 });
    setAllVersions(u"0.9"_s);
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto run = start({ u"outdated"_s, u"-vv"_s });
    waitUntil([&run] { return run->errors().contains("System semaphore key set"); });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    EXPECT_TRUE(semaphore.release());
    EXPECT_EQ(readyReferences().size(), 1);
}

} // namespace zel::test
