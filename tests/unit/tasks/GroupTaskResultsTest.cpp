#include "GroupTask.h"
#include "Task.h"
#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A group of subtasks that have ended with these results, ended itself.
std::unique_ptr<GroupTask> groupWithResults(const QVariantList &results)
{
    auto group = std::make_unique<GroupTask>();
    QList<BaseTask *> subtasks;
    for (const QVariant &result : results) {
        subtasks.append(appendedTo(*group));
        subtasks.last()->setVariantResult(result);
    }
    for (BaseTask *subtask : std::as_const(subtasks))
        subtask->finish(Error());
    EXPECT_TRUE(group->isFinished());
    return group;
}

Result<bool> allOf(const GroupTask &group)
{
    return group.accumulateResults<bool>(std::logical_and<bool>(), true);
}

} // namespace

TEST(GroupTaskResultsTest, accumulateResults_unfinished_saysSo)
{
    GroupTask group;
    appendedTo(group);
    const Result<bool> result = allOf(group);
    ASSERT_FALSE(result.hasValue());
    EXPECT_TRUE(result.error().equals(
        Error(ErrorCode::OperationFailed, u"Cannot get results for unfinished group task."_s)));
}

TEST(GroupTaskResultsTest, accumulateResults_noSubtasks_saysSo)
{
    GroupTask group;
    group.finish(Error());
    const Result<bool> result = allOf(group);
    ASSERT_FALSE(result.hasValue());
    EXPECT_TRUE(
        result.error().equals(Error(ErrorCode::BadArgument, u"No subtasks in group task."_s)));
}

TEST(GroupTaskResultsTest, accumulateResults_allTrue_isTrue)
{
    const Result<bool> result = allOf(*groupWithResults({ true, true, true }));
    ASSERT_TRUE(result.hasValue());
    EXPECT_TRUE(result.value());
}

TEST(GroupTaskResultsTest, accumulateResults_oneFalse_isFalse)
{
    const Result<bool> result = allOf(*groupWithResults({ true, false, true }));
    ASSERT_TRUE(result.hasValue());
    EXPECT_FALSE(result.value());
}

TEST(GroupTaskResultsTest, accumulateResults_foldsInTheOrderOfAppending)
{
    const auto group = groupWithResults({ u"b"_s, u"c"_s });
    const Result<QString> result = group->accumulateResults<QString>(
        [](const QString &left, const QString &right) { return left + right; }, u"a"_s);
    ASSERT_TRUE(result.hasValue());
    EXPECT_EQ(result.value(), u"abc"_s);
}

TEST(GroupTaskResultsTest, accumulateResults_unreadableBehindAFalse_failsAllTheSame)
{
    const Result<bool> wrong = allOf(*groupWithResults({ false, u"text"_s }));
    ASSERT_FALSE(wrong.hasValue());
    EXPECT_TRUE(
        wrong.error().equals(Error(ErrorCode::BadArgument, u"Return type does not match."_s)));

    const Result<bool> missing = allOf(*groupWithResults({ false, QVariant() }));
    ASSERT_FALSE(missing.hasValue());
    EXPECT_TRUE(
        missing.error().equals(Error(ErrorCode::OperationFailed, u"Return value is not set."_s)));
    EXPECT_EQ(missing.error().trail().size(), 2);
}

TEST(GroupTaskResultsTest, accumulateResults_failedGroup_isItsUnifiedErrorWithAStamp)
{
    GroupTask group;
    BaseTask *good = appendedTo(group);
    BaseTask *bad = appendedTo(group);
    good->setResult(u"of another type"_s);
    good->finish(Error());
    bad->finish(Error(ErrorCode::UnsupportedContainer, u"broken"_s));
    const Result<bool> result = allOf(group);
    ASSERT_FALSE(result.hasValue());
    EXPECT_TRUE(result.error().equals(Error(ErrorCode::UnsupportedContainer, u"broken"_s)));
    EXPECT_EQ(result.error().trail().size(), group.error().trail().size() + 1);
}

TEST(GroupTaskResultsTest, texts_areTranslatedInTheContextOfTheClass)
{
    GroupTask unfinished, empty;
    empty.finish(Error());
    const ContextTranslator translator;
    EXPECT_EQ(allOf(unfinished).error().errorMessage(), u"zel::GroupTask"_s);
    EXPECT_EQ(allOf(empty).error().errorMessage(), u"zel::GroupTask"_s);
}

TEST(GroupTaskResultsTest, waitForAllFinished_allFinishedBefore_returns)
{
    GroupTask group;
    auto *subtask = new BaseTask;
    subtask->finish(Error(ErrorCode::BadData, u"broken"_s));
    group.append(subtask);
    EXPECT_EQ(group.waitForAllFinished(-1).errorMessage(), u"broken"_s);
}

TEST(GroupTaskResultsTest, waitForAllFinished_groupEndedEarly_waitsForItsSubtasks)
{
    GroupTask group;
    BaseTask *subtask = appendedTo(group);
    group.finish(Error(ErrorCode::BadData, u"early"_s));
    EXPECT_EQ(group.waitForAllFinished(0).errorCode(), ErrorCode::OperationFailed);
    QTimer::singleShot(1, subtask, [subtask] { subtask->finish(Error()); });
    EXPECT_EQ(group.waitForAllFinished(-1).errorMessage(), u"early"_s);
    EXPECT_TRUE(subtask->isFinished());
}

TEST(GroupTaskResultsTest, waitForAllFinished_nestedGroupEndedEarly_waitsForItsSubtasks)
{
    GroupTask outer;
    auto *inner = new GroupTask;
    outer.append(inner);
    BaseTask *leaf = appendedTo(*inner);
    inner->finish(Error());
    ASSERT_TRUE(outer.isFinished());
    QTimer::singleShot(1, leaf, [leaf] { leaf->finish(Error()); });
    EXPECT_FALSE(outer.waitForAllFinished(-1).hasError());
    EXPECT_TRUE(leaf->isFinished());
}

TEST(GroupTaskResultsTest, waitForAllFinished_subtaskDestroyedMeanwhile_givesCode20)
{
    GroupTask group;
    BaseTask *subtask = appendedTo(group);
    QTimer::singleShot(1, subtask, [subtask] { delete subtask; });
    EXPECT_EQ(group.waitForAllFinished(-1).errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskResultsTest, waitForAllFinished_groupDestroyedMeanwhile_givesCode20)
{
    auto *group = new GroupTask;
    appendedTo(*group);
    QTimer::singleShot(1, group, [group] { delete group; });
    EXPECT_EQ(group->waitForAllFinished(-1).errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskResultsTest, waitForAllFinished_inASlotOfTheLastSubtask_returns)
{
    GroupTask group;
    BaseTask *subtask = appendedTo(group);
    std::optional<Error> seen;
    QObject::connect(subtask, &BaseTask::finished, subtask,
                     [&] { seen = group.waitForAllFinished(-1); });
    subtask->finish(Error(ErrorCode::BadData, u"broken"_s));
    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(seen->errorMessage(), u"broken"_s);
}
