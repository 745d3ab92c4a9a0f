#pragma once

#include "errors/Result.h"
#include "platform/NativeFile.h"

#include <QCoreApplication>

#include <filesystem>
#include <functional>

namespace zel {

/// A file that grows at its end while it is fetched. What it holds already when it is opened stays,
/// so that a fetch goes on from there.
///
/// Every byte is counted: a write that did not take all of them is a failure, of code 7 if the
/// volume is full. Data is brought to the disk every few megabytes, so that after a power cut it
/// is known how much of the file can be trusted. One thread at a time.
class StagedFile
{
    Q_DECLARE_TR_FUNCTIONS(zel::StagedFile)

public:
    static Result<std::unique_ptr<StagedFile>> open(const std::filesystem::path &path);

    /// Bytes in the file.
    qint64 size() const { return writtenBytes; }
    /// The first bytes, as many as are on the disk for sure.
    qint64 durableBytes() const { return durable; }

    Error append(const char *data, qint64 count);
    /// Drops what stands behind the first `count` bytes.
    Error truncate(qint64 count);
    /// Waits until everything is on the disk. After a failure, that of an append() included, only
    /// the durable bytes are left: nobody may go on from the others.
    Error sync();
    /// Hands out what the file holds, piece by piece; `take` returning false ends it with code 20.
    Error readBack(const std::function<bool(const char *data, qint64 count)> &take);

    NativeFile &native() { return file; }

private:
    StagedFile(NativeFile file, const std::filesystem::path &path, qint64 size);
    void dropUnsynced();
    Error storageFailure(const Error &cause) const;

    NativeFile file;
    std::filesystem::path path;
    QString name;
    qint64 writtenBytes = 0;
    qint64 startedBytes = 0; ///< the disk has been told to begin with these
    qint64 durable = 0;
};

} // namespace zel
