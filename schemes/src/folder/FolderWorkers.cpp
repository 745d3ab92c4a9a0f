#include "folder/FolderWorkers.h"

#include "errors/Propagate.h"
#include "threads/Mutex.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <thread>
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
        running = std::min(count, size_t(std::max(settings.transfersPerHost, 1)));
        std::vector<std::thread> threads;
        for (size_t i = running; i > 0; --i)
            threads.emplace_back([this] { doWork(); });
        waitForAll(tick);
        for (std::thread &thread : threads)
            thread.join();
        if (!failure.hasError() && isCanceled())
            return ZEL_PASS(Error(ErrorCode::Canceled));
        return ZEL_PASS(failure);
    }

private:
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
        const std::lock_guard lock(mutex);
        --running;
        ended.notify_all();
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
    size_t running = 0;
    Error failure;
};

} // namespace

Error run(size_t count, const HttpSettings &settings, const std::function<bool()> &isCanceled,
          const Work &work, const std::function<void()> &tick)
{
    return ZEL_PASS(Crew(count, settings, isCanceled, work).run(tick));
}

} // namespace zel::FolderWorkers
