#include "platform/PlainFile.h"

#include "platform/PosixFile.h"

#include <QFile>

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

std::error_code codeNow()
{
    return { errno, std::generic_category() };
}

/// Of a path that cannot be opened: a link, a socket, or what this user may not read.
PlainFile::Outcome unopened(const QByteArray &path)
{
    PlainFile::Outcome outcome;
    outcome.failure = codeNow();
    if (outcome.failure == std::errc::no_such_file_or_directory)
        return outcome;
    struct stat status;
    outcome.isPlain = ::lstat(path.constData(), &status) != 0 || S_ISREG(status.st_mode);
    return outcome;
}

/// Fills the room behind what is `done`, or up to the end of a file of this size.
bool readInto(int file, QByteArray &content, qsizetype done, qint64 size)
{
    while (done < content.size()) {
        const auto count = size_t(content.size() - done);
        const ssize_t got = retried([&] { return ::read(file, content.data() + done, count); });
        if (got < 0)
            return false;
        done += got;
        // More was asked for: that saves the call which would find nothing more.
        if (got == 0 || done == size)
            content.truncate(done);
    }
    return true;
}

} // namespace

PlainFile::Outcome PlainFile::read(const QString &path, qint64 mostBytes)
{
    const QByteArray native = QFile::encodeName(path);
    // A pipe that nobody writes to would be waited for.
    const Descriptor file = openAt(AT_FDCWD, native, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (!file.isOpen())
        return unopened(native);
    Outcome outcome;
    struct stat status;
    if (::fstat(file.get(), &status) != 0) {
        outcome.failure = codeNow();
        return outcome;
    }
    outcome.isPlain = S_ISREG(status.st_mode);
    if (!outcome.isPlain)
        return outcome;
    outcome.content.resize(std::min(qint64(status.st_size), mostBytes) + 1);
    bool isRead = readInto(file.get(), outcome.content, 0, status.st_size);
    // As good as never: it has grown meanwhile. Room for all that is allowed costs more than most
    // files do.
    if (const qsizetype got = outcome.content.size(); isRead && got > status.st_size) {
        outcome.content.resize(mostBytes + 1);
        isRead = readInto(file.get(), outcome.content, got, -1);
    }
    if (!isRead)
        outcome.failure = codeNow();
    return outcome;
}

} // namespace zel
