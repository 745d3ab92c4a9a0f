#include "HoldWatch.h"

#include <utility>

#include <ctime>
#include <sys/sem.h>

namespace zel::bench {

namespace {

bool isWatching = false;
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

void noteEnd()
{
    const Hold end = now();
    holds.push_back({ end.seconds - begin.seconds, end.cpu - begin.cpu });
}

} // namespace

void startWatchingHolds()
{
    holds.clear();
    isWatching = true;
}

std::vector<Hold> stopWatchingHolds()
{
    isWatching = false;
    return std::exchange(holds, {});
}

} // namespace zel::bench

extern "C" __attribute__((visibility("default"))) int semop(int set, sembuf *operations,
                                                            size_t count)
{
    using namespace zel::bench;
    const bool isTaken = operations->sem_op < 0;
    if (isWatching && !isTaken)
        noteEnd();
    const int outcome = semtimedop(set, operations, count, nullptr);
    if (isWatching && isTaken)
        begin = now();
    return outcome;
}
