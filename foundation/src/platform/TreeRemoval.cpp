#include "platform/TreeRemoval.h"

#include "errors/Propagate.h"
#include "platform/PosixFile.h"

#include <QFile>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

/// Removes entries relative to open folders, so that neither a link that appears on the way nor the
/// length of a path can lead it astray.
class Remover
{
public:
    struct Folder
    {
        int number;
        bool isOurs; ///< part of what is removed, so that its rights may be changed
        QByteArray path;
    };

    void removeEntry(const Folder &parent, const Entry &entry);

    int firstError = 0;
    QByteArray firstPath;

private:
    static int unlinkFrom(const Folder &parent, const QByteArray &name, int flags);
    static Descriptor openInside(const Folder &parent, const QByteArray &name);
    void removeFolder(const Folder &parent, const QByteArray &name);
    void emptyFolder(const Folder &folder);
    void note(const QByteArray &path, int error);
};

void Remover::removeEntry(const Folder &parent, const Entry &entry)
{
    if (entry.type == DT_DIR)
        return removeFolder(parent, entry.name);
    const int error = unlinkFrom(parent, entry.name, 0);
    if (error == EISDIR)
        return removeFolder(parent, entry.name);
    note(joined(parent.path, entry.name), error);
}

/// 0 or errno; something that has gone meanwhile is no failure.
int Remover::unlinkFrom(const Folder &parent, const QByteArray &name, int flags)
{
    const auto unlink = [&] {
        return ::unlinkat(parent.number, name.constData(), flags);
    };
    if (unlink() == 0 || errno == ENOENT)
        return 0;
    const int error = errno;
    const bool isRefused = error == EACCES || error == EPERM;
    if (!isRefused || !parent.isOurs || ::fchmod(parent.number, S_IRWXU) != 0)
        return error;
    return unlink() == 0 || errno == ENOENT ? 0 : errno;
}

Descriptor Remover::openInside(const Folder &parent, const QByteArray &name)
{
    Descriptor folder = openFolderAt(parent.number, name);
    if (folder.isOpen() || errno != EACCES)
        return folder;
    // Either the folder cannot be read or the one around it cannot be searched. Whether one of
    // these has helped is told by the second look.
    if (parent.isOurs)
        ::fchmod(parent.number, S_IRWXU);
    [[maybe_unused]] const int changed
        = ::fchmodat(parent.number, name.constData(), S_IRWXU, AT_SYMLINK_NOFOLLOW);
    return openFolderAt(parent.number, name);
}

void Remover::removeFolder(const Folder &parent, const QByteArray &name)
{
    // What a purge removes file by file is empty by now, and so needs no look inside.
    if (::unlinkat(parent.number, name.constData(), AT_REMOVEDIR) == 0)
        return;
    const QByteArray path = joined(parent.path, name);
    const Descriptor folder = openInside(parent, name);
    if (!folder.isOpen() && errno == ENOENT)
        return;
    if (!folder.isOpen() && errno == ENOTDIR) // it has become a file or a link meanwhile
        return note(path, unlinkFrom(parent, name, 0));
    if (!folder.isOpen()) {
        const int error = errno;
        // An empty folder can go unread.
        return note(path, unlinkFrom(parent, name, AT_REMOVEDIR) == 0 ? 0 : error);
    }

    // Somebody may add a file while we remove, but we do not race him for ever.
    constexpr int attempts = 3;
    int error = ENOTEMPTY;
    for (int i = 0; i < attempts && (error == ENOTEMPTY || error == EEXIST); ++i) {
        emptyFolder({ folder.get(), true, path });
        error = unlinkFrom(parent, name, AT_REMOVEDIR);
        if (firstError != 0)
            break;
    }
    note(path, error);
}

void Remover::emptyFolder(const Folder &folder)
{
    std::vector<Entry> entries;
    note(folder.path, readEntries(folder.number, &entries));
    for (const Entry &entry : entries)
        removeEntry(folder, entry);
}

void Remover::note(const QByteArray &path, int error)
{
    if (error == 0 || firstError != 0)
        return;
    firstError = error;
    firstPath = path;
}

} // namespace

Error TreeRemoval::remove(const QString &path)
{
    const auto [folderPath, name] = splitPath(QFile::encodeName(path));
    if (name.isEmpty() || name == "." || name == ".." || path.contains(QChar::Null)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("\"%1\" is no path of something to remove.").arg(path));
    }
    const Descriptor parent = openAt(AT_FDCWD, folderPath, O_PATH | O_DIRECTORY);
    if (!parent.isOpen() && (errno == ENOENT || errno == ENOTDIR))
        return {};

    Remover remover;
    remover.firstPath = folderPath;
    remover.firstError = parent.isOpen() ? 0 : errno;
    if (parent.isOpen())
        remover.removeEntry({ parent.get(), false, folderPath },
                            { name, typeByLook(parent.get(), name) });
    if (remover.firstError != 0) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Removing \"%1\" failed: %2")
                             .arg(shown(remover.firstPath), qt_error_string(remover.firstError)));
    }
    return {};
}

} // namespace zel
