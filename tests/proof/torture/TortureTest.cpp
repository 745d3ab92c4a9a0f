#include "Torture.h"
#include "Proof.h"

#include <gtest/gtest.h>

#include <iostream>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

void record(const Torture::Figures &figures)
{
    recordFigure(u"operations"_s, figures.operations);
    recordFigure(u"fetches"_s, figures.fetches);
    recordFigure(u"looks at held data"_s, figures.looks);
    recordFigure(u"kills"_s, figures.kills);
    recordFigure(u"stops"_s, figures.stops);
    recordFigure(u"commands at a time"_s, figures.overlaps);
    recordFigure(u"commands cut"_s, figures.cuts);
    recordFigure(u"clock steps"_s, figures.clockSteps);
    recordFigure(u"cache moves"_s, figures.moves);
    recordFigure(u"taken for dead alive"_s, figures.ghosts);
    recordFigure(u"take-overs"_s, figures.takeOvers);
    recordFigure(u"violations"_s, figures.violations);
}

std::chrono::seconds duration()
{
    bool isGiven = false;
    const int seconds = qEnvironmentVariableIntValue("ZEL_TORTURE_SECONDS", &isGiven);
    return isGiven ? std::chrono::seconds(seconds) : forProof<std::chrono::seconds>(9s, 10min);
}

} // namespace

TEST(TortureTest, cache_programsDoAnythingAndDie_nothingHeldIsLost)
{
    const std::uint32_t seed = proofSeed();
    std::cout << "ZEL_SEED=" << seed << std::endl;
    Torture torture(seed);
    torture.run(duration());
    torture.end();
    record(torture.figures());
    EXPECT_EQ(torture.figures().violations, 0);
    EXPECT_GT(torture.figures().operations, 0);
    EXPECT_GT(torture.figures().kills, 0);
    EXPECT_GT(torture.figures().looks, 0);
    if (!isLongProof())
        return; // the others need their time
    EXPECT_GT(torture.figures().takeOvers, 0);
    EXPECT_GT(torture.figures().ghosts, 0);
    EXPECT_GT(torture.figures().overlaps, 0);
    EXPECT_GT(torture.figures().cuts, 0);
}
