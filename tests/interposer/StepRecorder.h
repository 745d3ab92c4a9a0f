#pragma once

#include "FileSteps.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace zel::test {

/// One step as it stands in a log: this head, then the paths and the bytes, without ends.
struct LoggedHead
{
    std::int32_t kind = 0; ///< FileStep::Kind
    std::int32_t flags = 0;
    std::uint64_t inode = 0; ///< of what is open, or was made by opening; 0 for none
    std::int64_t offset = 0; ///< where the bytes went; the new size of a Resize
    std::uint64_t coveredSteps = 0; ///< how many steps were done when a Sync began
    std::uint32_t pathLength = 0;
    std::uint32_t newPathLength = 0;
    std::uint64_t byteCount = 0;
};

/// Writes all that this process changes below a folder to a log, in the order in which it was done,
/// with the bytes: enough to make any state of the folder again that a disk could have had.
class StepRecorder final : public FileStepWatcher
{
public:
    /// The log is made anew. It must not lie below the folder.
    StepRecorder(std::string folder, const std::string &logPath);

private:
    int before(const FileStep &step) override;
    void after(const FileStep &step, ssize_t result) override;
    bool concerns(const std::string &path) const;
    void record(const FileStep &step, ssize_t result);
    void write(LoggedHead head, const std::string &path, const std::string &newPath,
               const std::string &bytes);

    const std::string folder;
    const int log;
    std::mutex mutex;
    std::uint64_t stepsDone = 0;
};

} // namespace zel::test
