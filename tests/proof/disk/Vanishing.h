#pragma once

#include "FileSteps.h"

#include <atomic>
#include <string>

namespace zel::test {

/// Takes a folder away with all that is in it, right before a step on files below another one: as
/// if somebody had removed it meanwhile. Only one such object, or another watcher, may live at a
/// time.
class Vanishing final : public FileStepWatcher
{
public:
    enum class Successor {
        None,
        File, ///< stands there instead
    };

    /// Before the step of that number, beginning with 0, below `watched`.
    Vanishing(std::string folder, Successor successor, std::string watched, int number);
    Vanishing(const Vanishing &) = delete;
    Vanishing &operator=(const Vanishing &) = delete;
    ~Vanishing() override;

    /// Whether there was a step of that number.
    bool hasVanished() const { return seen > number; }

private:
    int before(const FileStep &step) override;

    const std::string folder;
    const Successor successor;
    const std::string watched;
    const int number;
    std::atomic<int> seen = 0;
};

} // namespace zel::test
