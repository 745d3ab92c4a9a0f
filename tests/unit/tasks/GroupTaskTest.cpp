#include "GroupTask.h"
#include "Task.h"
#include "TaskTestSupport.h"

#include <QPointer>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Judges its subtasks by a rule of its own.
class StrictGroup : public GroupTask
{
public:
    Error unifiedError() const override { return Error(ErrorCode::BadData, u"strict"_s); }
};

} // namespace

TEST(GroupTaskTest, getSubtasksMode_numbersAreAgreed)
{
    EXPECT_EQ(int(GroupTask::Recursive), 1);
    EXPECT_EQ(int(GroupTask::UnfinishedOnly), 2);
}

TEST(GroupTaskTest, append_idleSubtask_groupStaysIdle)
{
    GroupTask group;
    appendedTo(group);
    deliverEvents();
    EXPECT_TRUE(group.isIdle());
}

TEST(GroupTaskTest, append_runningSubtask_startsTheGroup)
{
    GroupTask group;
    auto *subtask = new BaseTask;
    subtask->setRunning();
    group.append(subtask);
    EXPECT_TRUE(group.isRunning());
    subtask->finish(Error());
}

TEST(GroupTaskTest, append_nullAndASecondTime_areIgnored)
{
    GroupTask group;
    group.append(nullptr);
    BaseTask *subtask = appendedTo(group);
    group.append(subtask);
    EXPECT_EQ(group.subtasks(), QList<BaseTask *>({ subtask }));
    subtask->finish(Error());
    EXPECT_TRUE(group.isFinished());
    EXPECT_EQ(group.progressMaximum(), 1);
}

TEST(GroupTaskTest, append_sameThread_makesTheGroupItsParent)
{
    GroupTask group;
    EXPECT_EQ(appendedTo(group)->parent(), &group);
}

TEST(GroupTaskTest, append_subtaskOfAnotherThread_isOwnedWithoutBeingAChild)
{
    LoopThread other;
    auto *subtask = new BaseTask;
    subtask->moveToThread(other.get());
    const QPointer<BaseTask> guard = subtask;
    {
        GroupTask group;
        group.append(subtask);
        EXPECT_EQ(subtask->parent(), nullptr);
        EXPECT_EQ(group.subtasks(), QList<BaseTask *>({ subtask }));
    }
    EXPECT_TRUE(guard.isNull());
}

TEST(GroupTaskTest, append_subtaskUnparentedAndMoved_stillCounts)
{
    LoopThread other;
    GroupTask group;
    BaseTask *subtask = appendedTo(group);
    subtask->setParent(nullptr);
    subtask->moveToThread(other.get());
    EXPECT_EQ(group.subtasks(), QList<BaseTask *>({ subtask }));
    other.call([subtask] {
        subtask->finish(Error(ErrorCode::BadData, u"broken"_s));
        return true;
    });
    EXPECT_EQ(group.waitForAllFinished(-1).errorMessage(), u"broken"_s);
}

TEST(GroupTaskTest, append_allFinishedBefore_endIsPosted)
{
    GroupTask group;
    for (int i = 0; i < 3; ++i) {
        auto *subtask = new BaseTask;
        subtask->finish(Error());
        group.append(subtask);
        EXPECT_FALSE(group.isFinished());
    }
    const QSignalSpy finished(&group, &BaseTask::finished);
    EXPECT_TRUE(eventually([&group] { return group.isFinished(); }));
    deliverEvents();
    EXPECT_EQ(finished.count(), 1);
}

TEST(GroupTaskTest, append_unfinishedBehindAFinishedOne_takesThePostedEndBack)
{
    GroupTask group;
    auto *before = new BaseTask;
    before->finish(Error());
    group.append(before);
    BaseTask *subtask = appendedTo(group);
    deliverEvents();
    EXPECT_FALSE(group.isFinished());
    subtask->finish(Error());
    EXPECT_TRUE(group.isFinished());
}

TEST(GroupTaskTest, append_toAFinishedGroup_doesNotEndItAgain)
{
    GroupTask group;
    group.finish(Error());
    const QSignalSpy finished(&group, &BaseTask::finished);
    appendedTo(group)->finish(Error());
    deliverEvents();
    EXPECT_EQ(finished.count(), 0);
}

TEST(GroupTaskTest, filling_subtasksEndMeanwhile_groupEndsAfterIt)
{
    GroupTask group;
    {
        const GroupTask::Filling filling(&group);
        appendedTo(group)->finish(Error());
        appendedTo(group)->finish(Error());
        deliverEvents();
        EXPECT_FALSE(group.isFinished());
    }
    EXPECT_FALSE(group.isFinished());
    EXPECT_TRUE(eventually([&group] { return group.isFinished(); }));
}

TEST(GroupTaskTest, filling_groupDestroyedMeanwhile_isSurvived)
{
    auto group = std::make_unique<GroupTask>();
    const GroupTask::Filling filling(group.get());
    group.reset();
}

TEST(GroupTaskTest, end_firstSubtaskStarts_groupStartsOnce)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    const QSignalSpy started(&group, &BaseTask::started);
    second->setRunning();
    EXPECT_TRUE(group.isRunning());
    first->setRunning();
    EXPECT_EQ(started.count(), 1);
    first->finish(Error());
    second->finish(Error());
}

TEST(GroupTaskTest, end_comesWithTheLastSubtask)
{
    GroupTask group;
    const QList<BaseTask *> subtasks { appendedTo(group), appendedTo(group), appendedTo(group) };
    const QSignalSpy finished(&group, &BaseTask::finished);
    subtasks[2]->finish(Error());
    subtasks[0]->finish(Error());
    deliverEvents();
    EXPECT_FALSE(group.isFinished());
    subtasks[1]->finish(Error());
    EXPECT_TRUE(group.isSuccessful());
    EXPECT_EQ(finished.count(), 1);
}

