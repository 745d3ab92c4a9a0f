#pragma once

#include "errors/Error.h"
#include "threads/Mutex.h"

#include <QCoreApplication>

QT_BEGIN_NAMESPACE
class QEventLoop;
QT_END_NAMESPACE

namespace zel {

/// Blocks a thread until another place says so, while the thread's events are delivered.
///
/// One thread calls run(), once; wake() comes from any thread, at any time, before run() too.
/// Whoever wakes shares the object or knows that it lives.
class ZEL_RESOURCE_MANAGER_EXPORT BlockingWait
{
    Q_DECLARE_TR_FUNCTIONS(zel::BlockingWait)

public:
    BlockingWait() = default;
    BlockingWait(const BlockingWait &) = delete;
    BlockingWait &operator=(const BlockingWait &) = delete;

    /// Returns once wake() was called, at once if that has been. `msecs` limits the time, -1 does
    /// not. Code 1 if the time ran out, or if there is no QCoreApplication, without which no event
    /// loop runs. A request to quit the application does not end the wait.
    ///
    /// If the calling thread runs the work of a task in a queue, the place of that task is lent to
    /// others meanwhile.
    Error run(int msecs = -1);
    void wake(); ///< ends run(), now or when it is called

    /// Why no waiting is possible on any thread of this process; no error if it is.
    static Error obstacle();

private:
    bool isWoken();
    void spin(int msecs);

    Mutex mutex { "a blocking wait" };
    QEventLoop *loop = nullptr;
    bool woken = false;
};

} // namespace zel
