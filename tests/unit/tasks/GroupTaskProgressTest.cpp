#include "GroupTask.h"
#include "TaskTestSupport.h"

using namespace zel;
using namespace zel::test;

TEST(GroupTaskProgressTest, progress_countsTheSubtasksThatHaveEnded)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    const QSignalSpy progress(&group, &BaseTask::progress);
    first->finish(Error());
    second->finish(Error(ErrorCode::BadData));
    EXPECT_EQ(progress, (QList<QList<QVariant>> { { 1, 2 }, { 2, 2 } }));
}

TEST(GroupTaskProgressTest, progress_endOnAnotherThreadMeanwhile_isToldBehindItAndBeforeTheEnd)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    Gate gate;
    std::promise<void> isTelling;
    std::vector<int> told;
    const auto holdUp = [&](int) {
        isTelling.set_value();
        gate.pass();
    };
    const auto note = [&told](int value) {
        told.push_back(value);
    };
    const auto noteEnd = [&told] {
        told.push_back(-1);
    };
    QObject::connect(&group, &BaseTask::progressInitiated, &group, holdUp, Qt::DirectConnection);
    QObject::connect(&group, &BaseTask::progress, &group, note, Qt::DirectConnection);
    QObject::connect(&group, &BaseTask::finished, &group, noteEnd, Qt::DirectConnection);

    std::thread worker([first] { first->finish(Error()); });
    isTelling.get_future().wait();
    second->finish(Error());
    gate.open();
    worker.join();
    EXPECT_EQ(told, std::vector<int>({ 1, 2, -1 }));
    EXPECT_EQ(group.progressValue(), 2);
    EXPECT_TRUE(group.isSuccessful());
}

TEST(GroupTaskProgressTest, progress_waitFromElsewhereMeanwhile_endComesBehindIt)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    Gate gate;
    std::promise<void> isTelling;
    std::vector<int> told;
    const auto holdUp = [&](int value) {
        if (value == 1)
            isTelling.set_value();
        if (value == 1)
            gate.pass();
        told.push_back(value);
    };
    QObject::connect(&group, &BaseTask::progress, &group, holdUp, Qt::DirectConnection);
    std::thread worker([first] { first->finish(Error()); });
    isTelling.get_future().wait();
    second->finish(Error());
    EXPECT_EQ(group.waitForAllFinished(0).errorCode(), ErrorCode::OperationFailed);
    gate.open();
    EXPECT_FALSE(group.waitForAllFinished(-1).hasError());
    worker.join();
    EXPECT_EQ(told, std::vector<int>({ 1, 2 }));
}

// Whoever tells of the ends cannot be waited for while it waits itself.
TEST(GroupTaskProgressTest, progress_slotWaitsForTheGroupAroundIt_isServed)
{
    for (const bool endsBeforeTheWait : { true, false }) {
        GroupTask outer;
        auto *group = new GroupTask;
        BaseTask *first = appendedTo(*group);
        BaseTask *second = appendedTo(*group);
        outer.append(group);
        Gate gate;
        std::promise<void> isTelling;
        Error outcome;
        std::vector<int> told;
        const auto wait = [&](int value) {
            told.push_back(value);
            if (value != 1)
                return;
            isTelling.set_value();
            if (endsBeforeTheWait)
                gate.pass();
            outcome = outer.waitForAllFinished(10000);
        };
        const auto noteEnd = [&told] {
            told.push_back(-1);
        };
        QObject::connect(group, &BaseTask::progress, group, wait, Qt::DirectConnection);
        QObject::connect(group, &BaseTask::finished, group, noteEnd, Qt::DirectConnection);
        std::thread worker([first] { first->finish(Error()); });
        isTelling.get_future().wait();
        second->finish(Error());
        gate.open();
        worker.join();
        EXPECT_FALSE(outcome.hasError()) << endsBeforeTheWait;
        EXPECT_TRUE(outer.isSuccessful());
        EXPECT_EQ(told, std::vector<int>({ 1, 2, -1 })) << endsBeforeTheWait;
        EXPECT_EQ(group->progressValue(), 2);
    }
}

// As a dialog in the slot does.
TEST(GroupTaskProgressTest, progress_slotDeliversThePostedEnd_lastOneIsToldBeforeIt)
{
    GroupTask group;
    BaseTask *first = appendedTo(group);
    BaseTask *second = appendedTo(group);
    std::vector<int> told;
    const auto endTheOther = [&](int value) {
        told.push_back(value);
        if (value != 1)
            return;
        std::thread([second] { second->finish(Error()); }).join();
        deliverEvents();
    };
    const auto noteEnd = [&told] {
        told.push_back(-1);
    };
    QObject::connect(&group, &BaseTask::progress, &group, endTheOther, Qt::DirectConnection);
    QObject::connect(&group, &BaseTask::finished, &group, noteEnd, Qt::DirectConnection);
    first->finish(Error());
    EXPECT_EQ(told, std::vector<int>({ 1, 2, -1 }));
    EXPECT_EQ(group.progressValue(), 2);
    EXPECT_TRUE(group.isSuccessful());
}

// It has finished and not told yet when a wait for the group finds that all have.
TEST(GroupTaskProgressTest, progress_subtaskTellsItsEndLate_groupEndsWithAllToldOnce)
{
    GroupTask group;
    BaseTask *late = appendedTo(group);
    BaseTask *other = appendedTo(group);
    Gate gate;
    std::promise<void> hasFinished;
    const auto holdUp = [&] {
        hasFinished.set_value();
        gate.pass();
    };
    QObject::connect(late, &BaseTask::finished, late, holdUp, Qt::DirectConnection);
    std::thread worker([late] { late->finish(Error()); });
    hasFinished.get_future().wait();
    other->finish(Error());

    // In the last progress the late one comes to tell it, too.
    std::vector<int> told;
    const auto letItTell = [&](int value) {
        gate.open();
        worker.join();
        told.push_back(value);
        EXPECT_FALSE(group.waitForAllFinished(10000).hasError()); // a slot like this one may
    };
    const auto noteEnd = [&told] {
        told.push_back(-1);
    };
    QObject::connect(&group, &BaseTask::progress, &group, letItTell, Qt::DirectConnection);
    QObject::connect(&group, &BaseTask::finished, &group, noteEnd, Qt::DirectConnection);
    EXPECT_FALSE(group.waitForAllFinished(0).hasError());
    if (worker.joinable()) {
        gate.open();
        worker.join();
    }
    EXPECT_EQ(told, std::vector<int>({ 2, -1 }));
    EXPECT_EQ(group.progressValue(), 2);
}
