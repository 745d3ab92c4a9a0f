#include "RemovalCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QFile>
#include <QFileInfo>
#include <QSystemSemaphore>

#include <csignal>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class PurgeCliTest : public RemovalCli
{
protected:
    void expectGone(const QString &reference, const QString &path) const
    {
        EXPECT_EQ(CacheDatabase(cache.databasePath()).status(reference), u"Missing"_s);
        EXPECT_FALSE(QFileInfo::exists(path)) << qPrintable(path);
    }
};

TEST_F(PurgeCliTest, purge_belowTheOptimalSize_removesNothing)
{
    fill({ 1000, 2000 });
    const QStringList before = rows();
    const QJsonObject answer = rehearseAndRun({ u"purge"_s }, 0);
    EXPECT_TRUE(answer.value(u"removed"_s).toArray().isEmpty());
    EXPECT_EQ(answer.value(u"size"_s).toInt(), 3000);
    EXPECT_EQ(answer.value(u"freed"_s).toInt(), 0);
    EXPECT_TRUE(answer.value(u"goalReached"_s).toBool());
    EXPECT_EQ(rows(), before);
}

TEST_F(PurgeCliTest, purge_aboveTheOptimalSize_goesDownToNineTenthsOfIt)
{
    const QStringList references = fill({ 600, 600, 600, 600 });
    const QByteArray settings = settingsWith(2000, 10'000);
    const auto rehearsal = startWithSettings(settings, { u"purge"_s, u"--dry-run"_s, u"--json"_s });
    EXPECT_EQ(rehearsal->exitCode(), 0) << rehearsal->errors().toStdString();
    EXPECT_EQ(readyReferences(), references);
    const auto run = startWithSettings(settings, { u"purge"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();

    const QJsonObject answer = jsonOf(run->output());
    const QJsonObject announced = jsonOf(rehearsal->output());
    // 600 bytes are to be freed, and what goes must exceed that.
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s), references.first(2));
    EXPECT_EQ(announced.value(u"removed"_s), answer.value(u"removed"_s));
    EXPECT_EQ(answer.value(u"goal"_s).toInt(), 1800);
    EXPECT_EQ(answer.value(u"size"_s).toInt(), 1200);
    EXPECT_EQ(currentSize(), 1200);
    EXPECT_EQ(readFile(settingsPath()), settings);
}

TEST_F(PurgeCliTest, purge_toASize_removesTheOldestUntilItIsThere)
{
    const QStringList references = fill({ 500, 700, 900 });
    const QString path = pathOf(references.at(0));
    const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, u"1700"_s }, 0);
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s), references.first(1));
    EXPECT_EQ(answer.value(u"freed"_s).toInt(), 500);
    EXPECT_EQ(answer.value(u"size"_s).toInt(), 1600);
    EXPECT_EQ(answer.value(u"goal"_s).toInt(), 1700);
    expectGone(references.at(0), path);
    EXPECT_EQ(readyReferences(), references.last(2));
}

TEST_F(PurgeCliTest, purge_toASizeThatIsMetExactly_takesOneMoreAsTheCacheDoes)
{
    const QStringList references = fill({ 500, 500, 500 });
    const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, u"1000"_s }, 0);
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s), references.first(2));
}

TEST_F(PurgeCliTest, purge_toZero_removesEverythingNotInUse)
{
    const QStringList references = fill({ 500, 700, 900 });
    const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, u"0"_s }, 0);
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s), references);
    EXPECT_EQ(answer.value(u"size"_s).toInt(), 0);
    EXPECT_TRUE(readyReferences().isEmpty());
    EXPECT_EQ(currentSize(), 0);
}

TEST_F(PurgeCliTest, purge_toMoreThanThereIs_removesNothing)
{
    fill({ 500, 700 });
    const QStringList before = rows();
    for (const QString &size : { u"1200"_s, u"50GiB"_s, u"9223372036854775807"_s }) {
        const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, size }, 0);
        EXPECT_TRUE(answer.value(u"removed"_s).toArray().isEmpty());
    }
    EXPECT_EQ(rows(), before);
}

TEST_F(PurgeCliTest, purge_severalOfOneAge_announcesTheSameOnes)
{
    fill({ 10, 20, 30, 40, 50, 60, 70, 80 });
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CachedResources SET lastAccessDateTime = 1700000000000"_s);
    rehearseAndRun({ u"purge"_s, u"--to"_s, u"200"_s }, 0);
}

TEST_F(PurgeCliTest, purge_policies_playNoPartAndStay)
{
    const QStringList references = fill({ 500, 700, 900 });
    CacheDatabase database(cache.databasePath());
    const auto setPolicy = u"UPDATE CachedResources SET cleanupPolicy = ? WHERE reference = ?"_s;
    database.run(setPolicy, { u"Never"_s, references.at(0) });
    database.run(setPolicy, { u"OnClose"_s, references.at(1) });
    rehearseAndRun({ u"purge"_s, u"--to"_s, u"0"_s }, 0);
    EXPECT_EQ(policyOf(references.at(0)), u"Never"_s);
    EXPECT_EQ(policyOf(references.at(1)), u"OnClose"_s);
    EXPECT_EQ(policyOf(references.at(2)), u"OnDemand"_s);
}