TEST(GroupTaskTest, end_emptyGroup_comesOnlyByFinish)
{
    GroupTask group;
    group.setRunning();
    deliverEvents();
    EXPECT_EQ(group.waitForAllFinished(0).errorCode(), ErrorCode::OperationFailed);
    EXPECT_FALSE(group.isFinished());
    group.finish(Error());
    EXPECT_TRUE(group.isSuccessful());
}

TEST(GroupTaskTest, end_subtasksOnWorkers_comesOnce)
{
    GroupTask group;
    for (int i = 0; i < 40; ++i) {
        auto *subtask = new Task;
        subtask->setExecutionMode(Task::ExecutionMode::Asynchronous);
        group.append(subtask);
    }
    std::atomic<int> ends = 0;
    QObject::connect(
        &group, &BaseTask::finished, &group, [&ends] { ++ends; }, Qt::DirectConnection);
    const QList<Task *> leaves = group.executableSubtasks(true);
    for (Task *leaf : leaves)
        leaf->exec();
    EXPECT_FALSE(group.waitForAllFinished(-1).hasError());
    EXPECT_EQ(ends, 1);
    for (Task *leaf : leaves)
        EXPECT_TRUE(leaf->isSuccessful());
}

TEST(GroupTaskTest, end_groupDestroyedInASlotOfIt_isSurvived)
{
    auto *group = new GroupTask;
    BaseTask *subtask = appendedTo(*group);
    QObject context;
    QObject::connect(group, &BaseTask::finished, &context, [group] { delete group; });
    subtask->finish(Error());
}

TEST(GroupTaskTest, end_groupDestroyedInASlotOfItsProgress_isSurvived)
{
    auto *group = new GroupTask;
    BaseTask *subtask = appendedTo(*group);
    QObject context;
    QObject::connect(group, &BaseTask::progress, &context, [group] { delete group; });
    subtask->finish(Error());
}

TEST(GroupTaskTest, outcome_noFailure_isASuccess)
{
    GroupTask group;
    appendedTo(group)->finish(Error());
    EXPECT_FALSE(group.unifiedError().hasError());
    EXPECT_FALSE(group.error().hasError());
}

TEST(GroupTaskTest, outcome_failuresAgree_keepsTheirCode)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    BaseTask *third = appendedTo(group);
    first->finish(Error(ErrorCode::BadData, u"b"_s));
    second->finish(Error());
    third->finish(Error(ErrorCode::BadData, u"a"_s));
    EXPECT_TRUE(group.error().equals(Error(ErrorCode::BadData, u"a\nb"_s)));
}

TEST(GroupTaskTest, outcome_failuresDiffer_isCode1)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    first->finish(Error(ErrorCode::BadData, u"b"_s));
    second->finish(Error(ErrorCode::BadArgument, u"a"_s));
    EXPECT_TRUE(group.error().equals(Error(ErrorCode::OperationFailed, u"a\nb"_s)));
}

TEST(GroupTaskTest, outcome_subclassJudges_countsInstead)
{
    StrictGroup group;
    appendedTo(group)->finish(Error());
    EXPECT_TRUE(group.error().equals(Error(ErrorCode::BadData, u"strict"_s)));
}

TEST(GroupTaskTest, outcome_finishWithAFailure_isThatFailure)
{
    GroupTask group;
    BaseTask *subtask = appendedTo(group);
    group.finish(Error(ErrorCode::UnsupportedContainer, u"given up"_s));
    subtask->finish(Error(ErrorCode::BadData, u"late"_s));
    EXPECT_TRUE(group.error().equals(Error(ErrorCode::UnsupportedContainer, u"given up"_s)));
}

TEST(GroupTaskTest, cancel_asksEverySubtask)
{
    GroupTask group;
    BaseTask *idle = appendedTo(group);
    BaseTask *running = appendedTo(group);
    BaseTask *last = appendedTo(group);
    running->setRunning();
    group.cancel();
    EXPECT_TRUE(group.isCanceled());
    EXPECT_TRUE(running->isCanceled());
    EXPECT_TRUE(running->isRunning());
    EXPECT_EQ(idle->error().errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(last->error().errorCode(), ErrorCode::Canceled);
    EXPECT_FALSE(group.isFinished());

    running->finish(Error(ErrorCode::Canceled));
    EXPECT_EQ(group.error().errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskTest, cancel_allIdle_endsTheGroupWithCode20)
{
    GroupTask group;
    appendedTo(group);
    appendedTo(group);
    group.cancel();
    EXPECT_TRUE(group.isFinished());
    EXPECT_EQ(group.error().errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskTest, cancel_emptyGroup_endsItWithCode20)
{
    GroupTask group;
    group.cancel();
    EXPECT_EQ(group.error().errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskTest, cancel_nestedGroup_reachesItsSubtasks)
{
    GroupTask outer;
    auto *inner = new GroupTask;
    outer.append(inner);
    BaseTask *leaf = appendedTo(*inner);
    outer.cancel();
    EXPECT_EQ(leaf->error().errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(outer.isFinished());
}

TEST(GroupTaskTest, cancel_groupDestroyedByItsEnd_isSurvived)
{
    auto *group = new GroupTask;
    appendedTo(*group);
    appendedTo(*group);
    QObject context;
    QObject::connect(group, &BaseTask::finished, &context, [group] { delete group; });
    group->cancel();
}
