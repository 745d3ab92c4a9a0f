#include "KillLoop.h"
#include "KillScenarios.h"
#include "Proof.h"

#include <gtest/gtest.h>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class KillTest : public testing::TestWithParam<QString>
{
protected:
    KillTest()
        : actor(QStringLiteral(ZEL_KILL_ACTOR), { cache.baseDir() })
        , loop(scenarios.share(), &cache)
    {
        loop.prepare(scenarios.named(GetParam(), &actor));
    }

    TemporaryCache cache;
    KillScenarios scenarios;
    ActorProcess actor;
    KillLoop loop;
};

/// Few of all steps leave a file like this; the short form must not depend on hitting one of them.
class KillHalfStagedTest : public KillTest
{
};

std::string nameOf(const testing::TestParamInfo<QString> &info)
{
    return info.param.toStdString();
}

} // namespace

TEST_P(KillTest, atEachFileStep_nothingPartialIsLeftAndTheNextGoesOn)
{
    const quint32 seed = proofSeed();
    constexpr int briefStride = 12;
    const int first = forProof(int(seed % briefStride), 0);
    if (!HasFailure())
        loop.killAtFileSteps(first, forProof(briefStride, 1));
    loop.recordFigures();
    if (HasFailure())
        std::cerr << "ZEL_SEED=" << seed << '\n';
    EXPECT_GT(loop.kills(), forProof(0, 5)) << "hardly anything was killed";
}

TEST_P(KillHalfStagedTest, atEachWriteThatGoesOn_nextGoesOnWithWhatIsThere)
{
    if (!HasFailure())
        loop.killInHalfStagedFiles();
    loop.recordFigures();
}

INSTANTIATE_TEST_SUITE_P(While, KillHalfStagedTest,
                         testing::Values(u"fetchWebFile"_s, u"fetchWebFolder"_s,
                                         u"fetchDavFolder"_s),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(While, KillTest, testing::ValuesIn(KillScenarios::names()), nameOf);
