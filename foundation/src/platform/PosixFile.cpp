#include "platform/PosixFile.h"

#include "platform/FreeSpace.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace zel::posix {

namespace {

/// "." or "..".
bool isOfEachFolder(const char *name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

} // namespace

int Descriptor::close()
{
    // Not repeated after an interruption: the number is free by then and may be another file's.
    const int open = std::exchange(number, -1);
    return open >= 0 && ::close(open) != 0 && errno != EINTR ? errno : 0;
}

Descriptor openAt(int folder, const QByteArray &name, int flags, mode_t mode)
{
    return Descriptor(
        retried([&] { return ::openat(folder, name.constData(), flags | O_CLOEXEC, mode); }));
}

Descriptor openFolderAt(int folder, const QByteArray &name)
{
    return openAt(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

unsigned char typeByLook(int folder, const QByteArray &name)
{
    struct stat status;
    if (::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return DT_UNKNOWN;
    return IFTODT(status.st_mode);
}

int readEntries(int folder, std::vector<Entry> *entries)
{
    entries->clear();
    Descriptor twin(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
    if (!twin.isOpen())
        return errno;
    const FolderStream stream(std::move(twin));
    if (!stream.isOpen())
        return errno;
    // The twin shares its position with the original, which may have been read before.
    static_cast<void>(::lseek(stream.get(), 0, SEEK_SET));
    return stream.readEntries(entries);
}

FolderStream::FolderStream(Descriptor &&folder)
    : stream(folder.isOpen() ? ::fdopendir(folder.get()) : nullptr)
{
    if (stream)
        static_cast<void>(folder.release()); // the stream closes it
}

void FolderStream::Closing::operator()(DIR *stream) const
{
    ::closedir(stream);
}

int FolderStream::get() const
{
    return ::dirfd(stream.get());
}

int FolderStream::readEntries(std::vector<Entry> *entries) const
{
    entries->clear();
    while (true) {
        errno = 0;
        const dirent *entry = ::readdir(stream.get());
        if (!entry)
            return errno;
        if (isOfEachFolder(entry->d_name))
            continue;
        const QByteArray name(entry->d_name);
        const bool isTold = entry->d_type != DT_UNKNOWN;
        entries->push_back({ name, isTold ? entry->d_type : typeByLook(get(), name) });
    }
}

int writeAll(int file, const char *bytes, size_t size)
{
    while (size > 0) {
        const ssize_t written = retried([&] { return ::write(file, bytes, size); });
        if (written < 0)
            return errno;
        if (written == 0)
            return ENOSPC;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return 0;
}

void startSync(int file, qint64 offset, qint64 count)
{
#if defined(SYNC_FILE_RANGE_WRITE)
    static_cast<void>(::sync_file_range(file, off_t(offset), off_t(count), SYNC_FILE_RANGE_WRITE));
#else
    Q_UNUSED(file)
    Q_UNUSED(offset)
    Q_UNUSED(count)
#endif
}

int syncFolder(int folder)
{
    if (retried([&] { return ::fsync(folder); }) == 0)
        return 0;
    return errno == EINVAL || errno == ENOTSUP ? 0 : errno;
}

QByteArray joined(const QByteArray &folder, const QByteArray &name)
{
    QByteArray path;
    path.reserve(folder.size() + 1 + name.size());
    path.append(folder);
    if (!folder.endsWith('/'))
        path.append('/');
    return path.append(name);
}

std::pair<QByteArray, QByteArray> splitPath(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return { ".", path };
    return { slash == 0 ? QByteArray("/") : path.left(slash), path.mid(slash + 1) };
}

QString shown(const QByteArray &path)
{
    return QFile::decodeName(path);
}

QString shown(const std::filesystem::path &path)
{
    return shown(QByteArray::fromStdString(path.native()));
}

int codeOf(int error)
{
    return FreeSpace::codeOf(std::error_code(error, std::generic_category()));
}

} // namespace zel::posix
