#include "SemaphoreSets.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSet>

#include <cerrno>
#include <memory>
#include <vector>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Qt's own naming: this, the letters of the key, and its digest.
const QString anyKeyFile = u"qipc_systemsem_*"_s;

/// As Qt finds it; -1 with errno.
int setOf(const QString &keyFile, int access)
{
    constexpr int project = 'Q';
    const key_t number = ::ftok(QFile::encodeName(keyFile).constData(), project);
    return number == key_t(-1) ? -1 : ::semget(number, 1, access);
}

void removeByKeyFile(const QString &folder, const QString &pattern)
{
    const QDir files(folder, pattern, QDir::NoSort, QDir::Files);
    for (const QString &name : files.entryList()) {
        const QString keyFile = files.filePath(name);
        // The file last: until then no other file has its inode.
        const int set = setOf(keyFile, 0);
        const bool isNoneThere = set < 0 && errno == ENOENT;
        if (isNoneThere || ::semctl(set, 0, IPC_RMID) == 0)
            QFile::remove(keyFile);
    }
}

/// Made before main() begins, and so destroyed after all that tests make.
class KeysAtEnd
{
public:
    ~KeysAtEnd()
    {
        if (::getpid() != owner) // a forked child that ends as programs do
            return;
        for (const QString &key : std::as_const(keys))
            removeSystemSemaphore(key);
    }
    void add(const QString &key) { keys.insert(key); }

private:
    const pid_t owner = ::getpid();
    QSet<QString> keys;
};

KeysAtEnd keysAtEnd;

} // namespace

void removeSystemSemaphore(const QString &key)
{
    const QByteArray digest = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha1);
    removeByKeyFile(QDir::tempPath(), anyKeyFile + QString::fromLatin1(digest.toHex()));
}

void removeSystemSemaphoreAtEnd(const QString &key)
{
    keysAtEnd.add(key);
}

void removeSemaphoresIn(const QString &folder)
{
    removeByKeyFile(folder, anyKeyFile);
}

int makeUnfinishedSemaphore(const QString &keyFile)
{
    // Whoever has left a semaphore in the way: a file that is open keeps its inode from the next.
    constexpr std::size_t limit = 500; // below that of open files
    std::vector<std::unique_ptr<QFile>> passedOver;
    while (passedOver.size() < limit) {
        passedOver.push_back(std::make_unique<QFile>(keyFile));
        if (!passedOver.back()->open(QIODevice::WriteOnly))
            return -1;
        const int set = setOf(keyFile, IPC_CREAT | IPC_EXCL | 0600);
        if (set >= 0 || errno != EEXIST || !QFile::remove(keyFile))
            return set;
    }
    return -1;
}

} // namespace zel::test
