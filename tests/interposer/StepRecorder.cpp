#include "StepRecorder.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>

namespace zel::test {

namespace {

using Kind = FileStep::Kind;

/// How many steps were done when the sync of this thread began.
thread_local std::uint64_t coveredSteps = 0;

std::uint64_t inodeOf(int descriptor)
{
    struct stat info = {};
    return ::fstat(descriptor, &info) == 0 ? info.st_ino : 0;
}

/// Where a step of this many bytes began, now that it is done.
off_t startOf(const FileStep &step, ssize_t count)
{
    if (step.offset != FileStep::atPosition)
        return step.offset;
    return ::lseek(step.descriptor, 0, SEEK_CUR) - count;
}

/// The bytes that a copy within the system has brought: they passed by nobody.
std::string bytesAt(int descriptor, off_t offset, ssize_t count)
{
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const int readable = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::string bytes(size_t(count), '\0');
    if (readable < 0 || ::pread(readable, bytes.data(), bytes.size(), offset) != count)
        std::abort();
    ::close(readable);
    return bytes;
}

bool isSync(const FileStep &step)
{
    return step.kind == Kind::Sync || step.kind == Kind::SyncFileSystem;
}

} // namespace

StepRecorder::StepRecorder(std::string folder, const std::string &logPath)
    : folder(std::move(folder))
    , log(::open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600))
{
    if (log < 0)
        std::abort();
}

int StepRecorder::before(const FileStep &step)
{
    if (isSync(step)) {
        const std::lock_guard guard(mutex);
        coveredSteps = stepsDone;
    }
    return 0;
}

void StepRecorder::after(const FileStep &step, ssize_t result)
{
    const bool isDone = result >= 0 && changesFiles(step);
    if (isDone && (concerns(pathOf(step)) || concerns(newPathOf(step))))
        record(step, result);
}

bool StepRecorder::concerns(const std::string &path) const
{
    return path.starts_with(folder + '/') || path == folder;
}

void StepRecorder::record(const FileStep &step, ssize_t result)
{
    const std::lock_guard guard(mutex);
    LoggedHead head { .kind = int(step.kind), .flags = step.flags };
    std::string bytes;
    switch (step.kind) {
    case Kind::Open:
        head.inode = inodeOf(int(result));
        break;
    case Kind::Write:
        head.inode = inodeOf(step.descriptor);
        head.offset = startOf(step, result);
        bytes.assign(static_cast<const char *>(step.bytes), size_t(result));
        break;
    case Kind::Copy:
        head.inode = inodeOf(step.descriptor);
        head.offset = startOf(step, result);
        bytes = bytesAt(step.descriptor, head.offset, result);
        break;
    case Kind::Resize:
        head.offset = step.offset;
        [[fallthrough]];
    default:
        head.inode = step.path ? 0 : inodeOf(step.descriptor);
    }
    if (isSync(step))
        head.coveredSteps = coveredSteps;
    write(head, pathOf(step), newPathOf(step), bytes);
}

void StepRecorder::write(LoggedHead head, const std::string &path, const std::string &newPath,
                         const std::string &bytes)
{
    head.pathLength = std::uint32_t(path.size());
    head.newPathLength = std::uint32_t(newPath.size());
    head.byteCount = bytes.size();
    std::string entry(reinterpret_cast<const char *>(&head), sizeof head);
    entry += path;
    entry += newPath;
    entry += bytes;
    if (::write(log, entry.data(), entry.size()) != ssize_t(entry.size()))
        std::abort();
    ++stepsDone;
}

} // namespace zel::test
