#include "folder/FolderWorkers.h"

#include "errors/Propagate.h"
#include "threads/Mutex.h"
#include "threads/ThreadStart.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <vector>

namespace zel::FolderWorkers {

namespace {

constexpr std::chrono::milliseconds tickInterval { 50 };

class Crew
{
public:
    Crew(size_t count, const HttpSettings &settings, const std::function<bool()> &isCanceled,
         const Work &work)
        : count(count)
        , settings(settings)
        , isCanceled(isCanceled)
        , work(work)
    {
    }

    Error run(const std::function<void()> &tick)
    {
        Error error;
        ZEL_TRY(error, startThreads());
        waitForAll(tick);
        for (std::thread &thread : threads)
            thread.join();
        if (!failure.hasError() && isCanceled())
            return ZEL_PASS(Error(ErrorCode::Canceled));
        return ZEL_PASS(failure);
    }

private:
    /// Fewer than wanted will do; without any there is nobody to do the work.
    Error startThreads()
    {
        const size_t wanted = std::min(count, size_t(std::max(settings.transfersPerHost, 1)));
        while (threads.size() < wanted) {
            changeRunning(1);
            auto thread = ZEL_PASS(Threads::start([this] { doWork(); }));
            if (thread.hasValue()) {
                threads.push_back(std::move(thread).value());
                continue;
            }
            changeRunning(-1);
            if (threads.empty())
                return thread.error();
            ZEL_DROP(thread.error()); // those that there are do the work, only more slowly
            return {};
        }
        return {};
    }

    void changeRunning(int change)
    {
        const std::lock_guard lock(mutex);
        running += change;
        ended.notify_all();
    }

    void waitForAll(const std::function<void()> &tick)
    {
        std::unique_lock lock(mutex);
        while (running > 0) {
            ended.wait_for(lock, tickInterval);
            lock.unlock();
            tick();
            lock.lock();
        }
    }

    void doWork()
    {
        HttpSession session(settings);
        const std::function<bool()> shallStop = [this] {
            return hasFailed || isCanceled();
        };
        for (size_t index = next++; index < count && !shallStop(); index = next++) {
            if (const Error error = work(index, session, shallStop); error.hasError())
                takeFailure(error);
        }
        changeRunning(-1);
    }

    /// What comes after the first one is but its consequence.
    void takeFailure(const Error &error)
    {
        const std::lock_guard lock(mutex);
        if (!hasFailed)
            failure = error;
        hasFailed = true;
    }

    const size_t count;
    const HttpSettings &settings;
    const std::function<bool()> &isCanceled;
    const Work &work;
    std::atomic<size_t> next { 0 };
    std::atomic<bool> hasFailed { false };
    Mutex mutex { "the crew of a folder" };
    std::condition_variable_any ended;
    int running = 0;
    Error failure;
    std::vector<std::thread> threads;
};

} // namespace

Error run(size_t count, const HttpSettings &settings, const std::function<bool()> &isCanceled,
          const Work &work, const std::function<void()> &tick)
{
    return ZEL_PASS(Crew(count, settings, isCanceled, work).run(tick));
}

} // namespace zel::FolderWorkers
