#pragma once

#include <QByteArray>
#include <QString>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>

/// What the sources of this folder share about descriptors. It brings headers of the system along,
/// so nothing outside includes it. Names are bytes here, since those of a file system need not be
/// valid text.
namespace zel::posix {

/// Owns one file descriptor.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int number)
        : number(number)
    {
    }
    Descriptor(Descriptor &&other) noexcept
        : number(std::exchange(other.number, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor() { static_cast<void>(close()); }

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }
    /// Gives the descriptor away.
    int release() { return std::exchange(number, -1); }
    /// 0 or errno: some file systems tell of a failed write only here.
    int close();

private:
    int number = -1;
};

/// Repeats a system call that a signal has interrupted.
template<typename Call>
auto retried(const Call &call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

/// Opens relative to a folder; AT_FDCWD is a folder too. Closed on exec.
Descriptor openAt(int folder, const QByteArray &name, int flags, mode_t mode = 0);
/// Opens a folder for reading, and never through a link.
Descriptor openFolderAt(int folder, const QByteArray &name);

struct Entry
{
    QByteArray name;
    unsigned char type; ///< DT_REG and so on; DT_UNKNOWN if it could not be found out
};

/// What the entry is, found out by looking at it and not at what it may lead to.
unsigned char typeByLook(int folder, const QByteArray &name);
/// Reads what the folder holds, without "." and "..". 0 or errno.
int readEntries(int folder, std::vector<Entry> *entries);

/// An open folder that is read once, with fewer calls of the system than readEntries() needs, which
/// leaves the descriptor to others. What is in it can be looked at for as long as this lives.
class FolderStream
{
public:
    /// Takes the folder over; of one that is not open, errno stays.
    explicit FolderStream(Descriptor &&folder);

    bool isOpen() const { return stream != nullptr; }
    int get() const;
    /// As above. Once.
    int readEntries(std::vector<Entry> *entries) const;

private:
    struct Closing
    {
        void operator()(DIR *stream) const;
    };
    std::unique_ptr<DIR, Closing> stream;
};

/// Writes all of it. 0 or errno.
int writeAll(int file, const char *bytes, size_t size);

/// Lets the disk begin with these bytes of the file, so that a later sync has less to wait for. A
/// hint: waits for nothing, and what goes wrong is told by the sync.
void startSync(int file, qint64 offset, qint64 count);
/// Waits until the folder's entries are on the disk; a file system that cannot do that for a folder
/// is no failure. 0 or errno.
int syncFolder(int folder);

/// "folder/name".
QByteArray joined(const QByteArray &folder, const QByteArray &name);
/// The folder around a path and its last component; trailing slashes are dropped.
std::pair<QByteArray, QByteArray> splitPath(QByteArray path);

/// The path as text for people; what is no valid text is replaced.
QString shown(const QByteArray &path);
QString shown(const std::filesystem::path &path);

/// The code of a failure with this errno: 7 for want of space, else 1.
int codeOf(int error);

} // namespace zel::posix
