#include "SuddenDeath.h"

#include <atomic>
#include <csignal>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int never = -1;
std::atomic<int> stepsToLive = never;

void countStep()
{
    if (stepsToLive.load() == never)
        return;
    if (stepsToLive.fetch_sub(1) == 0)
        ::kill(::getpid(), SIGKILL);
}

/// Pipes, sockets and what wakes an event loop do not count: nobody finds them afterwards.
void countStepOn(int descriptor)
{
    struct stat info = {};
    if (stepsToLive.load() != never && ::fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode))
        countStep();
}

} // namespace

namespace zel::test {

void dieAtFileStep(int step)
{
    stepsToLive = step;
}

} // namespace zel::test

// The wrappers themselves. They go to the kernel directly, as the ones of the C library would.
extern "C" {

#define ZEL_VISIBLE __attribute__((visibility("default")))

ZEL_VISIBLE ssize_t write(int descriptor, const void *bytes, size_t count)
{
    countStepOn(descriptor);
    return ::syscall(SYS_write, descriptor, bytes, count);
}

ZEL_VISIBLE ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t offset)
{
    countStepOn(descriptor);
    return ::syscall(SYS_pwrite64, descriptor, bytes, count, offset);
}

ZEL_VISIBLE ssize_t pwrite64(int descriptor, const void *bytes, size_t count, off64_t offset)
{
    countStepOn(descriptor);
    return ::syscall(SYS_pwrite64, descriptor, bytes, count, offset);
}

ZEL_VISIBLE int ftruncate(int descriptor, off_t length) noexcept
{
    countStepOn(descriptor);
    return int(::syscall(SYS_ftruncate, descriptor, length));
}

ZEL_VISIBLE int ftruncate64(int descriptor, off64_t length) noexcept
{
    countStepOn(descriptor);
    return int(::syscall(SYS_ftruncate, descriptor, length));
}

ZEL_VISIBLE int fsync(int descriptor)
{
    countStepOn(descriptor);
    return int(::syscall(SYS_fsync, descriptor));
}

ZEL_VISIBLE int fdatasync(int descriptor)
{
    countStepOn(descriptor);
    return int(::syscall(SYS_fdatasync, descriptor));
}

ZEL_VISIBLE int rename(const char *from, const char *to) noexcept
{
    countStep();
    return int(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

ZEL_VISIBLE int unlink(const char *path) noexcept
{
    countStep();
    return int(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

ZEL_VISIBLE int unlinkat(int folder, const char *path, int flags) noexcept
{
    countStep();
    return int(::syscall(SYS_unlinkat, folder, path, flags));
}

} // extern "C"
