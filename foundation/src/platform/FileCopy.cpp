#include "platform/FileCopy.h"

#include "errors/Propagate.h"
#include "files/HiddenNames_p.h"
#include "platform/ByteCopy.h"
#include "platform/TreeCopy.h"

#include <QFile>

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace zel {

namespace posix {

const int readFlags = O_RDONLY | O_NONBLOCK;
const int shortenedSource = ENODATA;

namespace {

/// Fills the new file and closes it, which is the last moment to learn of a failed write.
int fill(const Descriptor &source, const struct stat &status, Descriptor *target, FileCopySync sync,
         const std::function<bool(qint64)> &advance)
{
    qint64 copied = 0;
    const auto count = [&](qint64 bytes) {
        // The disk works while the next bytes are copied, instead of idling until all are there.
        if (sync == FileCopySync::Yes)
            startSync(target->get(), copied, bytes);
        copied += bytes;
        return advance(bytes);
    };
    if (const int error = copyBytes(source.get(), target->get(), status.st_size, count))
        return error;
    if (copied < status.st_size)
        return shortenedSource;
    if (const int error = copyTimes(source.get(), target->get()))
        return error;
    if (sync == FileCopySync::Yes && retried([&] { return ::fsync(target->get()); }) != 0)
        return errno;
    return target->close();
}

} // namespace

int copyToNewFile(const Descriptor &source, int targetFolder, const QByteArray &name,
                  FileCopySync sync, const std::function<bool(qint64)> &advance)
{
    struct stat status;
    if (::fstat(source.get(), &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode))
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    const mode_t mode = (status.st_mode & 0777) | S_IRUSR | S_IWUSR;
    Descriptor target = openAt(targetFolder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (!target.isOpen())
        return errno;
    const int error = fill(source, status, &target, sync, advance);
    if (error != 0)
        ::unlinkat(targetFolder, name.constData(), 0);
    return error;
}

int copyTimes(int source, int target)
{
    struct stat status;
    if (::fstat(source, &status) != 0)
        return errno;
    const timespec times[2] = { { 0, UTIME_OMIT }, status.st_mtim };
    return ::futimens(target, times) == 0 ? 0 : errno;
}

Error fileCopyFailure(const QByteArray &sourcePath, const QByteArray &targetPath, int error)
{
    if (error == shortenedSource) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         TreeCopy::tr("Copying \"%1\" failed: the file became shorter meanwhile.")
                             .arg(shown(sourcePath)));
    }
    return ZEL_ERROR(codeOf(error),
                     TreeCopy::tr("Copying \"%1\" to \"%2\" failed: %3")
                         .arg(shown(sourcePath), shown(targetPath), qt_error_string(error)));
}

} // namespace posix

using namespace posix;

namespace {

/// Copies beside the file that is to be replaced, which so stays until the copy is whole.
int copyAndReplace(const Descriptor &source, int folder, const QByteArray &name,
                   const std::function<bool(qint64)> &advance)
{
    const QByteArray workName = HiddenNames::partial();
    if (const int error = copyToNewFile(source, folder, workName, FileCopySync::Yes, advance))
        return error;
    if (::renameat(folder, workName.constData(), folder, name.constData()) == 0)
        return 0;
    const int error = errno;
    ::unlinkat(folder, workName.constData(), 0);
    return error;
}

int copyOpenFile(const Descriptor &source, const QByteArray &targetPath, bool replacesFiles,
                 const std::function<bool(qint64)> &advance)
{
    const auto [folderPath, name] = splitPath(targetPath);
    const Descriptor folder = openAt(AT_FDCWD, folderPath, O_RDONLY | O_DIRECTORY);
    if (!folder.isOpen())
        return errno;
    const int error = replacesFiles
        ? copyAndReplace(source, folder.get(), name, advance)
        : copyToNewFile(source, folder.get(), name, FileCopySync::Yes, advance);
    return error != 0 ? error : syncFolder(folder.get());
}

} // namespace

Error TreeCopy::copyFile(const QString &source, const QString &target, const Options &options,
                         const Progress &progress)
{
    const QByteArray sourcePath = QFile::encodeName(source);
    const QByteArray targetPath = QFile::encodeName(target);
    const Descriptor file = openAt(AT_FDCWD, sourcePath, readFlags);
    qint64 copied = 0;
    const auto advance = [&](qint64 bytes) {
        copied += bytes;
        return !progress || progress(copied);
    };
    if (!file.isOpen())
        return ZEL_PASS(fileCopyFailure(sourcePath, targetPath, errno));
    if (!advance(0))
        return ZEL_PASS(Error(ErrorCode::Canceled));
    const int error = copyOpenFile(file, targetPath, options.replacesFiles, advance);
    if (error == ECANCELED)
        return ZEL_PASS(Error(ErrorCode::Canceled));
    if (error != 0)
        return ZEL_PASS(fileCopyFailure(sourcePath, targetPath, error));
    return {};
}

} // namespace zel
