#include "VerifyCli.h"

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// Runs that end before all is read, and those that go on from there.
using VerifyBudgetCliTest = VerifyCli;

TEST_F(VerifyBudgetCliTest, verify_budget_endsInTimeAndTheNextRunGoesOn)
{
    const QString path = fetchFile(u"a.raw"_s, "content");
    const QString manifest = manifests().at(0);
    makeHuge(path, manifest);
    const QJsonObject first = verify({ u"--budget"_s, u"1s"_s }, 0);
    EXPECT_FALSE(first.value(u"complete"_s).toBool());
    EXPECT_EQ(countOf(first, u"notReached"_s), 1);
    const qint64 blocks = checkedBlocks(manifest);
    ASSERT_GT(blocks, 0);
    ASSERT_LT(blocks, hugeBlocks);

    const QJsonObject second = verify({ u"--budget"_s, u"1s"_s }, 0);
    const qint64 more = checkedBlocks(manifest) - blocks;
    EXPECT_GT(more, 0);
    const qint64 read = second.value(u"readBytes"_s).toInteger();
    EXPECT_GE(read, more * blockBytes);
    EXPECT_LT(read, (more + 1) * blockBytes) << "what the first run has read is not read again";
}

TEST_F(VerifyBudgetCliTest, verify_budgetTooSmallForAnything_getsRoundTheCacheAllTheSame)
{
    fetchFile(u"a.raw"_s, "content");
    addRows(250); // without data: they are compared only
    fetchFile(u"b.raw"_s, "content");
    const auto verified = [this] {
        const QStringList all = manifests();
        return std::all_of(all.begin(), all.end(), [](const QString &path) {
            return manifestAt(path).contains(u"verified"_s);
        });
    };
    int runs = 0;
    for (; runs < 10 && !verified(); ++runs)
        verify({ u"--budget"_s, u"0.001s"_s }, 6);
    EXPECT_TRUE(verified());
    EXPECT_GT(runs, 1) << "one run was to be too short";
}

TEST_F(VerifyBudgetCliTest, verify_budget_beginsWithWhatWasNotReadForTheLongestTime)
{
    const QString old = sharedFile(u"old.raw"_s, "content");
    const QString young = sharedFile(u"young.raw"_s, "content");
    const QString never = sharedFile(u"never.raw"_s, "content");
    fetch(young);
    fetch(old);
    ASSERT_EQ(start({ u"verify"_s, old })->exitCode(), 0);
    ASSERT_EQ(start({ u"verify"_s, young })->exitCode(), 0);
    fetch(never);
    const auto run = start({ u"verify"_s, u"-v"_s, u"--budget"_s, u"1h"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QByteArray said = run->errors();
    const auto placeOf = [&said](const QString &reference) {
        return said.indexOf("Reading " + reference.toUtf8());
    };
    EXPECT_GE(placeOf(never), 0) << said.toStdString();
    EXPECT_LT(placeOf(never), placeOf(old));
    EXPECT_LT(placeOf(old), placeOf(young));
}

TEST_F(VerifyBudgetCliTest, verify_changeFoundInAnEarlierRun_isToldUntilItIsReadAgain)
{
    const QString path = fetchFile(u"a.raw"_s, "content");
    const QString manifest = manifests().at(0);
    changeSecretly(path, [&path] { writeFile(path, "cOntent"); });
    EXPECT_EQ(countOf(verify({}, 6), u"changed"_s), 1);
    // So little time that it need not be read again.
    EXPECT_EQ(countOf(verify({ u"--budget"_s, u"0.001s"_s }, 6), u"changed"_s), 1);
    changeSecretly(path, [&path] { writeFile(path, "content"); });
    EXPECT_EQ(countOf(verify({}, 0), u"intact"_s), 1);
}

TEST_F(VerifyBudgetCliTest, verify_interrupted_endsSoonAndKeepsWhatWasDone)
{
    const QString small = fetchFile(u"a.raw"_s, "content");
    const QString smallManifest = manifests().at(0);
    const QString huge = fetchFile(u"b.raw"_s, "content");
    QStringList both = manifests();
    both.removeOne(smallManifest);
    makeHuge(huge, both.at(0));
    const auto run = start({ u"verify"_s, u"-v"_s });
    waitUntil([&run, this] {
        return run->errors().contains("Reading " + referenceOf(u"b.raw"_s).toUtf8());
    });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    EXPECT_TRUE(run->output().contains("1 intact, 1 not reached")) << run->output().toStdString();
    EXPECT_TRUE(manifestAt(smallManifest).contains(u"verified"_s));
    EXPECT_FALSE(manifestAt(both.at(0)).contains(u"verified"_s));
}

TEST_F(VerifyBudgetCliTest, verify_atATerminal_showsHowFarItIs)
{
    const QString path = fetchFile(u"a.raw"_s, "content");
    makeHuge(path, manifests().at(0));
    const auto run = startAtTerminal({ u"verify"_s });
    EXPECT_TRUE(run->waitFor(" of 256.0 GiB")) << run->seen().right(500).toStdString();
    run->type("\x03");
    EXPECT_EQ(run->exitCode(), 130);
}

} // namespace zel::test
