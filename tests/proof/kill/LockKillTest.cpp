#include "KillLoop.h"
#include "KillScenarios.h"
#include "Proof.h"

#include <gtest/gtest.h>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Calls for locks and how many of them are gone by in each form of the proof.
struct Calls
{
    QString lock;
    int briefStride;
    int longStride; ///< SQLite makes hundreds of its own
};

const QList<Calls> allCalls { { u"semaphore"_s, 7, 1 },
                              { u"folder"_s, 7, 1 },
                              { u"range"_s, 60, 10 } };

/// What a dead program held must be free for the next one, at whatever moment it died.
class LockKillTest : public testing::TestWithParam<QString>
{
protected:
    LockKillTest()
        : actor(QStringLiteral(ZEL_KILL_ACTOR), { ownCache.baseDir() })
    {
    }

    int killsAt(const Calls &calls, quint32 seed)
    {
        TemporaryCache cache;
        KillScenarios scenarios; // with servers that know nobody yet
        KillLoop loop(scenarios.share(), &cache);
        loop.prepare(scenarios.named(GetParam(), &actor));
        const int first = forProof(int(seed % quint32(calls.briefStride)), 0);
        if (!HasFailure())
            loop.killAtLockCalls(calls.lock, first, forProof(calls.briefStride, calls.longStride));
        loop.recordFigures();
        return loop.kills();
    }

    const TemporaryCache ownCache;
    ActorProcess actor;
};

QStringList chosenScenarios()
{
    return isLongProof() ? KillScenarios::names()
                         : QStringList { u"openFresh"_s, u"fetchOverLeftovers"_s, u"purge"_s };
}

} // namespace

TEST_P(LockKillTest, atEachCallForALock_theNextOneGetsIt)
{
    const quint32 seed = proofSeed();
    for (const Calls &calls : allCalls) {
        if (!HasFailure()) {
            EXPECT_GT(killsAt(calls, seed), 0) << qPrintable(calls.lock);
        }
    }
    if (HasFailure())
        std::cerr << "ZEL_SEED=" << seed << '\n';
}

INSTANTIATE_TEST_SUITE_P(While, LockKillTest, testing::ValuesIn(chosenScenarios()),
                         [](const auto &scenario) { return scenario.param.toStdString(); });
