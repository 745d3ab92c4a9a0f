#include "Holds.h"

#include "LockCalls.h"
#include "Wrapper.h"

#include <atomic>

#include <sys/sem.h>

namespace {

std::atomic<bool> isCounting = false;
std::atomic<int> holds = 0;
std::atomic<int> held = 0;

} // namespace

namespace zel::test {

void startCountingHolds()
{
    holds = 0;
    isCounting = true;
}

int stopCountingHolds()
{
    isCounting = false;
    return holds;
}

bool isHolding()
{
    return held > 0;
}

} // namespace zel::test

using zel::test::original;

extern "C" {

ZEL_VISIBLE int semop(int set, sembuf *operations, size_t count) noexcept
{
    static const auto next = original<int (*)(int, sembuf *, size_t)>("semop");
    zel::test::tellLockCall(zel::test::LockCall::Semaphore);
    // Given back before the call: whoever has waited for it may go on before this thread does.
    if (operations->sem_op > 0)
        --held;
    const int outcome = next(set, operations, count);
    if (outcome != 0 || operations->sem_op >= 0)
        return outcome;
    ++held;
    if (isCounting)
        ++holds;
    return outcome;
}

} // extern "C"
