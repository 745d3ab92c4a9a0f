#include "SuddenStop.h"

#include "FileSteps.h"
#include "Holds.h"

#include <atomic>
#include <csignal>

#include <sys/stat.h>

namespace zel::test {

namespace {

bool goesOnWithBytes(const FileStep &step)
{
    using Kind = FileStep::Kind;
    if (step.kind != Kind::Write && step.kind != Kind::Copy && step.kind != Kind::Sync)
        return false;
    struct stat state = {};
    return ::fstat(step.descriptor, &state) == 0 && S_ISREG(state.st_mode) && state.st_size > 0;
}

/// Never destroyed: threads still write while the process ends.
class SuddenStop final : public FileStepWatcher
{
public:
    explicit SuddenStop(const std::string &folder)
        : below(folder + '/')
    {
    }

    int before(const FileStep &step) override
    {
        if (goesOnWithBytes(step) && pathOf(step).starts_with(below) && !isHolding()
            && !hasStopped.exchange(true)) {
            std::raise(SIGSTOP); // this thread does not get back to its step
        }
        return 0;
    }

private:
    const std::string below;
    std::atomic<bool> hasStopped = false;
};

} // namespace

void stopInTheMidst(const std::string &folder)
{
    watchFileSteps(new SuddenStop(folder));
}

} // namespace zel::test
