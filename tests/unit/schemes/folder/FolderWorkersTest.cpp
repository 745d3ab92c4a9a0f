#include "folder/FolderWorkers.h"

#include "LogCapture.h"
#include "ThreadStarts.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Has three pieces of work done by as many threads, of which the system gives so many.
class FolderWorkersTest : public testing::Test
{
protected:
    Error run(int threads)
    {
        HttpSettings settings;
        settings.transfersPerHost = 3;
        const ThreadLimit limit(threads);
        return FolderWorkers::run(
            3, settings, [] { return false; },
            [this](size_t index, HttpSession &, const std::function<bool()> &) {
                const std::lock_guard lock(mutex);
                done.insert(index);
                workers.insert(std::this_thread::get_id());
                return Error();
            },
            [] {});
    }

    std::mutex mutex;
    std::set<size_t> done;
    std::set<std::thread::id> workers;
};

} // namespace

TEST_F(FolderWorkersTest, run_threadForEach_doesAll)
{
    const LogCapture log;
    EXPECT_EQ(run(3), Error());
    EXPECT_EQ(done, std::set<size_t>({ 0, 1, 2 }));
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList());
}

TEST_F(FolderWorkersTest, run_fewerThreadsThanWanted_doesAllWithThem)
{
    const LogCapture log;
    EXPECT_EQ(run(1), Error());
    EXPECT_EQ(done, std::set<size_t>({ 0, 1, 2 }));
    EXPECT_EQ(workers.size(), 1U);
    EXPECT_TRUE(log.contains(QtWarningMsg, u"Unable to start a thread: "_s));
}

TEST_F(FolderWorkersTest, run_noThreadToBeHad_failsWithoutHavingWorked)
{
    const Error error = run(0);
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().startsWith(u"Unable to start a thread: "_s));
    EXPECT_TRUE(done.empty());
}
