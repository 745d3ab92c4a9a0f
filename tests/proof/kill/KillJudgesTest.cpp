#include "ActorProcess.h"
#include "FileAnswers.h"

#include <gtest/gtest-spi.h>

#include <csignal>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// What the proofs of kills judge by: it has to see what it is there for.
class KillJudgesTest : public testing::Test
{
protected:
    static std::unique_ptr<ActorProcess> obeying(const QString &commands)
    {
        auto program = std::make_unique<ActorProcess>(QStringLiteral(ZEL_KILL_ACTOR),
                                                      QStringList { u"/nowhere"_s });
        program->send(commands);
        return program;
    }

    static Fate fateAfter(int signal)
    {
        return fateOf(obeying(u"raise %1;loadSettings"_s.arg(signal)).get());
    }
};

} // namespace

TEST_F(KillJudgesTest, fateOf_killed_isKilled)
{
    EXPECT_EQ(fateAfter(SIGKILL), Fate::Killed);
}

TEST_F(KillJudgesTest, fateOf_allDone_hasSurvived)
{
    EXPECT_EQ(fateOf(obeying(u"loadSettings;loadSettings"_s).get()), Fate::Survived);
}

TEST_F(KillJudgesTest, fateOf_crashOfItsOwn_failsTheTest)
{
    for (const int signal : { SIGSEGV, SIGABRT, SIGTERM }) {
        Fate fate = Fate::Killed;
        const std::string text = "signal " + std::to_string(signal);
        EXPECT_NONFATAL_FAILURE(fate = fateAfter(signal), text);
        EXPECT_EQ(fate, Fate::Failed);
    }
}

TEST_F(KillJudgesTest, fateOf_failedCommand_failsTheTestWithItsAnswer)
{
    EXPECT_NONFATAL_FAILURE(fateOf(obeying(u"nonsense;loadSettings"_s).get()), "unknown command");
}

// The server may write its lines in any order: it does the next answer before it notices that the
// former one is not wanted any more.
TEST_F(KillJudgesTest, bytesTaken_restAndWholeBrokenOff_isTheRestInEachOrder)
{
    FileAnswers early(600);
    early.add(200, 600);
    early.add(206, 80);
    FileAnswers late(600);
    late.add(206, 80);
    late.add(200, 600);
    EXPECT_EQ(early.bytesTaken(false), 80);
    EXPECT_EQ(late.bytesTaken(false), 80);
}

TEST_F(KillJudgesTest, bytesTaken_wholeAfterTheRest_countsBoth)
{
    FileAnswers answers(600);
    for (const int status : { 200, 206, 200 })
        answers.add(status, status == 206 ? 80 : 600);
    EXPECT_EQ(answers.bytesTaken(false), 680);
}

TEST_F(KillJudgesTest, bytesTaken_wholeAlone_countsUnlessAllWasThere)
{
    FileAnswers answers(600);
    answers.add(200, 600);
    EXPECT_EQ(answers.bytesTaken(false), 600);
    EXPECT_EQ(answers.bytesTaken(true), 0);
    answers.add(200, 600);
    EXPECT_EQ(answers.bytesTaken(true), 600);
}
