#include "platform/TreeSize.h"

#include "platform/PosixFile.h"

#include <QFile>

#include <dirent.h>
#include <fcntl.h>

namespace zel {

using namespace posix;

namespace {

qint64 sizeOfFolder(const Descriptor &folder);

// The folder itself tells what an entry is, so that only files cost a look of their own.
qint64 sizeOfEntry(int folder, const Entry &entry)
{
    if (entry.type == DT_DIR)
        return sizeOfFolder(openFolderAt(folder, entry.name));
    if (entry.type != DT_REG)
        return 0;
    struct stat status;
    const int flags = AT_SYMLINK_NOFOLLOW;
    return ::fstatat(folder, entry.name.constData(), &status, flags) == 0 ? status.st_size : 0;
}

qint64 sizeOfFolder(const Descriptor &folder)
{
    if (!folder.isOpen())
        return 0;
    std::vector<Entry> entries;
    // What was read before a failure still counts.
    static_cast<void>(readEntries(folder.get(), &entries));
    qint64 size = 0;
    for (const Entry &entry : entries)
        size += sizeOfEntry(folder.get(), entry);
    return size;
}

} // namespace

qint64 treeSize(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status;
    if (::stat(name.constData(), &status) != 0)
        return 0;
    if (S_ISREG(status.st_mode))
        return status.st_size;
    if (!S_ISDIR(status.st_mode))
        return 0;
    return sizeOfFolder(openAt(AT_FDCWD, name, O_RDONLY | O_DIRECTORY));
}

} // namespace zel
