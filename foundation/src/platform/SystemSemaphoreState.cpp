#include "platform/SystemSemaphoreState.h"

#include "platform/SystemSemaphoreKey.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#include <sys/sem.h>

namespace zel {

namespace {

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
    state.keyFile = SystemSemaphoreKey::fileOf(key);
    state.owner = ownerOf(state.keyFile);
    // To be read only: neither made nor changed.
    constexpr int mayBeRead = 0400;
    const int set = SystemSemaphoreKey::findSet(key, mayBeRead);
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
