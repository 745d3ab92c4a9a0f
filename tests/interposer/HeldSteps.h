#pragma once

#include "FileSteps.h"

#include <atomic>

namespace zel::test {

/// Counts what this program does to files and folders below one, while it lives, under a hold of a
/// system semaphore: all others wait for it. Looks at what a path is do not count.
class HeldSteps final : public FileStepWatcher
{
public:
    explicit HeldSteps(std::string folder);
    HeldSteps(const HeldSteps &) = delete;
    HeldSteps &operator=(const HeldSteps &) = delete;
    ~HeldSteps() override;

    int count() const; ///< of all steps
    int folders() const; ///< that were opened or listed

private:
    int before(const FileStep &step) override;

    const std::string folder; ///< with a slash at its end
    std::atomic<int> steps = 0;
    std::atomic<int> folderSteps = 0;
};

} // namespace zel::test
