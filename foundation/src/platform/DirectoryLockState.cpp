#include "platform/DirectoryLockState.h"

#include "platform/PosixFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// As the system's list of locks names a file: "fe:00:5825346".
QByteArray nameInList(const struct stat &status)
{
    const auto hex = [](unsigned int number) {
        return QByteArray::number(number, 16).rightJustified(2, '0');
    };
    return hex(major(status.st_dev)) + ':' + hex(minor(status.st_dev)) + ':'
        + QByteArray::number(quint64(status.st_ino));
}

/// "1: FLOCK  ADVISORY  WRITE 2728 fe:00:5825346 0 EOF"; who waits has "->" behind the number.
std::optional<qint64> holderIn(const QByteArray &locks, const QByteArray &file)
{
    for (const QByteArray &line : locks.split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.value(1) != "FLOCK" || words.value(5) != file)
            continue;
        const qint64 process = words.value(4).toLongLong();
        if (process > 0)
            return process;
    }
    return {};
}

} // namespace

DirectoryLockState DirectoryLockState::of(const QString &directory)
{
    DirectoryLockState state;
    const posix::Descriptor opened
        = posix::openAt(AT_FDCWD, QFile::encodeName(directory), O_RDONLY | O_DIRECTORY);
    struct stat status;
    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0)
        return state;
    // Shared with all who only look, and given back at once.
    state.isHeld = ::flock(opened.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (!state.isHeld) {
        ::flock(opened.get(), LOCK_UN);
        return state;
    }
    QFile locks(u"/proc/locks"_s);
    if (locks.open(QIODevice::ReadOnly))
        state.holder = holderIn(locks.readAll(), nameInList(status));
    return state;
}

} // namespace zel
