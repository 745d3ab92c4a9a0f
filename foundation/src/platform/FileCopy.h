#pragma once

#include "errors/Error.h"
#include "platform/PosixFile.h"

#include <functional>

namespace zel::posix {

/// What opens a file for a copy; a pipe in a file's place does not block.
extern const int readFlags;

enum class FileCopySync {
    No,
    Yes, ///< the content is on the disk when the call returns
};

/// The errno of a source that ended before the size that it had at first.
extern const int shortenedSource;

/// Copies an open file to a new one, which must not exist yet, with modification time and rights,
/// always writable by its owner. After a failure the new file is gone. 0 or errno; ECANCELED if
/// `advance`, told the bytes of each piece, returns false.
int copyToNewFile(const Descriptor &source, int targetFolder, const QByteArray &name,
                  FileCopySync sync, const std::function<bool(qint64)> &advance);

/// Gives the target the modification time of the source. 0 or errno.
int copyTimes(int source, int target);

/// The failure of a file's copy in words.
Error fileCopyFailure(const QByteArray &sourcePath, const QByteArray &targetPath, int error);

} // namespace zel::posix
