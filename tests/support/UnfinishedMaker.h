#pragma once

#include <QFile>
#include <QString>

#include <sys/ipc.h>
#include <sys/sem.h>

namespace zel::test {

/// Leaves what a program leaves that dies while it makes the semaphore of this key file: one that
/// is not set up. Gives its number in the system, or -1.
inline int makeUnfinishedSemaphore(const QString &keyFile)
{
    QFile file(keyFile);
    if (!file.open(QIODevice::WriteOnly))
        return -1;
    constexpr int project = 'Q';
    const key_t number = ::ftok(QFile::encodeName(keyFile).constData(), project);
    return ::semget(number, 1, IPC_CREAT | IPC_EXCL | 0600);
}

} // namespace zel::test
