#pragma once

#include "FileSteps.h"

#include <atomic>
#include <optional>
#include <string>

namespace zel::test {

/// Lets one step on files below a folder fail, the folder itself included, and counts them all.
/// Only one such object, or another watcher, may live at a time.
class FailingStep final : public FileStepWatcher
{
public:
    enum class Lasting {
        Once,
        FromThereOn, ///< like a disk that has died
    };

    /// The step of that number, beginning with 0, fails with `error`, a number of <cerrno>. Only
    /// those of the kind count, if there is one.
    FailingStep(std::string folder, int number, int error, Lasting lasting = Lasting::Once,
                std::optional<FileStep::Kind> kind = std::nullopt);
    FailingStep(const FailingStep &) = delete;
    FailingStep &operator=(const FailingStep &) = delete;
    ~FailingStep() override;

    /// Whether there was a step of that number.
    bool hasFailed() const { return count > number; }
    int seen() const { return count; }

private:
    int before(const FileStep &step) override;

    const std::string folder;
    const int number;
    const int error;
    const Lasting lasting;
    const std::optional<FileStep::Kind> kind;
    std::atomic<int> count = 0;
};

} // namespace zel::test
