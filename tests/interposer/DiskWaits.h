#pragma once

#include "FileSteps.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zel::test {

/// Notes what is waited for to come to the disk, as long as it lives. Only one such object, or
/// another watcher, may live at a time.
class DiskWaits final : public FileStepWatcher
{
public:
    /// `data`: part of the paths of those files whose first byte counts.
    explicit DiskWaits(std::string data = {});
    DiskWaits(const DiskWaits &) = delete;
    DiskWaits &operator=(const DiskWaits &) = delete;
    ~DiskWaits() override;

    /// The files and folders that were synced one by one, in their order.
    std::vector<std::string> paths() const;
    /// How many of them have this in their path.
    int countOf(const std::string &part) const;
    /// How often a volume was synced as a whole.
    int volumes() const;
    /// Whether what the last volume was synced by was opened before the first byte came.
    bool wasVolumeOpenInTime() const;

private:
    int before(const FileStep &step) override;
    void after(const FileStep &step, ssize_t result) override;

    const std::string data;
    mutable std::mutex mutex;
    std::vector<std::string> synced;
    std::map<int, int> opened; ///< the step that opened a descriptor last
    int steps = 0;
    int firstWrite = 0;
    int syncedVolumes = 0;
    int volumeOpened = 0;
};

} // namespace zel::test
