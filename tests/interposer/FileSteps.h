#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace zel::test {

/// One thing that the process is about to do to a file or folder.
struct FileStep
{
    enum class Kind {
        Open, ///< `path` below the folder `descriptor`, with `flags`
        List, ///< the entries of `path`
        Read,
        Write, ///< `count` bytes at `bytes` to `descriptor`; at `offset`, or where it stands
        Resize, ///< of `descriptor`, or of `path`, to `offset` bytes
        Copy, ///< `count` bytes from one open file to `descriptor`
        Sync,
        SyncFileSystem,
        Rename, ///< of `path` to `newPath`
        Link, ///< `newPath` comes into being
        Unlink,
        MakeFolder,
        RemoveFolder,
    };

    Kind kind = Kind::Open;
    int descriptor = noDescriptor; ///< what is open, or the folder below which `path` stands
    const char *path = nullptr;
    int newFolder = noDescriptor;
    const char *newPath = nullptr;
    const void *bytes = nullptr;
    size_t count = 0;
    off_t offset = atPosition;
    int flags = 0;

    static constexpr int noDescriptor = -1;
    static constexpr off_t atPosition = -1;
};

/// Whether others could tell from the disk that the step happened, or that it is durable.
bool changesFiles(const FileStep &step);
/// The absolute path of what the step is about; "" for a file that has no name.
std::string pathOf(const FileStep &step);
/// The absolute path of `newPath`; "" without one.
std::string newPathOf(const FileStep &step);

/// Is asked before each step and told after it. It may be called by several threads at once, and at
/// any place of the program: it must take no lock that a step can be made under, and must not
/// throw.
class FileStepWatcher
{
public:
    virtual ~FileStepWatcher() = default;
    /// 0 lets the step happen. A number of <cerrno> makes it fail without having happened.
    virtual int before(const FileStep &step) = 0;
    /// `result` is what the system call gave, -1 with errno for a failure.
    virtual void after(const FileStep & /*step*/, ssize_t /*result*/) { }
};

/// From now on all steps of this process go by the watcher, null for none. Steps on what is no file
/// or folder (pipes, sockets, what wakes an event loop), on the standard streams and those that the
/// watcher makes itself do not.
///
/// A program that is linked with this function replaces the system calls' wrappers for itself and
/// for all libraries that it loads.
void watchFileSteps(FileStepWatcher *watcher);

} // namespace zel::test
