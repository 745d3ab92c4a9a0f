#include "ExitCode.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

struct ExitCodeCase
{
    const char *name;
    int errorCode;
    int exitCode;
};

class ExitCodeOfErrorTest : public testing::TestWithParam<ExitCodeCase>
{
};

TEST_P(ExitCodeOfErrorTest, exitCodeOf_code_isMapped)
{
    EXPECT_EQ(int(exitCodeOf(Error(GetParam().errorCode, u"text"_s))), GetParam().exitCode);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, ExitCodeOfErrorTest,
    testing::Values(ExitCodeCase { "success", 0, 0 }, ExitCodeCase { "failed", 1, 1 },
                    ExitCodeCase { "badArgument", 2, 2 },
                    ExitCodeCase { "saidByTheProgramOnly", 3, 1 }, ExitCodeCase { "badData", 4, 4 },
                    ExitCodeCase { "unsupportedContainer", 5, 5 },
                    ExitCodeCase { "integrity", 6, 6 }, ExitCodeCase { "noSpace", 7, 7 },
                    ExitCodeCase { "openingIsSaidByTheProgramOnly", 8, 1 },
                    ExitCodeCase { "canceled", 20, 20 }, ExitCodeCase { "featureLacking", 21, 21 },
                    ExitCodeCase { "noSignal", 130, 1 }, ExitCodeCase { "unknown", 4711, 1 },
                    ExitCodeCase { "negative", -1, 1 }),
    [](const auto &tested) { return std::string(tested.param.name); });

TEST(ExitCodeTest, exitCodeOf_noFailures_isSuccess)
{
    EXPECT_EQ(exitCodeOf(QList<Error>()), ExitCode::Success);
}

TEST(ExitCodeTest, exitCodeOf_failuresOfOneCode_isThatCode)
{
    EXPECT_EQ(exitCodeOf({ Error(6, u"a"_s), Error(6, u"b"_s) }), ExitCode::IntegrityViolated);
}

TEST(ExitCodeTest, exitCodeOf_failuresOfSeveralCodes_isPlainFailure)
{
    EXPECT_EQ(exitCodeOf({ Error(6, u"a"_s), Error(2, u"b"_s) }), ExitCode::Failed);
}

TEST(ExitCodeTest, exitCodeOfSignal_thoseThatEnd_areThoseOfShells)
{
    EXPECT_EQ(exitCodeOfSignal(2), ExitCode::Interrupted);
    EXPECT_EQ(exitCodeOfSignal(15), ExitCode::Terminated);
    EXPECT_EQ(exitCodeOfSignal(1), ExitCode::HungUp);
}

TEST(ExitCodeTest, exitCodeAfter_signalOrNone_isItsCodeOrThatOfTheCommand)
{
    EXPECT_EQ(exitCodeAfter(15, ExitCode::Success), ExitCode::Terminated);
    EXPECT_EQ(exitCodeAfter(0, ExitCode::AnswerIsNo), ExitCode::AnswerIsNo);
}

} // namespace zel::cli
