#include "platform/FileSync.h"

#include "errors/Propagate.h"
#include "files/HiddenNames_p.h"
#include "files/NativePath.h"
#include "platform/FreeSpace.h"
#include "platform/PosixFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

int syncNow(int file)
{
    return retried([&] { return ::fsync(file); }) == 0 ? 0 : errno;
}

int syncFolderAt(const QByteArray &path)
{
    const Descriptor folder = openAt(AT_FDCWD, path, O_RDONLY | O_DIRECTORY);
    return folder.isOpen() ? syncFolder(folder.get()) : errno;
}

bool liesSomethingAt(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// Fills the new file completely; it then has the rights of the file that it is to replace.
int fill(Descriptor *file, int folder, const QByteArray &finalName, const QByteArray &content)
{
    struct stat former;
    if (::fstatat(folder, finalName.constData(), &former, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISREG(former.st_mode) && ::fchmod(file->get(), former.st_mode & 0777) != 0)
        return errno;
    const auto size = static_cast<size_t>(content.size());
    if (const int error = writeAll(file->get(), content.constData(), size))
        return error;
    if (const int error = syncNow(file->get()))
        return error;
    return file->close();
}

int replaceAt(int folder, const QByteArray &name, const QByteArray &content)
{
    const QByteArray workName = HiddenNames::partial();
    Descriptor file = openAt(folder, workName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0666);
    if (!file.isOpen())
        return errno;
    int error = fill(&file, folder, name, content);
    if (error == 0 && ::renameat(folder, workName.constData(), folder, name.constData()) != 0)
        error = errno;
    if (error != 0) {
        ::unlinkat(folder, workName.constData(), 0);
        return error;
    }
    return syncFolder(folder);
}

Error failure(int code, const QString &path, const QString &reason)
{
    return ZEL_ERROR(code, FileSync::tr("Writing \"%1\" failed: %2").arg(path, reason));
}

Error failure(const QString &path, int reason)
{
    return ZEL_PASS(failure(codeOf(reason), path, qt_error_string(reason)));
}

} // namespace

Error FileSync::syncFile(QFileDevice &file)
{
    if (!file.flush()) {
        const bool isFull = file.error() == QFileDevice::ResourceError;
        const int code = isFull ? FreeSpace::lackingCode : int(ErrorCode::OperationFailed);
        return ZEL_PASS(failure(code, file.fileName(), file.errorString()));
    }
    if (const int error = syncNow(file.handle()))
        return ZEL_PASS(failure(file.fileName(), error));
    return {};
}

Error FileSync::syncFile(const QString &path)
{
    const Descriptor file = openAt(AT_FDCWD, QFile::encodeName(path), O_RDONLY);
    if (const int error = file.isOpen() ? syncNow(file.get()) : errno)
        return ZEL_PASS(failure(path, error));
    return {};
}

Error FileSync::syncDirectory(const QString &path)
{
    return ZEL_PASS(syncDirectory(nativePath(path)));
}

Error FileSync::syncDirectory(const std::filesystem::path &path)
{
    if (const int error = syncFolderAt(QByteArray::fromStdString(path.native()))) {
        return ZEL_ERROR(
            codeOf(error),
            tr("Writing the folder \"%1\" failed: %2").arg(shown(path), qt_error_string(error)));
    }
    return {};
}

Error FileSync::syncDirectories(const QStringList &paths)
{
    Error error;
    for (const QString &path : paths)
        ZEL_TRY(error, syncDirectory(path));
    return error;
}

QStringList FileSync::foldersAround(const QString &folder)
{
    QStringList folders { QFileInfo(QDir::cleanPath(folder)).path() };
    while (!liesSomethingAt(folders.constLast()))
        folders.append(QFileInfo(folders.constLast()).path());
    return folders;
}

Error FileSync::replaceContent(const QString &path, const QByteArray &content)
{
    const auto [folderPath, name] = splitPath(QFile::encodeName(path));
    const Descriptor folder = openAt(AT_FDCWD, folderPath, O_RDONLY | O_DIRECTORY);
    if (const int error = folder.isOpen() ? replaceAt(folder.get(), name, content) : errno)
        return ZEL_PASS(failure(path, error));
    return {};
}

Error FileSync::renameDurably(const QString &from, const QString &to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    int error = ::rename(source.constData(), target.constData()) == 0 ? 0 : errno;
    const QByteArray targetFolder = splitPath(target).first;
    const QByteArray sourceFolder = splitPath(source).first;
    if (error == 0)
        error = syncFolderAt(targetFolder);
    if (error == 0 && sourceFolder != targetFolder)
        error = syncFolderAt(sourceFolder);
    if (error != 0) {
        return ZEL_ERROR(
            codeOf(error),
            tr("Renaming \"%1\" to \"%2\" failed: %3").arg(from, to, qt_error_string(error)));
    }
    return {};
}

} // namespace zel
