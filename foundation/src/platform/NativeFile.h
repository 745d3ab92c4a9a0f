#pragma once

#include "errors/Result.h"

#include <QCoreApplication>

#include <filesystem>

namespace zel {

/// An open file whose name need not be valid text and of which every byte is accounted for.
/// Failures have code 7 for want of space, else 1, and name the path and the reason. One thread at
/// a time; moves.
class ZEL_RESOURCE_MANAGER_EXPORT NativeFile
{
    Q_DECLARE_TR_FUNCTIONS(zel::NativeFile)

public:
    /// What may be done with the file.
    enum class Mode {
        Read, ///< must exist
        ReadWrite, ///< made if it is missing; what it holds stays
    };

    /// Opens the file of this path; links are followed. A folder can be opened to read, for
    /// syncVolume().
    static Result<NativeFile> open(const std::filesystem::path &path, Mode mode);
    NativeFile(NativeFile &&other) noexcept; ///< the other one is closed then
    NativeFile &operator=(NativeFile &&other) noexcept; ///< the two change places
    ~NativeFile();

    Result<qint64> size() const; ///< bytes, as the system tells them now
    /// Reads up to `count` bytes from `offset` on; 0 at the end of the file.
    Result<qint64> readAt(qint64 offset, char *data, qint64 count);
    /// Writes all of the bytes at `offset`, or fails.
    Error writeAt(qint64 offset, const char *data, qint64 count);
    Error truncate(qint64 size); ///< cuts the file to this many bytes, or lengthens it with zeros
    /// Lets the disk begin with these bytes, so that a later sync() has less to wait for. A hint:
    /// waits for nothing, and what goes wrong is told by sync().
    void startSync(qint64 offset, qint64 count);
    /// Waits until the content is on the disk.
    Error sync();
    /// Waits until everything that was written to the volume of the file is on the disk. For many
    /// files at once far cheaper than one by one. Open this one before the first byte of them: that
    /// bytes did not arrive is told to everybody who has the volume open then, but to nobody who
    /// opens it after somebody, such as another program, was told.
    Error syncVolume();
    /// Whether the last failure was for want of space.
    bool isOutOfSpace() const { return outOfSpace; }

private:
    NativeFile(const std::filesystem::path &path, int descriptor);
    Error writeFailure(int reason);

    std::filesystem::path path;
    int descriptor = -1;
    bool outOfSpace = false;
};

} // namespace zel
