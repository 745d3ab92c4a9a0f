#include "GroupTask.h"
#include "Task.h"
#include "TaskTestSupport.h"

#include <QPointer>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(GroupTaskSubtasksTest, subtasks_modes_chooseWhatIsListed)
{
    GroupTask outer;
    BaseTask *first = appendedTo(outer);
    auto *inner = new GroupTask;
    outer.append(inner);
    BaseTask *leaf = appendedTo(*inner);
    BaseTask *endedLeaf = appendedTo(*inner);
    BaseTask *last = appendedTo(outer);
    endedLeaf->finish(Error());
    last->finish(Error());

    using Tasks = QList<BaseTask *>;
    EXPECT_EQ(outer.subtasks({}), Tasks({ first, inner, last }));
    EXPECT_EQ(outer.subtasks(GroupTask::UnfinishedOnly), Tasks({ first, inner }));
    EXPECT_EQ(outer.subtasks(GroupTask::Recursive), Tasks({ first, inner, leaf, endedLeaf, last }));
    EXPECT_EQ(outer.subtasks(GroupTask::Recursive | GroupTask::UnfinishedOnly),
              Tasks({ first, inner, leaf }));
}

TEST(GroupTaskSubtasksTest, executableSubtasks_listsLeavesOfAllLevels)
{
    GroupTask outer;
    auto *idle = new Task;
    auto *inner = new GroupTask;
    auto *running = new Task;
    auto *finished = new Task;
    outer.append(idle);
    outer.append(inner);
    inner->append(running);
    outer.append(finished);
    appendedTo(outer); // Has no work to run.
    running->setRunning();
    finished->finish(Error());

    EXPECT_EQ(outer.executableSubtasks(false), QList<Task *>({ idle, running, finished }));
    EXPECT_EQ(outer.executableSubtasks(true), QList<Task *>({ idle }));
    running->finish(Error());
}

TEST(GroupTaskSubtasksTest, nestedGroup_endsBeforeTheOuterOne)
{
    GroupTask outer;
    auto *inner = new GroupTask;
    outer.append(inner);
    BaseTask *leaf = appendedTo(*inner);
    BaseTask *other = appendedTo(outer);
    leaf->setRunning();
    EXPECT_TRUE(outer.isRunning());
    other->finish(Error());
    EXPECT_FALSE(outer.isFinished());
    leaf->finish(Error(ErrorCode::BadData, u"leaf"_s));
    EXPECT_TRUE(inner->isFinished());
    EXPECT_TRUE(outer.error().equals(Error(ErrorCode::BadData, u"leaf"_s)));
}

TEST(GroupTaskSubtasksTest, destroyedSubtask_unfinished_countsAsCanceled)
{
    GroupTask group;
    BaseTask *lost = appendedTo(group);
    BaseTask *other = appendedTo(group);
    delete lost;
    EXPECT_EQ(group.subtasks(), QList<BaseTask *>({ other }));
    other->finish(Error());
    EXPECT_TRUE(group.isFinished());
    EXPECT_EQ(group.error().errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskSubtasksTest, destroyedSubtask_lastUnfinishedOne_endsTheGroup)
{
    GroupTask group;
    BaseTask *lost = appendedTo(group);
    appendedTo(group)->finish(Error());
    delete lost;
    EXPECT_TRUE(eventually([&group] { return group.isFinished(); }));
    EXPECT_EQ(group.error().errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskSubtasksTest, destroyedSubtask_onlyOne_endsTheGroup)
{
    GroupTask group;
    delete appendedTo(group);
    EXPECT_TRUE(eventually([&group] { return group.isFinished(); }));
    EXPECT_EQ(group.error().errorCode(), ErrorCode::Canceled);
}

TEST(GroupTaskSubtasksTest, destroyedSubtask_finished_leavesTheCountRight)
{
    GroupTask group;
    BaseTask *gone = appendedTo(group);
    BaseTask *other = appendedTo(group);
    gone->finish(Error());
    delete gone;
    deliverEvents();
    EXPECT_FALSE(group.isFinished());
    other->finish(Error());
    EXPECT_TRUE(group.isSuccessful());
}

TEST(GroupTaskSubtasksTest, destroyedSubtask_failed_leavesItsFailure)
{
    GroupTask group;
    BaseTask *gone = appendedTo(group);
    BaseTask *other = appendedTo(group);
    gone->finish(Error(ErrorCode::BadData, u"gone"_s));
    delete gone;
    other->finish(Error());
    EXPECT_TRUE(group.error().equals(Error(ErrorCode::BadData, u"gone"_s)));
}

TEST(GroupTaskSubtasksTest, destroyedSubtask_inASlotOfItsEnd_isCountedOnce)
{
    GroupTask group;
    BaseTask *gone = appendedTo(group);
    BaseTask *other = appendedTo(group);
    QObject context;
    QObject::connect(gone, &BaseTask::finished, &context, [gone] { delete gone; });
    gone->finish(Error());
    deliverEvents();
    EXPECT_FALSE(group.isFinished());
    other->finish(Error());
    EXPECT_TRUE(group.isSuccessful());
}

TEST(GroupTaskSubtasksTest, destruction_idleAndFinishedSubtasks_goAlong)
{
    QPointer<BaseTask> idle, finished;
    {
        GroupTask group;
        idle = appendedTo(group);
        finished = appendedTo(group);
        finished->finish(Error());
    }
    EXPECT_TRUE(idle.isNull());
    EXPECT_TRUE(finished.isNull());
}

TEST(GroupTaskSubtasksTest, destruction_runningSubtask_isCanceledAndGoesAtItsEnd)
{
    auto group = std::make_unique<GroupTask>();
    const QPointer<BaseTask> running = appendedTo(*group);
    running->setRunning();
    group.reset();
    ASSERT_FALSE(running.isNull());
    EXPECT_TRUE(running->isCanceled());
    running->finish(Error(ErrorCode::Canceled));
    deliverEvents();
    EXPECT_TRUE(running.isNull());
}
