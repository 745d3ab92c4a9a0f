#include "ReadingCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class WhyCliTest : public ReadingCli
{
protected:
    QJsonObject whyWithLimits(qint64 optimal, qint64 maximum) const
    {
        const auto run
            = startWithSettings(settingsWith(optimal, maximum), { u"why"_s, u"--json"_s });
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        return jsonOf(run->output());
    }

    QString verdictOn(const QString &reference) const
    {
        return answerWhileHeld({ u"why"_s, reference }).value(u"verdict"_s).toString();
    }
};

TEST_F(WhyCliTest, why_belowTheOptimum_isWithinItsSizes)
{
    fill({ 500, 700 });
    const auto run = start({ u"why"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.at(0).startsWith(u"1.2 KiB of "_s)) << qPrintable(lines.at(0));
    EXPECT_TRUE(lines.at(0).endsWith(u"the cache is within its sizes."_s));
    EXPECT_EQ(answerWhileHeld({ u"why"_s }).value(u"verdict"_s).toString(), u"within"_s);
}

TEST_F(WhyCliTest, why_nothingInUse_tellsWhatThePurgeThenDoes)
{
    fill({ 600, 600, 600, 600 });
    const QJsonObject purge = whyWithLimits(2000, 10'000).value(u"purge"_s).toObject();
    const auto run = startWithSettings(settingsWith(2000, 10'000), { u"purge"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QJsonObject done = jsonOf(run->output());
    EXPECT_EQ(purge.value(u"freed"_s), done.value(u"freed"_s));
    EXPECT_EQ(purge.value(u"size"_s), done.value(u"size"_s));
    EXPECT_EQ(purge.value(u"goal"_s), done.value(u"goal"_s));
    EXPECT_EQ(purge.value(u"resources"_s).toInt(), done.value(u"removed"_s).toArray().size());
}

TEST_F(WhyCliTest, why_oneProgramHoldsIt_itsEndLetsThePurgeReachItsTarget)
{
    const QStringList references = fill({ 600, 600, 600, 600 });
    CacheProcess small(cache.baseDir());
    CacheProcess large(cache.baseDir());
    ASSERT_EQ(small.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    for (const QString &reference : references.mid(1))
        ASSERT_EQ(large.ask(u"useResource "_s + reference), u"ok"_s);

    const QJsonObject answer = whyWithLimits(2000, 10'000);
    EXPECT_EQ(answer.value(u"verdict"_s).toString(), u"pinned"_s);
    const QJsonArray holders = answer.value(u"holders"_s).toArray();
    ASSERT_EQ(holders.size(), 2);
    EXPECT_EQ(holders.at(0)[u"process"_s].toInteger(), large.pid());
    EXPECT_EQ(holders.at(0)[u"bytes"_s].toInt(), 1800);
    EXPECT_TRUE(holders.at(0)[u"closing"_s].toBool());
    EXPECT_FALSE(holders.at(1)[u"closing"_s].toBool());
    const auto text = startWithSettings(settingsWith(2000, 10'000), { u"why"_s });
    EXPECT_EQ(text->exitCode(), 0);
    EXPECT_EQ(
        linesOf(text->output()).last(),
        u"Closing process %1 (cache_actor) lets the purge reach its target."_s.arg(large.pid()));

    EXPECT_EQ(large.ask(u"close"_s), u"ok"_s);
    EXPECT_EQ(whyWithLimits(2000, 10'000).value(u"verdict"_s).toString(), u"purgeSuffices"_s);
}

TEST_F(WhyCliTest, whyRef_states_areToldAsTheyAre)
{
    const QStringList references = fill({ 500, 700, 900, 1100 });
    CacheProcess user(cache.baseDir());
    CacheProcess fetcher(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    ASSERT_EQ(fetcher.ask(u"add test:a OnDemand"_s), u"ok"_s);
    ASSERT_EQ(fetcher.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    EXPECT_EQ(verdictOn(references.at(0)), u"inUse"_s);
    EXPECT_EQ(verdictOn(references.at(1)), u"kept"_s);
    EXPECT_EQ(verdictOn(u"test:a"_s), u"fetched"_s);

    QFile::remove(pathOf(references.at(2)));
    EXPECT_EQ(verdictOn(references.at(2)), u"dataGone"_s);
    EXPECT_EQ(start({ u"remove"_s, references.at(3) })->exitCode(), 0);
    EXPECT_EQ(verdictOn(references.at(3)), u"missing"_s);

    const qint64 client = fetcher.clientId();
    fetcher.kill();
    CacheDatabase(cache.databasePath()).setLastPing(client, std::chrono::seconds(31));
    EXPECT_EQ(verdictOn(u"test:a"_s), u"fetcherGone"_s);
}

TEST_F(WhyCliTest, whyRef_inLine_tellsItsPlace)
{
    const QStringList references = fill({ 500, 700, 900 });
    const QJsonObject answer = answerWhileHeld({ u"why"_s, references.at(2) });
    const QJsonObject place = answer.value(u"purgePlace"_s).toObject();
    EXPECT_EQ(place.value(u"number"_s).toInt(), 3);
    EXPECT_EQ(place.value(u"of"_s).toInt(), 3);
    EXPECT_EQ(place.value(u"bytesBefore"_s).toInt(), 1200);
    EXPECT_EQ(answer.value(u"cleanupPolicy"_s).toString(), u"OnDemand"_s);
    EXPECT_EQ(answer.value(u"outdated"_s), QJsonValue(false));

    const auto text = start({ u"why"_s, references.at(2) });
    EXPECT_EQ(text->exitCode(), 0) << text->errors().toStdString();
    const QStringList lines = linesOf(text->output());
    EXPECT_TRUE(lines.contains(u"Purge:        number 3 of 3 in line, behind 1.2 KiB"_s))
        << qPrintable(lines.join(u'\n'));
    EXPECT_TRUE(lines.contains(u"Written by:   a program that is gone"_s));
}

TEST_F(WhyCliTest, whyRef_lastWriterLives_isNamed)
{
    const QString reference = fill({ 500 }).at(0);
    CacheProcess writer(cache.baseDir());
    ASSERT_EQ(writer.ask(u"saveStatus "_s + reference + u" Missing"_s), u"ok"_s);
    const QJsonObject answer = answerWhileHeld({ u"why"_s, reference });
    EXPECT_EQ(answer.value(u"verdict"_s).toString(), u"missing"_s);
    EXPECT_EQ(answer.value(u"lastWriter"_s)[u"process"_s].toInteger(), writer.pid());
}

TEST_F(WhyCliTest, whyRef_notInTheCache_isCode3)
{
    fill({ 500 });
    const QJsonObject answer = answerWhileHeld({ u"why"_s, u"share:/no/such/file"_s }, 3);
    EXPECT_EQ(answer.value(u"error"_s).toObject().value(u"code"_s).toInt(), 3);
    EXPECT_EQ(start({ u"why"_s, u"nonsense"_s })->exitCode(), 2);
}

TEST_F(WhyCliTest, why_noCache_isCode8AndMakesNone)
{
    EXPECT_EQ(start({ u"why"_s })->exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

TEST_F(WhyCliTest, why_emptyCache_isWithinItsSizes)
{
    CacheProcess(cache.baseDir()).ask(u"close"_s);
    EXPECT_EQ(answerWhileHeld({ u"why"_s }).value(u"verdict"_s).toString(), u"within"_s);
}

TEST_F(WhyCliTest, why_hundredThousandResources_areReadInOneGo)
{
    fill({ 500 });
    addHundredThousand();
    QElapsedTimer clock;
    clock.start();
    answerWhileHeld({ u"why"_s });
    RecordProperty("milliseconds", int(clock.restart()));
    const QJsonObject answer = answerWhileHeld({ u"why"_s, u"lims:sample-100000.raw"_s });
    RecordProperty("millisecondsOfOne", int(clock.elapsed()));
    EXPECT_EQ(answer.value(u"purgePlace"_s)[u"number"_s].toInt(), 100'000);
}

} // namespace zel::test
