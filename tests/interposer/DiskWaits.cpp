#include "DiskWaits.h"

#include <algorithm>
#include <utility>

namespace zel::test {

using Kind = FileStep::Kind;

DiskWaits::DiskWaits(std::string data)
    : m_data(std::move(data))
{
    watchFileSteps(this);
}

DiskWaits::~DiskWaits()
{
    watchFileSteps(nullptr);
}

std::vector<std::string> DiskWaits::paths() const
{
    const std::lock_guard guard(m_mutex);
    return m_paths;
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
    const std::lock_guard guard(m_mutex);
    return m_volumes;
}

bool DiskWaits::wasVolumeOpenInTime() const
{
    const std::lock_guard guard(m_mutex);
    return m_volumeOpened > 0 && m_volumeOpened < m_firstWrite;
}

int DiskWaits::before(const FileStep &step)
{
    const std::string path = pathOf(step);
    const std::lock_guard guard(m_mutex);
    ++m_steps;
    if (step.kind == Kind::Sync)
        m_paths.push_back(path);
    if (step.kind == Kind::Write && m_firstWrite == 0 && path.find(m_data) != std::string::npos)
        m_firstWrite = m_steps;
    if (step.kind == Kind::SyncFileSystem) {
        ++m_volumes;
        m_volumeOpened = m_opened[step.descriptor];
    }
    return 0;
}

void DiskWaits::after(const FileStep &step, ssize_t result)
{
    const std::lock_guard guard(m_mutex);
    if (step.kind == Kind::Open && result >= 0)
        m_opened[int(result)] = m_steps;
}

} // namespace zel::test
