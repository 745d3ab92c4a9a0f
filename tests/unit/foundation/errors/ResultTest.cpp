#include "errors/Result.h"

#include <QStringList>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(ResultTest, construct_value_hasItAndNoWarnings)
{
    const Result<QString> result(u"v"_s);
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value(), u"v"_s);
    EXPECT_TRUE(result.warnings().isEmpty());
}

TEST(ResultTest, construct_error_showsItsWarnings)
{
    Error error(1, u"bad"_s);
    error.addWarning(u"w"_s);
    const Result<int> result(error);
    ASSERT_FALSE(result.hasValue());
    EXPECT_EQ(result.error(), error);
    EXPECT_EQ(result.warnings(), QList<QString> { u"w"_s });
}

TEST(ResultTest, copyAndMove_eitherMember_carryBaseAndMember)
{
    Result<QString> good(u"v"_s);
    good.addWarning(u"w"_s);
    Result<QString> copy = good;
    EXPECT_EQ(copy.value(), u"v"_s);
    EXPECT_EQ(copy.warnings().size(), 1);

    Result<QString> bad(Error(2, u"e"_s));
    copy = bad;
    ASSERT_FALSE(copy.hasValue());
    EXPECT_EQ(copy.error().errorMessage(), u"e"_s);

    const Result<QString> moved = std::move(good);
    EXPECT_EQ(moved.value(), u"v"_s);
    copy = Result<QString>(u"again"_s);
    EXPECT_EQ(copy.value(), u"again"_s);
}

TEST(ResultTest, moveOnlyValue_movesOut)
{
    Result<std::unique_ptr<int>> result(std::make_unique<int>(5));
    const std::unique_ptr<int> owned = std::move(result).value();
    EXPECT_EQ(*owned, 5);
}

TEST(ResultTest, assign_itself_keepsTheValue)
{
    Result<QString> result(u"v"_s);
    Result<QString> &same = result;
    result = same;
    EXPECT_EQ(result.value(), u"v"_s);
}

#ifndef QT_NO_DEBUG
TEST(ResultDeathTest, value_ofFailure_endsADebugBuild)
{
    Result<int> failure(Error(1, u"bad"_s));
    EXPECT_DEATH(failure.value() = 5, "hasValue_");
    EXPECT_DEATH(static_cast<void>(std::as_const(failure).value()), "hasValue_");
    EXPECT_DEATH(static_cast<void>(std::move(failure).value()), "hasValue_");
}

TEST(ResultDeathTest, error_ofSuccess_endsADebugBuild)
{
    Result<int> success(5);
    EXPECT_DEATH(success.error().addWarning(u"w"_s), "hasValue_");
    EXPECT_DEATH(static_cast<void>(std::as_const(success).error()), "hasValue_");
}
#endif

TEST(ResultTest, warnings_onFailure_reachTheError)
{
    Result<int> result(Error(1));
    result.addWarning(u"a"_s);
    result.addWarnings({ u"b"_s });
    EXPECT_EQ(result.error().warnings(), (QList<QString> { u"a"_s, u"b"_s }));
    EXPECT_EQ(result.warnings(), result.error().warnings());
    result.resetWarning(u"c"_s);
    EXPECT_EQ(result.error().warnings(), QList<QString> { u"c"_s });
    result.resetWarnings({ u"d"_s, u"e"_s });
    EXPECT_EQ(result.error().warnings(), (QList<QString> { u"d"_s, u"e"_s }));
    result.clearWarnings();
    EXPECT_TRUE(result.error().warnings().isEmpty());
    EXPECT_TRUE(result.warnings().isEmpty());
}

TEST(ResultTest, warnings_onSuccess_stayOnTheResult)
{
    Result<int> result(1);
    result.addWarning(u"a"_s);
    EXPECT_EQ(result.warnings(), QList<QString> { u"a"_s });
    EXPECT_EQ(result.value(), 1);
}

TEST(ResultTest, warnings_throughTheBase_reachTheErrorToo)
{
    Result<int> result(Error(1));
    Warnings &base = result;
    base.addWarning(u"a"_s);
    EXPECT_EQ(result.error().warnings(), QList<QString> { u"a"_s });
}
