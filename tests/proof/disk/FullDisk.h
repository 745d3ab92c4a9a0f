#pragma once

#include "FileSteps.h"

#include <atomic>
#include <string>

namespace zel::test {

/// A disk below a folder that is full from some step on: what takes room fails from there on, what
/// gives room back or only reads goes on. Only one such object, or another watcher, may live at a
/// time.
class FullDisk final : public FileStepWatcher
{
public:
    /// The step of that number among those that take room, beginning with 0, is the first to fail,
    /// with `error`, a number of <cerrno>.
    FullDisk(std::string folder, int number, int error);
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;
    ~FullDisk() override;

    /// Whether anything was refused.
    bool hasRefused() const { return seen > number; }

private:
    int before(const FileStep &step) override;
    bool isBelow(const std::string &path) const;
    static bool takesRoom(const FileStep &step);

    const std::string folder;
    const int number;
    const int error;
    std::atomic<int> seen = 0;
};

} // namespace zel::test
