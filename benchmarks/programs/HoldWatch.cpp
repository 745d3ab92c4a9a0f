#include "HoldWatch.h"

#include "SemaphoreCalls.h"

#include <utility>

#include <ctime>

namespace zel::bench {

namespace {

std::vector<Hold> holds;
Hold begin;

double secondsOf(clockid_t clock)
{
    timespec time {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

Hold now()
{
    return { secondsOf(CLOCK_MONOTONIC), secondsOf(CLOCK_THREAD_CPUTIME_ID) };
}

void note(bool isTaken)
{
    if (isTaken) {
        begin = now();
        return;
    }
    const Hold end = now();
    holds.push_back({ end.seconds - begin.seconds, end.cpu - begin.cpu });
}

} // namespace

void startWatchingHolds()
{
    holds.clear();
    listenToSemaphores(note);
}

std::vector<Hold> stopWatchingHolds()
{
    listenToSemaphores(nullptr);
    return std::exchange(holds, {});
}

} // namespace zel::bench
