#include "SuddenDeath.h"

#include "FileSteps.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <unistd.h>
#include <utility>

namespace zel::test {

namespace {

/// Pulls the plug when its count of some steps has run out. Never destroyed: threads still write
/// while the process ends.
class SuddenDeath final : public FileStepWatcher
{
public:
    using Counts = std::function<bool(const FileStep &)>;

    SuddenDeath(int steps, Counts counts)
        : stepsToLive(steps)
        , counts(std::move(counts))
    {
    }

    int before(const FileStep &step) override
    {
        if (counts(step) && stepsToLive.fetch_sub(1) == 0)
            ::kill(::getpid(), SIGKILL);
        return 0;
    }

private:
    std::atomic<int> stepsToLive;
    const Counts counts;
};

std::atomic<LockCall> deadlyCall = LockCall::Semaphore;
std::atomic<int> callsToLive = 0;

void dieIfItIsTime(LockCall call)
{
    if (call == deadlyCall && callsToLive.fetch_sub(1) == 0)
        ::kill(::getpid(), SIGKILL);
}

} // namespace

void dieAtFileStep(int step)
{
    watchFileSteps(new SuddenDeath(step, changesFiles));
}

void dieInHalfFile(int number, const std::string &folder)
{
    watchFileSteps(new SuddenDeath(number, [below = folder + '/'](const FileStep &step) {
        return step.kind == FileStep::Kind::Write && step.offset > 0
            && pathOf(step).starts_with(below);
    }));
}

void dieAtLockCall(LockCall call, int number)
{
    deadlyCall = call;
    callsToLive = number;
    watchLockCalls(dieIfItIsTime);
}

} // namespace zel::test
