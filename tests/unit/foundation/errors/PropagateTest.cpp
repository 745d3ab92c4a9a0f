#include "errors/Propagate.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

Error failing()
{
    return ZEL_ERROR(ErrorCode::BadData, u"deep"_s);
}

Error passing()
{
    Error error;
    ZEL_TRY(error, failing());
    ADD_FAILURE() << "went on after a failure";
    return error;
}

Result<int> number(bool works)
{
    if (!works)
        return ZEL_ERROR(ErrorCode::BadArgument, u"no number"_s);
    return 7;
}

Result<QString> text(bool works)
{
    ZEL_TRY_LET(const int value, number(works));
    return QString::number(value);
}

Error warned()
{
    Error error;
    ZEL_TRY(error, Error().addWarning(u"w"_s));
    return error;
}

QStringList *logged = nullptr;

void collectMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    logged->append(message);
}

} // namespace

TEST(PropagateTest, tryError_failure_leavesWithAStampPerLevel)
{
    const Error error = passing();
    EXPECT_EQ(error.errorCode(), ErrorCode::BadData);
    ASSERT_EQ(error.trail().size(), 2);
    EXPECT_THAT(error.trail().at(0).function.toStdString(), testing::HasSubstr("failing"));
    EXPECT_THAT(error.trail().at(1).function.toStdString(), testing::HasSubstr("passing"));
}

TEST(PropagateTest, tryError_file_isToldFromTheRootOfTheTree)
{
    EXPECT_EQ(failing().trail().at(0).file, "tests/unit/foundation/errors/PropagateTest.cpp");
}

TEST(PropagateTest, tryLet_success_givesTheValue)
{
    const Result<QString> result = text(true);
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value(), u"7"_s);
}

TEST(PropagateTest, tryLet_failure_changesTheResultTypeAndKeepsTheTrail)
{
    const Result<QString> result = text(false);
    ASSERT_FALSE(result.hasValue());
    EXPECT_EQ(result.error().errorMessage(), u"no number"_s);
    EXPECT_EQ(result.error().trail().size(), 2);
}

TEST(PropagateTest, tryError_successWithWarnings_warningsTravel)
{
    EXPECT_EQ(warned().warnings(), QList<QString> { u"w"_s });
}

TEST(PropagateTest, pass_success_hasNoTrail)
{
    EXPECT_TRUE(ZEL_PASS(Error()).trail().isEmpty());
}

TEST(PropagateTest, drop_failure_logsItWithTheTrail)
{
    QStringList messages;
    logged = &messages;
    const QtMessageHandler before = qInstallMessageHandler(collectMessage);
    ZEL_DROP(failing());
    ZEL_DROP(Error());
    ZEL_DROP(number(true));
    qInstallMessageHandler(before);

    ASSERT_EQ(messages.size(), 1);
    EXPECT_THAT(messages.first().toStdString(), testing::HasSubstr("deep"));
    EXPECT_THAT(messages.first().toStdString(), testing::HasSubstr("failing"));
}
