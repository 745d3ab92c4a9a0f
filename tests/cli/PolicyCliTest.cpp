#include "RemovalCli.h"

#include "Printers.h"

#include <QFileInfo>
#include <QSystemSemaphore>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class PolicyCliTest : public RemovalCli
{
};

TEST_F(PolicyCliTest, policy_known_isPrinted)
{
    const QString reference = fill({ 500 }).at(0);
    const auto run = start({ u"policy"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()), QStringList { u"OnDemand"_s });
    EXPECT_EQ(run->errors(), "");
    const auto json = start({ u"policy"_s, reference, u"--json"_s });
    EXPECT_EQ(json->exitCode(), 0) << json->errors().toStdString();
    const QJsonObject answer = jsonOf(json->output());
    EXPECT_EQ(answer.keys(),
              (QStringList { u"cleanupPolicy"_s, u"command"_s, u"reference"_s, u"schema"_s }));
    EXPECT_EQ(answer.value(u"cleanupPolicy"_s).toString(), u"OnDemand"_s);
    EXPECT_EQ(answer.value(u"reference"_s).toString(), reference);
}

TEST_F(PolicyCliTest, policy_anyLetterCase_isStored)
{
    const QString reference = fill({ 500 }).at(0);
    for (const auto &[given, stored] :
         { std::pair { u"never"_s, u"Never"_s }, std::pair { u"ONCLOSE"_s, u"OnClose"_s },
           std::pair { u"onDemand"_s, u"OnDemand"_s }, std::pair { u"Never"_s, u"Never"_s } }) {
        const auto run = start({ u"policy"_s, reference, given });
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        EXPECT_EQ(linesOf(run->output()), QStringList { stored });
        EXPECT_EQ(policyOf(reference), stored);
    }
}

TEST_F(PolicyCliTest, policy_stored_changesNothingElse)
{
    const QStringList references = fill({ 500, 700 });
    QStringList expected = rows();
    expected[0].replace(u"|OnDemand|"_s, u"|OnClose|"_s);
    const auto run = start({ u"policy"_s, references.at(0), u"OnClose"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(jsonOf(run->output()).value(u"previousPolicy"_s).toString(), u"OnDemand"_s);
    EXPECT_EQ(jsonOf(run->output()).value(u"cleanupPolicy"_s).toString(), u"OnClose"_s);
    EXPECT_EQ(rows(), expected);
    EXPECT_TRUE(QFileInfo::exists(pathOf(references.at(0))));
}

TEST_F(PolicyCliTest, policy_otherSpellingOfTheReference_isTheSameResource)
{
    const QString reference = fill({ 500 }).at(0);
    QString spelled = reference;
    spelled.replace(u"/run0.raw"_s, u"/./run0.raw"_s);
    const auto run = start({ u"policy"_s, spelled, u"Never"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(policyOf(reference), u"Never"_s);
    EXPECT_EQ(rows().size(), 1);
}

TEST_F(PolicyCliTest, policy_unknownReference_isCode3AndEntersNothing)
{
    fill({ 500 });
    const QStringList before = rows();
    const QString unknown = u"share:"_s + cache.outside(u"unknown.raw"_s);
    for (const QStringList &arguments : { QStringList { u"policy"_s, unknown },
                                          QStringList { u"policy"_s, unknown, u"Never"_s } }) {
        const auto run = start(arguments + QStringList { u"--json"_s });
        EXPECT_EQ(run->exitCode(), 3);
        EXPECT_TRUE(run->errors().contains("does not know")) << run->errors().toStdString();
        EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 3);
    }
    EXPECT_EQ(rows(), before);
}

TEST_F(PolicyCliTest, policy_noPolicyOrNoReference_isCode2)
{
    const QString reference = fill({ 500 }).at(0);
    for (const QString &policy :
         { u"Invalid"_s, u"invalid"_s, u"sometimes"_s, u""_s, u"1"_s, u"On Demand"_s }) {
        const auto run = start({ u"policy"_s, reference, policy });
        EXPECT_EQ(run->exitCode(), 2) << qPrintable(policy);
        EXPECT_EQ(run->output(), "");
    }
    EXPECT_EQ(start({ u"policy"_s })->exitCode(), 2);
    const auto run = start({ u"policy"_s, u"nonsense:geheim123@a"_s });
    EXPECT_EQ(run->exitCode(), 2);
    EXPECT_FALSE(run->errors().contains("geheim123")) << run->errors().toStdString();
    EXPECT_EQ(policyOf(reference), u"OnDemand"_s);
}

TEST_F(PolicyCliTest, policy_resourceOfAnotherProgramsScheme_isFoundByItsKey)
{
    fill({ 500 });
    CacheDatabase(cache.databasePath())
        .run(u"INSERT INTO CachedResources (reference, status, cleanupPolicy, "
             "lastAccessDateTime, lastStatusUpdateClientId) "
             "VALUES ('lims:a b', 'Missing', 'OnDemand', 1, 1)"_s);
    const auto run = start({ u"policy"_s, u"lims:a b"_s, u"OnClose"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(policyOf(u"lims:a b"_s), u"OnClose"_s);
}

TEST_F(PolicyCliTest, policy_noCache_isCode8AndMakesNone)
{
    const QString reference = sharedFile(u"a.raw"_s, "a");
    EXPECT_EQ(start({ u"policy"_s, reference })->exitCode(), 8);
    EXPECT_EQ(start({ u"policy"_s, reference, u"Never"_s })->exitCode(), 8);
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

TEST_F(PolicyCliTest, policy_shownWhileTheCacheIsHeld_waitsForNobody)
{
    const QString reference = fill({ 500 }).at(0);
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto run = start({ u"policy"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(semaphore.release());
}

} // namespace zel::test
