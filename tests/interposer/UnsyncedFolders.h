#pragma once

#include "FileSteps.h"

#include <mutex>
#include <set>
#include <string>

namespace zel::test {

/// Follows the folders that are made below a folder until their names are on the disk: until the
/// folder around them, or the whole file system, was synced. Only one such object, or another
/// watcher, may live at a time.
class UnsyncedFolders final : public FileStepWatcher
{
public:
    explicit UnsyncedFolders(std::string folder);
    UnsyncedFolders(const UnsyncedFolders &) = delete;
    UnsyncedFolders &operator=(const UnsyncedFolders &) = delete;
    ~UnsyncedFolders() override;

    /// Those whose names a power cut would take away now.
    std::set<std::string> now() const;
    /// Those that something was moved into while a power cut would have taken their names, and with
    /// them what was moved.
    std::set<std::string> movedInto() const;

private:
    int before(const FileStep & /*step*/) override { return 0; }
    void after(const FileStep &step, ssize_t result) override;
    void rename(const std::string &from, const std::string &to);

    const std::string folder;
    mutable std::mutex mutex;
    std::set<std::string> unsynced;
    std::set<std::string> filled;
};

} // namespace zel::test
