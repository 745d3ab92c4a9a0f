#include "platform/UnfinishedSemaphore.h"

#include "SemaphoreSets.h"
#include "TemporaryCache.h"
#include "platform/SystemSemaphoreState.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QSystemSemaphore>

#include <future>

#include <sys/sem.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Access = SystemSemaphoreState::Access;

class UnfinishedSemaphoreTest : public testing::Test
{
protected:
    ~UnfinishedSemaphoreTest() override { removeSystemSemaphore(key); }

    Access access() const { return SystemSemaphoreState::of(key).access; }

    const QString key = u"zel::UnfinishedTest-%1"_s.arg(QCoreApplication::applicationPid());
};

} // namespace

TEST_F(UnfinishedSemaphoreTest, remove_makerDied_removesIt)
{
    ASSERT_GE(makeUnfinishedSemaphore(SystemSemaphoreState::of(key).keyFile), 0);
    ASSERT_EQ(access(), Access::Seen);
    EXPECT_TRUE(UnfinishedSemaphore::remove(key, 0ms));
    EXPECT_EQ(access(), Access::Absent);
    EXPECT_FALSE(UnfinishedSemaphore::remove(key, 0ms));
}

TEST_F(UnfinishedSemaphoreTest, remove_makerFinishesMeanwhile_leavesIt)
{
    const int set = makeUnfinishedSemaphore(SystemSemaphoreState::of(key).keyFile);
    auto removal
        = std::async(std::launch::async, [this] { return UnfinishedSemaphore::remove(key, 30s); });
    ASSERT_EQ(::semctl(set, 0, SETVAL, 1), 0);
    EXPECT_FALSE(removal.get());
    EXPECT_EQ(access(), Access::Seen);
}

TEST_F(UnfinishedSemaphoreTest, remove_semaphoreIsFreeOrHeld_leavesIt)
{
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Create);
    EXPECT_FALSE(UnfinishedSemaphore::remove(key, 0ms));
    ASSERT_TRUE(semaphore.acquire());
    EXPECT_FALSE(UnfinishedSemaphore::remove(key, 0ms));
    EXPECT_EQ(SystemSemaphoreState::of(key).value, 0);
    ASSERT_TRUE(semaphore.release());
}

TEST_F(UnfinishedSemaphoreTest, remove_noSemaphore_makesNone)
{
    EXPECT_FALSE(UnfinishedSemaphore::remove(key, 0ms));
    EXPECT_EQ(access(), Access::Absent);
}
