#include "FullDisk.h"

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace zel::test {

FullDisk::FullDisk(std::string folder, int number, int error)
    : folder(std::move(folder) + '/')
    , number(number)
    , error(error)
{
    watchFileSteps(this);
}

FullDisk::~FullDisk()
{
    watchFileSteps(nullptr);
}

int FullDisk::before(const FileStep &step)
{
    if (!takesRoom(step) || (!isBelow(pathOf(step)) && !isBelow(newPathOf(step))))
        return 0;
    return seen++ >= number ? error : 0;
}

bool FullDisk::isBelow(const std::string &path) const
{
    return path.starts_with(folder);
}

bool FullDisk::takesRoom(const FileStep &step)
{
    using Kind = FileStep::Kind;
    switch (step.kind) {
    case Kind::Write:
    case Kind::Copy:
    case Kind::Link:
    case Kind::MakeFolder:
    case Kind::Sync: // where a disk decides late, it tells late
    case Kind::SyncFileSystem:
        return true;
    case Kind::Resize:
        return step.offset > 0;
    case Kind::Open:
        return (step.flags & O_CREAT) != 0 && ::access(pathOf(step).c_str(), F_OK) != 0;
    default:
        return false;
    }
}

} // namespace zel::test
