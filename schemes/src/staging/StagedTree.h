#pragma once

#include "platform/NativeFile.h"

#include <QCoreApplication>

#include <filesystem>
#include <optional>
#include <vector>

namespace zel {

/// The files and folders that are collected in a staging place: how they are made and brought to
/// the disk. Few of them go one by one, many with their whole volume, which is far cheaper then.
/// Failures have code 7 for want of space, else 1. One thread at a time.
class StagedTree
{
    Q_DECLARE_TR_FUNCTIONS(zel::StagedTree)

public:
    /// So many files and folders are to come into the directory. Call it before the first byte of
    /// them, or the volume may not tell that some did not arrive.
    Error begin(const std::filesystem::path &directory, size_t entries);

    /// One that is there already is no fault.
    static Error makeFolder(const std::filesystem::path &path);

    /// Whether sync() is all it takes. Otherwise the files have to be synced before.
    bool goesWithVolume() const { return volume.has_value(); }
    /// Waits until these folders and the directory, or all there is, are on the disk.
    Error sync(const std::vector<std::filesystem::path> &folders);

private:
    std::filesystem::path directory;
    /// Of the directory; only if all goes with it.
    std::optional<NativeFile> volume;
};

} // namespace zel
