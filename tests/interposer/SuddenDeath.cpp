#include "SuddenDeath.h"

#include "FileSteps.h"

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace zel::test {

namespace {

/// Pulls the plug when its count of changes has run out.
class SuddenDeath final : public FileStepWatcher
{
public:
    explicit SuddenDeath(int steps)
        : m_stepsToLive(steps)
    {
    }

    int before(const FileStep &step) override
    {
        if (changesFiles(step) && m_stepsToLive.fetch_sub(1) == 0)
            ::kill(::getpid(), SIGKILL);
        return 0;
    }

private:
    std::atomic<int> m_stepsToLive;
};

} // namespace

void dieAtFileStep(int step)
{
    // Never destroyed: threads still write while the process ends.
    static auto *const death = new SuddenDeath(step);
    watchFileSteps(death);
}

} // namespace zel::test
