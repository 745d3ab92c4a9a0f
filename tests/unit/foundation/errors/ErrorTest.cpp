#include "errors/Error.h"
#include "errors/UnifiedError.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(ErrorTest, construct_default_isSuccess)
{
    EXPECT_FALSE(Error().hasError());
    EXPECT_EQ(Error().errorCode(), ErrorCode::Success);
}

TEST(ErrorTest, construct_codeZero_isSuccess)
{
    EXPECT_FALSE(Error(0).hasError());
    EXPECT_FALSE(Error(ErrorCode::Success).hasError());
}

TEST(ErrorTest, construct_codeAndMessage_keepsBoth)
{
    const Error error(ErrorCode::BadArgument, u"wrong"_s);
    EXPECT_TRUE(error.hasError());
    EXPECT_EQ(error.errorCode(), ErrorCode::BadArgument);
    EXPECT_EQ(error.errorMessage(), u"wrong"_s);
}

TEST(ErrorTest, construct_numberUnknownHere_isFailureOfThatNumber)
{
    EXPECT_TRUE(Error(7).hasError());
    EXPECT_EQ(static_cast<int>(Error(7, u"disk"_s).errorCode()), 7);
}

TEST(ErrorTest, ecatch_twoLevels_trailRunsOutward)
{
    Error error(ErrorCode::OperationFailed, u"x"_s);
    error.ecatch("inner()", "a.cpp", 1).ecatch("outer()", "b.cpp", 2);

    ASSERT_EQ(error.trail().size(), 2);
    EXPECT_EQ(error.trail().at(0).function, "inner()");
    EXPECT_EQ(error.trail().at(1).file, "b.cpp");
    EXPECT_EQ(error.trail().at(1).line, 2);
    EXPECT_THAT(error.description().toStdString(),
                testing::HasSubstr("error 1: x\n    inner() (a.cpp:1)\n    outer() (b.cpp:2)"));
}

TEST(ErrorTest, equals_differentTrailAndWarnings_stillEqual)
{
    Error left(1, u"x"_s);
    Error right(1, u"x"_s);
    left.ecatch("f", "a.cpp", 1);
    right.addWarning(u"careful"_s);
    EXPECT_TRUE(left.equals(right));
    EXPECT_EQ(qHash(left, 3), qHash(right, 3));
    EXPECT_EQ((QSet<Error> { left, right }.size()), 1);
}

TEST(ErrorTest, equals_differentCodeOrMessage_differ)
{
    EXPECT_FALSE(Error(1, u"x"_s).equals(Error(2, u"x"_s)));
    EXPECT_FALSE(Error(1, u"x"_s).equals(Error(1, u"y"_s)));
}

TEST(ErrorTest, warnings_everyOperation_changesTheList)
{
    Error error;
    error.addWarning(u"a"_s).addWarnings({ u"b"_s, u"c"_s });
    EXPECT_EQ(error.warnings(), (QList<QString> { u"a"_s, u"b"_s, u"c"_s }));
    error.resetWarning(u"d"_s);
    EXPECT_EQ(error.warnings(), QList<QString> { u"d"_s });
    error.resetWarnings({ u"e"_s, u"f"_s });
    EXPECT_EQ(error.warnings(), (QList<QString> { u"e"_s, u"f"_s }));
    EXPECT_TRUE(error.clearWarnings().warnings().isEmpty());
    EXPECT_FALSE(error.hasError());
}

TEST(UnifiedErrorTest, computeUnifiedError_emptySet_isSuccess)
{
    EXPECT_FALSE(UnifiedError::computeUnifiedError({}).hasError());
}

TEST(UnifiedErrorTest, computeUnifiedError_oneError_isThatError)
{
    Error only(4, u"x"_s);
    only.ecatch("f", "a.cpp", 1);
    const Error unified = UnifiedError::computeUnifiedError({ only });
    EXPECT_EQ(unified, only);
    EXPECT_EQ(unified.trail().size(), 1);
}

TEST(UnifiedErrorTest, computeUnifiedError_sharedCode_keepsItAndSortsMessages)
{
    const Error unified
        = UnifiedError::computeUnifiedError({ Error(4, u"second"_s), Error(4, u"first"_s) });
    EXPECT_EQ(unified.errorCode(), ErrorCode::BadData);
    EXPECT_EQ(unified.errorMessage(), u"first\nsecond"_s);
}

TEST(UnifiedErrorTest, computeUnifiedError_differentCodes_isCodeOneWithDistinctMessages)
{
    const Error unified = UnifiedError::computeUnifiedError(
        { Error(4, u"same"_s), Error(2, u"same"_s), Error(20) });
    EXPECT_EQ(unified.errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(unified.errorMessage(), u"same"_s);
}

TEST(UnifiedErrorTest, computeUnifiedError_warnings_travelAlong)
{
    Error left(1, u"x"_s);
    left.addWarning(u"careful"_s);
    const Error unified = UnifiedError::computeUnifiedError({ left, Error(1, u"y"_s) });
    EXPECT_EQ(unified.warnings(), QList<QString> { u"careful"_s });
}
