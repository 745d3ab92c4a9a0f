#include "LockCalls.h"

#include "Wrapper.h"

#include <atomic>
#include <cstdarg>
#include <unistd.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sem.h>
#include <sys/syscall.h>

namespace zel::test {

namespace {

std::atomic<void (*)(LockCall)> currentWatcher = nullptr;

bool isForLocks(int command)
{
    switch (command) {
    case F_SETLK:
    case F_SETLKW:
    case F_OFD_SETLK:
    case F_OFD_SETLKW:
        return true;
    default:
        return false;
    }
}

} // namespace

void watchLockCalls(void (*watcher)(LockCall))
{
    currentWatcher = watcher;
}

void tellLockCall(LockCall call)
{
    if (const auto watcher = currentWatcher.load())
        watcher(call);
}

} // namespace zel::test

using zel::test::LockCall;
using zel::test::tellLockCall;

// By their numbers: a child that was just forked makes such calls, too, and may not look for the
// functions that these stand before.
extern "C" {

ZEL_VISIBLE int semget(key_t key, int count, int flags) noexcept
{
    tellLockCall(LockCall::Semaphore);
    return int(::syscall(SYS_semget, key, count, flags));
}

ZEL_VISIBLE int semctl(int set, int number, int command, ...) noexcept
{
    va_list arguments;
    va_start(arguments, command);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    tellLockCall(LockCall::Semaphore);
    return int(::syscall(SYS_semctl, set, number, command, argument));
}

ZEL_VISIBLE int flock(int descriptor, int operation) noexcept
{
    tellLockCall(LockCall::Folder);
    return int(::syscall(SYS_flock, descriptor, operation));
}

ZEL_VISIBLE int fcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    if (zel::test::isForLocks(command))
        tellLockCall(LockCall::Range);
    return int(::syscall(SYS_fcntl, descriptor, command, argument));
}

ZEL_VISIBLE int fcntl64(int descriptor, int command, ...) __attribute__((alias("fcntl")));

} // extern "C"
