#include "threads/LockOrder.h"
#include "threads/Mutex.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

using namespace zel;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

// Functions with names that only their stacks can tell.
[[gnu::noinline]] void takeFirst(Mutex &mutex)
{
    mutex.lock();
}

[[gnu::noinline]] void takeSecond(Mutex &mutex)
{
    mutex.lock();
}

[[gnu::noinline]] void takeBothInOrder(Mutex &outer, Mutex &inner)
{
    const std::lock_guard first(outer);
    const std::lock_guard second(inner);
}

[[gnu::noinline]] void takeBothTheOtherWay(Mutex &outer, Mutex &inner)
{
    const std::lock_guard first(inner);
    const std::lock_guard second(outer);
}

class LockOrderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        if (!LockOrder::isChecked())
            GTEST_SKIP() << "Only debug builds look at the takes of locks.";
    }

    Mutex spoons { "the spoons" };
    Mutex forks { "the forks" };
    Mutex knives { "the knives" };
};

} // namespace

TEST_F(LockOrderTest, take_heldByThisThread_endsWithBothStacks)
{
    EXPECT_EXIT(
        {
            takeFirst(spoons);
            takeSecond(spoons);
        },
        testing::KilledBySignal(SIGABRT),
        AllOf(HasSubstr("holds the spoons and takes it once more"),
              ContainsRegex("first was taken here:(.|\n)*takeFirst(.|\n)*"
                            "second is taken here:(.|\n)*takeSecond")));
}

TEST_F(LockOrderTest, take_anotherOfTheKind_endsWithBothStacks)
{
    Mutex moreSpoons { "the spoons" };
    EXPECT_EXIT(
        {
            takeFirst(spoons);
            takeSecond(moreSpoons);
        },
        testing::KilledBySignal(SIGABRT),
        AllOf(HasSubstr("holds the spoons and takes another of this kind"),
              ContainsRegex("takeFirst(.|\n)*takeSecond")));
}

TEST_F(LockOrderTest, take_otherWayRoundThanAnotherThreadDid_endsWithTheStacksOfBoth)
{
    EXPECT_EXIT(
        {
            std::thread(takeBothInOrder, std::ref(spoons), std::ref(forks)).join();
            takeBothTheOtherWay(spoons, forks);
        },
        testing::KilledBySignal(SIGABRT),
        AllOf(
            HasSubstr("holds the forks and takes the spoons, which are taken the other way round"),
            ContainsRegex("Here it took the forks:(.|\n)*takeBothTheOtherWay(.|\n)*"
                          "Here it takes the spoons:(.|\n)*takeBothTheOtherWay(.|\n)*"
                          "Elsewhere, the spoons was taken here:(.|\n)*takeBothInOrder(.|\n)*"
                          "behind it the forks here:(.|\n)*takeBothInOrder")));
}

TEST_F(LockOrderTest, take_otherObjectsOfTheSameKinds_endsAllTheSame)
{
    Mutex otherSpoons { "the spoons" };
    Mutex otherForks { "the forks" };
    EXPECT_EXIT(
        {
            takeBothInOrder(spoons, forks);
            takeBothTheOtherWay(otherSpoons, otherForks);
        },
        testing::KilledBySignal(SIGABRT), HasSubstr("the other way round"));
}

TEST_F(LockOrderTest, take_otherWayRoundByWayOfAThird_endsWithTheWholeWay)
{
    EXPECT_EXIT(
        {
            takeBothInOrder(spoons, forks);
            takeBothInOrder(forks, knives);
            takeBothTheOtherWay(spoons, knives);
        },
        testing::KilledBySignal(SIGABRT),
        ContainsRegex("Elsewhere, the spoons was taken(.|\n)*behind it the forks here(.|\n)*"
                      "Elsewhere, the forks was taken(.|\n)*behind it the knives here"));
}

TEST_F(LockOrderTest, take_sameOrderAgain_goesOn)
{
    takeBothInOrder(spoons, forks);
    takeBothInOrder(spoons, forks);
    takeBothInOrder(forks, knives);
    takeBothInOrder(spoons, knives);
}

TEST_F(LockOrderTest, tryTake_otherWayRoundThanATakeThatWaits_goesOn)
{
    takeBothInOrder(spoons, forks);
    const std::lock_guard first(forks);
    ASSERT_TRUE(spoons.try_lock());
    spoons.unlock();
}

TEST_F(LockOrderTest, take_heldByAnEarlierTry_endsWithBothStacks)
{
    EXPECT_EXIT(
        {
            if (spoons.try_lock())
                takeSecond(spoons);
        },
        testing::KilledBySignal(SIGABRT), HasSubstr("holds the spoons and takes it once more"));
}

TEST_F(LockOrderTest, take_givenBackBefore_isNoOrder)
{
    for (Mutex *mutex : { &spoons, &forks, &spoons })
        const std::lock_guard lock(*mutex);
}

TEST_F(LockOrderTest, take_heldByAnotherThread_waits)
{
    takeFirst(spoons);
    std::thread other([this] { const std::lock_guard lock(spoons); });
    spoons.unlock();
    other.join();
}

TEST_F(LockOrderTest, take_movedToAnotherThread_holdsThere)
{
    const int lock = 0;
    LockOrder::beforeTake(&lock, "a lock that moves");
    LockOrder::afterTake(&lock, "a lock that moves");
    std::thread([&lock] { LockOrder::afterTake(&lock, "a lock that moves"); }).join();
    LockOrder::beforeTake(&lock, "a lock that moves"); // this thread may wait for it again
    LockOrder::beforeGivingBack(&lock);
}
