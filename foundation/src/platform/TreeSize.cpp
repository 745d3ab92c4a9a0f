#include "platform/TreeSize.h"

#include "errors/Logging.h"
#include "platform/PosixFile.h"

#include <QFile>

#include <dirent.h>
#include <fcntl.h>

namespace zel {

using namespace posix;

namespace {

/// Adds up one tree, and keeps what could not be read of it.
class SizeCount
{
public:
    /// A folder on the way down. Its path is put together only if there is something to tell of it.
    struct Level
    {
        const Level *around; ///< null for the one that is counted
        const QByteArray &name;

        QByteArray path() const { return around ? joined(around->path(), name) : name; }
    };

    explicit SizeCount(const std::function<bool()> &goesOn)
        : goesOn(goesOn)
    {
    }

    /// A folder that is not open counts nothing; errno says why.
    qint64 sizeOf(Descriptor &&folder, const Level &level)
    {
        // The stream takes the descriptor itself: each level of a tree has one open, no more.
        const FolderStream stream(std::move(folder));
        if (!stream.isOpen())
            return noteUnread(level, errno);
        std::vector<Entry> entries;
        // What was read before a failure still counts.
        qint64 size = noteUnread(level, stream.readEntries(&entries));
        for (const Entry &entry : entries) {
            if (goesOn && !goesOn())
                break;
            size += sizeOfEntry(stream.get(), entry, level);
        }
        return size;
    }

    /// One line, however much is missing: a shortage of descriptors hits many folders at a time.
    void logUnread() const
    {
        if (unread > 0) {
            qCWarning(lcResourceManager)
                << "The size of a folder lacks" << unread << "of its folders. Reading"
                << firstUnread << "failed:" << qPrintable(qt_error_string(firstReason));
        }
    }

private:
    // The folder itself tells what an entry is, so that only files cost a look of their own.
    qint64 sizeOfEntry(int folder, const Entry &entry, const Level &around)
    {
        if (entry.type == DT_DIR)
            return sizeOf(openFolderAt(folder, entry.name), { &around, entry.name });
        if (entry.type != DT_REG)
            return 0;
        struct stat status;
        const int flags = AT_SYMLINK_NOFOLLOW;
        return ::fstatat(folder, entry.name.constData(), &status, flags) == 0 ? status.st_size : 0;
    }

    /// 0, for the size of what is missing. What has gone since it was listed is not.
    qint64 noteUnread(const Level &level, int reason)
    {
        if (reason == 0 || reason == ENOENT)
            return 0;
        if (unread++ == 0) {
            firstUnread = shown(level.path());
            firstReason = reason;
        }
        return 0;
    }

    const std::function<bool()> &goesOn;
    int unread = 0;
    QString firstUnread;
    int firstReason = 0;
};

} // namespace

qint64 treeSize(const QString &path, const std::function<bool()> &goesOn)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status;
    if (::stat(name.constData(), &status) != 0)
        return 0;
    if (S_ISREG(status.st_mode))
        return status.st_size;
    if (!S_ISDIR(status.st_mode))
        return 0;
    SizeCount count(goesOn);
    const qint64 size
        = count.sizeOf(openAt(AT_FDCWD, name, O_RDONLY | O_DIRECTORY), { nullptr, name });
    count.logUnread();
    return size;
}

} // namespace zel
