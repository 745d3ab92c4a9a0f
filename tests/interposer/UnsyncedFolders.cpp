#include "UnsyncedFolders.h"

#include <utility>

namespace zel::test {

namespace {

using Kind = FileStep::Kind;

bool isBelow(const std::string &path, const std::string &folder)
{
    return path.starts_with(folder + '/');
}

std::string folderAround(const std::string &path)
{
    return path.substr(0, path.rfind('/'));
}

} // namespace

UnsyncedFolders::UnsyncedFolders(std::string folder)
    : folder(std::move(folder))
{
    watchFileSteps(this);
}

UnsyncedFolders::~UnsyncedFolders()
{
    watchFileSteps(nullptr);
}

std::set<std::string> UnsyncedFolders::now() const
{
    const std::lock_guard guard(mutex);
    return unsynced;
}

std::set<std::string> UnsyncedFolders::movedInto() const
{
    const std::lock_guard guard(mutex);
    return filled;
}

void UnsyncedFolders::after(const FileStep &step, ssize_t result)
{
    if (result < 0)
        return;
    const std::string path = pathOf(step);
    const std::lock_guard guard(mutex);
    if (step.kind == Kind::MakeFolder && isBelow(path, folder))
        unsynced.insert(path);
    else if (step.kind == Kind::RemoveFolder)
        unsynced.erase(path);
    else if (step.kind == Kind::Sync)
        std::erase_if(unsynced,
                      [&](const std::string &name) { return folderAround(name) == path; });
    else if (step.kind == Kind::SyncFileSystem)
        unsynced.clear();
    else if (step.kind == Kind::Rename)
        rename(path, newPathOf(step));
}

void UnsyncedFolders::rename(const std::string &from, const std::string &to)
{
    std::set<std::string> renamed;
    for (const std::string &name : unsynced) {
        if (isBelow(to, name))
            filled.insert(name);
        const bool isMoved = name == from || isBelow(name, from);
        renamed.insert(isMoved ? to + name.substr(from.size()) : name);
    }
    unsynced = std::move(renamed);
}

} // namespace zel::test
