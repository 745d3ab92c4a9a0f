#include "threads/ThreadStart.h"

#include "ThreadStarts.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(ThreadStartTest, start_runsTheWorkOnAThreadOfItsOwn)
{
    std::thread::id worker;
    auto thread = Threads::start([&worker] { worker = std::this_thread::get_id(); });
    ASSERT_TRUE(thread.hasValue());
    thread.value().join();
    EXPECT_NE(worker, std::thread::id());
    EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(ThreadStartTest, start_systemGivesNoThread_failsWithItsReasonAndDoesNotWork)
{
    const ThreadLimit limit(0);
    bool hasWorked = false;
    const auto thread = Threads::start([&hasWorked] { hasWorked = true; });
    ASSERT_FALSE(thread.hasValue());
    EXPECT_EQ(thread.error().errorCode(), ErrorCode::OperationFailed);
    EXPECT_EQ(thread.error().errorMessage(),
              u"Unable to start a thread: %1"_s.arg(QString::fromLocal8Bit(strerror(EAGAIN))));
    EXPECT_FALSE(hasWorked);
}
