#include "platform/UnfinishedSemaphore.h"

#include "platform/SystemSemaphoreKey.h"

#include <QDeadlineTimer>
#include <QThread>

#include <sys/sem.h>

namespace zel {

namespace {

using namespace std::chrono_literals;

constexpr auto glance = 5ms;

/// In this order: nobody had taken it before the second look, so that it was not 0 by that at the
/// first one.
bool isUnfinished(int set)
{
    semid_ds facts {};
    return ::semctl(set, 0, GETVAL) == 0 && ::semctl(set, 0, IPC_STAT, &facts) == 0
        && facts.sem_otime == 0;
}

} // namespace

bool UnfinishedSemaphore::remove(const QString &key, std::chrono::milliseconds patience)
{
    constexpr int mayBeChanged = 0600;
    const int set = SystemSemaphoreKey::findSet(key, mayBeChanged);
    const QDeadlineTimer limit(patience);
    while (set >= 0 && isUnfinished(set)) {
        if (limit.hasExpired())
            return ::semctl(set, 0, IPC_RMID) == 0;
        QThread::msleep(glance.count());
    }
    return false;
}

} // namespace zel