TEST_F(PurgeCliTest, purge_settings_stayByteForByte)
{
    fill({ 500, 700 });
    const QByteArray settings = settingsWith(5000, 10'000);
    const auto run = startWithSettings(settings, { u"purge"_s, u"--to"_s, u"0"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(currentSize(), 0);
    EXPECT_EQ(readFile(settingsPath()), settings);
}

TEST_F(PurgeCliTest, purge_resourceInUseByAnotherProgram_saysWhoKeepsIt)
{
    const QStringList references = fill({ 500, 700, 900 });
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, u"0"_s }, 3);
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s), references.last(2));
    EXPECT_EQ(answer.value(u"size"_s).toInt(), 500);
    EXPECT_FALSE(answer.value(u"goalReached"_s).toBool());
    const QJsonArray pinned = answer.value(u"pinned"_s).toArray();
    ASSERT_EQ(pinned.size(), 1);
    const QJsonObject pin = pinned.at(0).toObject();
    EXPECT_EQ(pin.value(u"reference"_s).toString(), references.at(0));
    EXPECT_EQ(pin.value(u"size"_s).toInt(), 500);
    EXPECT_EQ(pin.value(u"reason"_s).toString(), u"inUse"_s);
    const QJsonObject process = pin.value(u"processes"_s).toArray().at(0).toObject();
    EXPECT_EQ(process.value(u"process"_s).toInteger(), user.pid());
    EXPECT_EQ(process.value(u"program"_s).toString(), u"cache_actor"_s);

    const auto text = start({ u"purge"_s, u"--to"_s, u"0"_s });
    EXPECT_EQ(text->exitCode(), 3);
    const QString said = QString::fromUtf8(text->errors());
    EXPECT_TRUE(said.contains(u"%1 (500 B) is in use by process %2 (cache_actor)"_s.arg(
        references.at(0), QString::number(user.pid()))))
        << qPrintable(said);
    EXPECT_TRUE(QFileInfo::exists(pathOf(references.at(0))));
}

TEST_F(PurgeCliTest, purge_userThatWasKilledLongAgo_keepsNothing)
{
    const QStringList references = fill({ 500, 700 });
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    const qint64 client = user.clientId();
    user.kill();
    CacheDatabase(cache.databasePath()).setLastPing(client, std::chrono::seconds(31));
    const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, u"0"_s }, 0);
    EXPECT_EQ(textsOf(answer.value(u"removed"_s), u"reference"_s), references);
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"ResourceUsages"_s), 0);
}

TEST_F(PurgeCliTest, purge_dataWithoutASize_isNamedIfTheGoalIsMissed)
{
    const QStringList references = fill({ 500, 700 });
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(1)), u"ok"_s);
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CachedResources SET fileSize = 0 WHERE reference = ?"_s,
             { references.at(0) });
    const QJsonObject answer = rehearseAndRun({ u"purge"_s, u"--to"_s, u"0"_s }, 3);
    EXPECT_EQ(textsOf(answer.value(u"pinned"_s), u"reason"_s),
              (QStringList { u"sizeUnknown"_s, u"inUse"_s }));
    EXPECT_EQ(readyReferences(), references);
}

TEST_F(PurgeCliTest, purge_folderThatCannotBeRemoved_isNamed)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the administrator can make a folder that another one must leave";
    fill({ 500 });
    const auto run = startWithoutRights({ u"purge"_s, u"--to"_s, u"0"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 3) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("could not be removed")) << run->errors().toStdString();
    const QJsonObject answer = jsonOf(run->output());
    EXPECT_EQ(textsOf(answer.value(u"pinned"_s), u"reason"_s), QStringList { u"notRemoved"_s });
    EXPECT_TRUE(answer.value(u"removed"_s).toArray().isEmpty());
}

TEST_F(PurgeCliTest, purge_failureAboveTheMaximum_isAnErrorBesideTheAnswer)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the administrator can make a folder that another one must leave";
    fill({ 500 });
    writeFile(settingsPath(), settingsWith(100, 200));
    const auto run = startWithoutRights({ u"purge"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 1) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("Unable to remove")) << run->errors().toStdString();
    const QJsonObject answer = jsonOf(run->output());
    EXPECT_EQ(answer.value(u"error"_s).toObject().value(u"code"_s).toInt(), 1);
    EXPECT_TRUE(answer.value(u"removed"_s).toArray().isEmpty());
    EXPECT_EQ(answer.value(u"size"_s).toInt(), 500);
}

