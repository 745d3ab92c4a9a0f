#include "platform/SystemSemaphoreState.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#include <sys/ipc.h>
#include <sys/sem.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isPlainLetter(QChar letter)
{
    return (letter >= u'a' && letter <= u'z') || (letter >= u'A' && letter <= u'Z');
}

/// The file that stands for the key: Qt's own naming, of which it has no public form.
QString keyFileOf(const QString &key)
{
    QString letters = key;
    letters.removeIf([](QChar letter) { return !isPlainLetter(letter); });
    const QByteArray digest
        = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QDir::tempPath() + u"/qipc_systemsem_"_s + letters + QString::fromLatin1(digest);
}

QString ownerOf(const QString &file)
{
    const QFileInfo info(file);
    if (!info.exists())
        return {};
    return info.owner().isEmpty() ? QString::number(info.ownerId()) : info.owner();
}

} // namespace

SystemSemaphoreState SystemSemaphoreState::of(const QString &key)
{
    SystemSemaphoreState state;
    state.keyFile = keyFileOf(key);
    state.owner = ownerOf(state.keyFile);
    constexpr int project = 'Q';
    const key_t number = ::ftok(QFile::encodeName(state.keyFile).constData(), project);
    if (number == key_t(-1))
        return state;
    // To be read only: neither made nor changed.
    constexpr int mayBeRead = 0400;
    const int set = ::semget(number, 1, mayBeRead);
    if (set < 0) {
        state.access = errno == EACCES ? Access::Refused : Access::Absent;
        return state;
    }
    state.value = ::semctl(set, 0, GETVAL);
    state.lastProcess = ::semctl(set, 0, GETPID);
    state.waiting = std::max(::semctl(set, 0, GETNCNT), 0);
    // It may have been removed since it was found.
    state.access = state.value >= 0 ? Access::Seen : Access::Absent;
    return state;
}

} // namespace zel
