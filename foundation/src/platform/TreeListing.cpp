#include "platform/TreeListing.h"

#include "platform/PosixFile.h"

#include <algorithm>
#include <array>

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

class Lister
{
public:
    Lister(std::filesystem::path root, const TreeListing::Take &take)
        : root(std::move(root))
        , take(take)
    {
    }

    /// False: there is a failure.
    bool add(int folder, const posix::Entry &entry, const QByteArray &path);
    bool takeFile(const struct stat &status, const QByteArray &path);

    std::optional<TreeListing::Failure> failure;

private:
    bool addBelow(int around, const QByteArray &name, const QByteArray &path);
    bool addFile(int folder, const QByteArray &name, const QByteArray &path);
    bool addLink(int folder, const QByteArray &name, const QByteArray &path);
    bool outcomeOf(int error, const QByteArray &path);

    const std::filesystem::path root;
    const TreeListing::Take &take;
};

/// What has been removed since its name was read is no failure.
bool Lister::outcomeOf(int error, const QByteArray &path)
{
    if (error == ENOENT)
        return true;
    failure = { root / path.toStdString(), std::error_code(error, std::generic_category()) };
    return false;
}

bool Lister::add(int folder, const posix::Entry &entry, const QByteArray &path)
{
    switch (entry.type) {
    case DT_DIR:
        return addBelow(folder, entry.name, path);
    case DT_REG:
        return addFile(folder, entry.name, path);
    case DT_LNK:
        return addLink(folder, entry.name, path);
    default:
        return true;
    }
}

bool Lister::addBelow(int around, const QByteArray &name, const QByteArray &path)
{
    const FolderStream folder(openFolderAt(around, name));
    if (!folder.isOpen())
        return outcomeOf(errno, path);
    std::vector<posix::Entry> entries;
    if (const int error = folder.readEntries(&entries); error != 0)
        return outcomeOf(error, path);
    std::sort(entries.begin(), entries.end(),
              [](const auto &left, const auto &right) { return left.name < right.name; });
    return std::all_of(entries.begin(), entries.end(), [&](const posix::Entry &entry) {
        return add(folder.get(), entry, joined(path, entry.name));
    });
}

bool Lister::addFile(int folder, const QByteArray &name, const QByteArray &path)
{
    struct stat status;
    if (::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return outcomeOf(errno, path);
    return takeFile(status, path);
}

bool Lister::takeFile(const struct stat &status, const QByteArray &path)
{
    constexpr qint64 second = 1'000'000'000; // in nanoseconds
    take({ path, status.st_size, status.st_mtim.tv_sec * second + status.st_mtim.tv_nsec, {} });
    return true;
}

bool Lister::addLink(int folder, const QByteArray &name, const QByteArray &path)
{
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlinkat(folder, name.constData(), target.data(), target.size());
    if (length < 0)
        return outcomeOf(errno, path);
    take({ path, 0, 0, QByteArray(target.data(), length) });
    return true;
}

} // namespace

std::optional<TreeListing::Failure> TreeListing::make(const std::filesystem::path &folder,
                                                      const QByteArray &name, const Take &take)
{
    Lister lister(folder, take);
    const QByteArray path = QByteArray::fromStdString((folder / name.toStdString()).native());
    struct stat status;
    if (::lstat(path.constData(), &status) != 0)
        return Failure { folder / name.toStdString(),
                         std::error_code(errno, std::generic_category()) };
    if (S_ISREG(status.st_mode))
        lister.takeFile(status, name);
    else
        lister.add(AT_FDCWD, { path, static_cast<unsigned char>(IFTODT(status.st_mode)) }, name);
    return lister.failure;
}

} // namespace zel
