#include "FileSteps.h"

#include "Wrapper.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <unistd.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

using Kind = zel::test::FileStep::Kind;

namespace {

std::atomic<zel::test::FileStepWatcher *> currentWatcher = nullptr;
thread_local bool isWatcherAtWork = false;

bool isFileOrFolder(int descriptor)
{
    struct stat info = {};
    return descriptor > STDERR_FILENO && ::fstat(descriptor, &info) == 0
        && (S_ISREG(info.st_mode) || S_ISDIR(info.st_mode));
}

bool concernsFiles(const zel::test::FileStep &step)
{
    return step.path || step.newPath || isFileOrFolder(step.descriptor);
}

/// Makes the step by `call`, if the watcher lets it.
template<typename Call>
auto perform(const zel::test::FileStep &step, Call call, decltype(call()) failed)
{
    const int errorBefore = errno;
    zel::test::FileStepWatcher *watcher = currentWatcher.load();
    if (!watcher || isWatcherAtWork || !concernsFiles(step)) {
        errno = errorBefore;
        return call();
    }
    isWatcherAtWork = true;
    const int refusal = watcher->before(step);
    auto result = failed;
    if (refusal == 0) {
        errno = errorBefore;
        result = call();
    }
    const int errorAfter = refusal == 0 ? errno : refusal;
    errno = errorAfter;
    if constexpr (std::is_pointer_v<decltype(result)>)
        watcher->after(step, result ? 0 : -1);
    else
        watcher->after(step, result);
    isWatcherAtWork = false;
    errno = errorAfter;
    return result;
}

std::string linkTarget(const std::string &link)
{
    char target[4096] = {};
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length < 0 ? std::string() : std::string(target, size_t(length));
}

std::string pathOfDescriptor(int descriptor)
{
    const std::string link
        = descriptor == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(descriptor);
    return linkTarget(link);
}

std::string absolutePath(int folder, const char *path)
{
    if (path[0] == '/')
        return path;
    return pathOfDescriptor(folder) + '/' + path;
}

/// The step as a system call.
template<typename... Arguments>
ssize_t performCall(const zel::test::FileStep &step, long number, Arguments... arguments)
{
    return perform(
        step, [&]() -> ssize_t { return ::syscall(number, arguments...); }, ssize_t(-1));
}

bool makesFile(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

/// `arguments` are those behind the flags, a mode if a file may be made.
int openStep(int folder, const char *path, int flags, va_list arguments)
{
    const mode_t mode = makesFile(flags) ? va_arg(arguments, mode_t) : 0;
    return int(
        performCall({ .kind = Kind::Open, .descriptor = folder, .path = path, .flags = flags },
                    SYS_openat, folder, path, flags, mode));
}

} // namespace

namespace zel::test {

bool changesFiles(const FileStep &step)
{
    switch (step.kind) {
    case Kind::Open:
        return (step.flags & (O_CREAT | O_TRUNC)) != 0;
    case Kind::List:
    case Kind::Read:
        return false;
    default:
        return true;
    }
}

std::string pathOf(const FileStep &step)
{
    if (step.path)
        return absolutePath(step.descriptor, step.path);
    return step.descriptor == FileStep::noDescriptor ? std::string()
                                                     : pathOfDescriptor(step.descriptor);
}

std::string newPathOf(const FileStep &step)
{
    return step.newPath ? absolutePath(step.newFolder, step.newPath) : std::string();
}

void watchFileSteps(FileStepWatcher *watcher)
{
    currentWatcher = watcher;
}

} // namespace zel::test

// The wrappers themselves. They go to the kernel directly, as the ones of the C library would.
extern "C" {

ZEL_VISIBLE int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = openStep(AT_FDCWD, path, flags, arguments);
    va_end(arguments);
    return descriptor;
}

ZEL_VISIBLE int openat(int folder, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = openStep(folder, path, flags, arguments);
    va_end(arguments);
    return descriptor;
}

// The same where files are large anyway.
static_assert(sizeof(off_t) == sizeof(off64_t));
ZEL_VISIBLE int open64(const char *path, int flags, ...) __attribute__((alias("open")));
ZEL_VISIBLE int openat64(int folder, const char *path, int flags, ...)
    __attribute__((alias("openat")));

ZEL_VISIBLE DIR *opendir(const char *path)
{
    static const auto next = zel::test::original<DIR *(*)(const char *)>("opendir");
    DIR *const none = nullptr;
    return perform(
        { .kind = Kind::List, .descriptor = AT_FDCWD, .path = path }, [&] { return next(path); },
        none);
}

ZEL_VISIBLE ssize_t read(int descriptor, void *bytes, size_t count)
{
    return performCall({ .kind = Kind::Read, .descriptor = descriptor, .count = count }, SYS_read,
                       descriptor, bytes, count);
}

ZEL_VISIBLE ssize_t pread(int descriptor, void *bytes, size_t count, off_t offset)
{
    return performCall(
        { .kind = Kind::Read, .descriptor = descriptor, .count = count, .offset = offset },
        SYS_pread64, descriptor, bytes, count, offset);
}

ZEL_VISIBLE ssize_t pread64(int descriptor, void *bytes, size_t count, off64_t offset)
{
    return pread(descriptor, bytes, count, offset);
}

ZEL_VISIBLE ssize_t write(int descriptor, const void *bytes, size_t count)
{
    return performCall(
        { .kind = Kind::Write, .descriptor = descriptor, .bytes = bytes, .count = count },
        SYS_write, descriptor, bytes, count);
}

ZEL_VISIBLE ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t offset)
{
    return performCall({ .kind = Kind::Write,
                         .descriptor = descriptor,
                         .bytes = bytes,
                         .count = count,
                         .offset = offset },
                       SYS_pwrite64, descriptor, bytes, count, offset);
}