TEST_F(PurgeCliTest, purge_referenceWithControlCharacters_cannotSteerTheTerminal)
{
    fill({ 500 });
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CachedResources SET reference = ?"_s, { u"lims:a\x1b[2Jb"_s });
    const auto run = startAtTerminal({ u"purge"_s, u"--to"_s, u"0"_s, u"-n"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->seen().contains("lims:a\\x1b[2Jb")) << run->seen().toStdString();
    EXPECT_FALSE(run->seen().contains("\x1b[2J"));
}

TEST_F(PurgeCliTest, purge_dangerousPathAmongWhatWouldGo_isRefusedAndTakesNothing)
{
    const QStringList references = fill({ 500, 600 });
    moveData(references.at(1), cache.dataDir() + u"/run.raw"_s);
    for (const char *option : { "--json", "--dry-run" }) {
        const auto run = start({ u"purge"_s, u"--to"_s, u"0"_s, QString::fromLatin1(option) });
        EXPECT_EQ(run->exitCode(), 3) << run->errors().toStdString();
        EXPECT_EQ(run->output().contains("\"error\""), option == QByteArray("--json"));
    }
    expectDangerNamed({ u"purge"_s, u"--to"_s, u"0"_s }, references.at(1));
    EXPECT_TRUE(QFileInfo::exists(pathOf(references.at(0))));
    EXPECT_TRUE(QFileInfo::exists(pathOf(references.at(1))));

    // As long as it stays, others may go.
    EXPECT_EQ(start({ u"purge"_s, u"--to"_s, u"1000"_s })->exitCode(), 0);
    EXPECT_EQ(readyReferences(), references.last(1));
}

TEST_F(PurgeCliTest, purge_text_namesWhatWentAndTheSums)
{
    const QStringList references = fill({ 500, 2048 });
    const auto rehearsal = start({ u"purge"_s, u"--to"_s, u"0"_s, u"-n"_s });
    EXPECT_EQ(rehearsal->exitCode(), 0);
    const auto run = start({ u"purge"_s, u"--to"_s, u"0"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->errors(), "");
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines.at(0).startsWith(u"  500 B  "_s)) << qPrintable(lines.at(0));
    EXPECT_TRUE(lines.at(0).endsWith(references.at(0))) << qPrintable(lines.at(0));
    EXPECT_TRUE(lines.at(1).startsWith(u"2.0 KiB  "_s)) << qPrintable(lines.at(1));
    EXPECT_EQ(lines.at(2), u"2 resources removed, 2.5 KiB freed; 0 B left"_s);
    const QStringList announced = linesOf(rehearsal->output());
    EXPECT_EQ(announced.first(2), lines.first(2));
    EXPECT_EQ(announced.at(2), u"2 resources would go, 2.5 KiB; 0 B would be left"_s);
}

TEST_F(PurgeCliTest, purge_noSize_isAUsageErrorAndChangesNothing)
{
    const QStringList references = fill({ 500 });
    for (const QString &size :
         { u"-1"_s, u"-1K"_s, u"banana"_s, u""_s, u"1.5"_s, u"8E"_s, u"1e3"_s, u"10 GiB left"_s }) {
        const auto run = start({ u"purge"_s, u"--to="_s + size });
        EXPECT_EQ(run->exitCode(), 2) << qPrintable(size) << run->output().toStdString();
        EXPECT_EQ(run->output(), "");
    }
    EXPECT_EQ(start({ u"purge"_s, u"--to"_s })->exitCode(), 2);
    EXPECT_EQ(start({ u"purge"_s, u"--to"_s, u"-5"_s })->exitCode(), 2);
    EXPECT_EQ(readyReferences(), references);
}

TEST_F(PurgeCliTest, purge_noCache_isCode8AndMakesNone)
{
    for (const QString &option : { u"--dry-run"_s, u"--no-progress"_s }) {
        const auto run = start({ u"purge"_s, u"--json"_s, option });
        EXPECT_EQ(run->exitCode(), 8);
        EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 8);
        EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
    }
}

TEST_F(PurgeCliTest, purge_atATerminal_showsThatItRemoves)
{
    fill(QList<int>(60, 10));
    makeRemovalsSlow();
    const auto run = startAtTerminal({ u"purge"_s, u"--to"_s, u"0"_s });
    EXPECT_TRUE(run->waitFor("Removing 0:0"));
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->seen().contains("60 resources removed"))
        << run->seen().right(500).toStdString();
}

TEST_F(PurgeCliTest, purge_interrupted_saysThatItCannotStopAndEndsWhenItIsDone)
{
    const QStringList references = fill(QList<int>(80, 10));
    makeRemovalsSlow();
    const auto run = start({ u"purge"_s, u"-v"_s, u"--to"_s, u"0"_s });
    waitUntil([&run] { return run->errors().contains("Removing."); });
    run->sendSignal(SIGINT);
    waitUntil([&run] { return run->errors().contains("cannot be cut short"); });
    EXPECT_EQ(readyReferences(), references) << "the purge had ended before the signal came";
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();
    EXPECT_EQ(readyReferences(), QStringList());
    EXPECT_EQ(linesOf(run->output()).size(), 81) << "the answer is there all the same";
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"Clients"_s), 0);
}

TEST_F(PurgeCliTest, dryRun_cacheIsHeldByAnother_waitsForNobody)
{
    const QStringList references = fill({ 500 });
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto run = start({ u"purge"_s, u"--to"_s, u"0"_s, u"--dry-run"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()).size(), 2);
    EXPECT_TRUE(semaphore.release());
}

} // namespace zel::test
