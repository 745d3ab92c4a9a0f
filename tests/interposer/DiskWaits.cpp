#include "DiskWaits.h"

#include <algorithm>
#include <utility>

namespace zel::test {

using Kind = FileStep::Kind;

DiskWaits::DiskWaits(std::string data)
    : data(std::move(data))
{
    watchFileSteps(this);
}

DiskWaits::~DiskWaits()
{
    watchFileSteps(nullptr);
}

std::vector<std::string> DiskWaits::paths() const
{
    const std::lock_guard guard(mutex);
    return synced;
}

int DiskWaits::countOf(const std::string &part) const
{
    const std::vector<std::string> all = paths();
    return int(std::count_if(all.begin(), all.end(), [&part](const std::string &path) {
        return path.find(part) != std::string::npos;
    }));
}

int DiskWaits::volumes() const
{
    const std::lock_guard guard(mutex);
    return syncedVolumes;
}

bool DiskWaits::wasVolumeOpenInTime() const
{
    const std::lock_guard guard(mutex);
    return volumeOpened > 0 && volumeOpened < firstWrite;
}

int DiskWaits::before(const FileStep &step)
{
    const std::string path = pathOf(step);
    const std::lock_guard guard(mutex);
    ++steps;
    if (step.kind == Kind::Sync)
        synced.push_back(path);
    if (step.kind == Kind::Write && firstWrite == 0 && path.find(data) != std::string::npos)
        firstWrite = steps;
    if (step.kind == Kind::SyncFileSystem) {
        ++syncedVolumes;
        volumeOpened = opened[step.descriptor];
    }
    return 0;
}

void DiskWaits::after(const FileStep &step, ssize_t result)
{
    const std::lock_guard guard(mutex);
    if (step.kind == Kind::Open && result >= 0)
        opened[int(result)] = steps;
}

} // namespace zel::test