ZEL_VISIBLE ssize_t pwrite64(int descriptor, const void *bytes, size_t count, off64_t offset)
{
    return pwrite(descriptor, bytes, count, offset);
}

ZEL_VISIBLE int ftruncate(int descriptor, off_t length) noexcept
{
    return int(performCall({ .kind = Kind::Resize, .descriptor = descriptor, .offset = length },
                           SYS_ftruncate, descriptor, length));
}

ZEL_VISIBLE int ftruncate64(int descriptor, off64_t length) noexcept
{
    return ftruncate(descriptor, length);
}

ZEL_VISIBLE int truncate(const char *path, off_t length) noexcept
{
    return int(performCall(
        { .kind = Kind::Resize, .descriptor = AT_FDCWD, .path = path, .offset = length },
        SYS_truncate, path, length));
}

ZEL_VISIBLE int truncate64(const char *path, off64_t length) noexcept
{
    return truncate(path, length);
}

ZEL_VISIBLE ssize_t copy_file_range(int from, off64_t *fromOffset, int to, off64_t *toOffset,
                                    size_t count, unsigned flags)
{
    return performCall({ .kind = Kind::Copy, .descriptor = to, .count = count },
                       SYS_copy_file_range, from, fromOffset, to, toOffset, count, flags);
}

ZEL_VISIBLE ssize_t sendfile64(int to, int from, off64_t *offset, size_t count) noexcept
{
    return performCall({ .kind = Kind::Copy, .descriptor = to, .count = count }, SYS_sendfile, to,
                       from, offset, count);
}

ZEL_VISIBLE ssize_t sendfile(int to, int from, off_t *offset, size_t count) noexcept
{
    return sendfile64(to, from, offset, count);
}

ZEL_VISIBLE int fsync(int descriptor)
{
    return int(
        performCall({ .kind = Kind::Sync, .descriptor = descriptor }, SYS_fsync, descriptor));
}

ZEL_VISIBLE int fdatasync(int descriptor)
{
    return int(
        performCall({ .kind = Kind::Sync, .descriptor = descriptor }, SYS_fdatasync, descriptor));
}

ZEL_VISIBLE int syncfs(int descriptor) noexcept
{
    return int(performCall({ .kind = Kind::SyncFileSystem, .descriptor = descriptor }, SYS_syncfs,
                           descriptor));
}

ZEL_VISIBLE int renameat2(int folder, const char *path, int newFolder, const char *newPath,
                          unsigned flags) noexcept
{
    return int(performCall({ .kind = Kind::Rename,
                             .descriptor = folder,
                             .path = path,
                             .newFolder = newFolder,
                             .newPath = newPath,
                             .flags = int(flags) },
                           SYS_renameat2, folder, path, newFolder, newPath, flags));
}

ZEL_VISIBLE int renameat(int folder, const char *path, int newFolder, const char *newPath) noexcept
{
    return renameat2(folder, path, newFolder, newPath, 0);
}

ZEL_VISIBLE int rename(const char *path, const char *newPath) noexcept
{
    return renameat2(AT_FDCWD, path, AT_FDCWD, newPath, 0);
}

ZEL_VISIBLE int linkat(int folder, const char *path, int newFolder, const char *newPath,
                       int flags) noexcept
{
    return int(performCall({ .kind = Kind::Link,
                             .descriptor = folder,
                             .path = path,
                             .newFolder = newFolder,
                             .newPath = newPath,
                             .flags = flags },
                           SYS_linkat, folder, path, newFolder, newPath, flags));
}

ZEL_VISIBLE int link(const char *path, const char *newPath) noexcept
{
    return linkat(AT_FDCWD, path, AT_FDCWD, newPath, 0);
}

ZEL_VISIBLE int symlinkat(const char *target, int newFolder, const char *newPath) noexcept
{
    return int(performCall({ .kind = Kind::Link, .newFolder = newFolder, .newPath = newPath },
                           SYS_symlinkat, target, newFolder, newPath));
}

ZEL_VISIBLE int symlink(const char *target, const char *newPath) noexcept
{
    return symlinkat(target, AT_FDCWD, newPath);
}

ZEL_VISIBLE int unlinkat(int folder, const char *path, int flags) noexcept
{
    const Kind kind = (flags & AT_REMOVEDIR) != 0 ? Kind::RemoveFolder : Kind::Unlink;
    return int(performCall({ .kind = kind, .descriptor = folder, .path = path, .flags = flags },
                           SYS_unlinkat, folder, path, flags));
}

ZEL_VISIBLE int unlink(const char *path) noexcept
{
    return unlinkat(AT_FDCWD, path, 0);
}

ZEL_VISIBLE int rmdir(const char *path) noexcept
{
    return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

ZEL_VISIBLE int mkdirat(int folder, const char *path, mode_t mode) noexcept
{
    return int(performCall({ .kind = Kind::MakeFolder, .descriptor = folder, .path = path },
                           SYS_mkdirat, folder, path, mode));
}

ZEL_VISIBLE int mkdir(const char *path, mode_t mode) noexcept
{
    return mkdirat(AT_FDCWD, path, mode);
}

} // extern "C"
