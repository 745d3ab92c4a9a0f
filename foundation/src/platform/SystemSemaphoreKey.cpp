#include "platform/SystemSemaphoreKey.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <sys/ipc.h>
#include <sys/sem.h>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isPlainLetter(QChar letter)
{
    return (letter >= u'a' && letter <= u'z') || (letter >= u'A' && letter <= u'Z');
}

} // namespace

QString SystemSemaphoreKey::fileOf(const QString &key)
{
    QString letters = key;
    letters.removeIf([](QChar letter) { return !isPlainLetter(letter); });
    const QByteArray digest
        = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QDir::tempPath() + u"/qipc_systemsem_"_s + letters + QString::fromLatin1(digest);
}

int SystemSemaphoreKey::findSet(const QString &key, int access)
{
    constexpr int project = 'Q';
    const key_t number = ::ftok(QFile::encodeName(fileOf(key)).constData(), project);
    return number == key_t(-1) ? -1 : ::semget(number, 1, access);
}

} // namespace zel
