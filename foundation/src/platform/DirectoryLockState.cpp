#include "platform/DirectoryLockState.h"

#include "platform/PosixFile.h"

#include <QDir>
#include <QFile>

#include <algorithm>

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

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A lock of this kind, whoever has it.
struct Holding
{
    qint64 process = 0;
    QByteArray file; ///< as in nameInList()
};

/// "1: FLOCK  ADVISORY  WRITE 2728 fe:00:5825346 0 EOF"; who waits has "->" behind the number.
QList<Holding> holdingsIn(const QByteArray &locks)
{
    QList<Holding> holdings;
    for (const QByteArray &line : locks.split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.value(1) == "FLOCK" && words.value(4).toLongLong() > 0)
            holdings.append({ words.value(4).toLongLong(), words.value(5) });
    }
    return holdings;
}

/// Whether the process has the directory open and locked. Of processes of others nobody but the
/// administrator sees that.
bool isLockedBy(qint64 process, const struct stat &directory)
{
    const QString folder = u"/proc/%1"_s.arg(process);
    const QStringList numbers
        = QDir(folder + u"/fd"_s).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    return std::any_of(numbers.begin(), numbers.end(), [&](const QString &number) {
        struct stat opened = {};
        return ::stat(QFile::encodeName(folder + u"/fd/"_s + number).constData(), &opened) == 0
            && opened.st_dev == directory.st_dev && opened.st_ino == directory.st_ino
            && contentOf(folder + u"/fdinfo/"_s + number).contains("FLOCK");
    });
}

/// Some file systems have other numbers in the list than files are told to have: what processes
/// have open is surer.
std::optional<qint64> holderOf(const struct stat &directory)
{
    const QList<Holding> holdings = holdingsIn(contentOf(u"/proc/locks"_s));
    for (const Holding &holding : holdings) {
        if (isLockedBy(holding.process, directory))
            return holding.process;
    }
    const QByteArray name = nameInList(directory);
    for (const Holding &holding : holdings) {
        if (holding.file == name)
            return holding.process;
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
    state.holder = holderOf(status);
    return state;
}

} // namespace zel
