#pragma once

#include "platform/SignalWatch.h"

#include <QList>
#include <QObject>

#include <functional>

namespace zel {
class Task;
}

namespace zel::cli {

/// Waits for tasks that run in the manager's queue, with an event loop on this thread. A signal
/// cancels them, and the wait goes on until they have ended, so that each leaves its rows in order.
///
/// Make it before the first task is made: signals are looked after from then on. Borrows the tasks;
/// none may be destroyed before run() returns. Main thread only.
class TaskWait
{
public:
    TaskWait();

    void add(Task *task);
    int count() const { return int(tasks.size()); }
    /// How many have ended, as far as this thread knows.
    int endedCount() const { return ended; }

    /// `onTick` is called several times a second and after each end of a task. Returns the number
    /// of the signal that came, else 0.
    int run(const std::function<void()> &onTick);

    void cancelAll();
    /// The number of the signal that came, else 0.
    int receivedSignal() const { return signalWatch.received(); }

private:
    QList<Task *> tasks;
    QObject receiver; ///< of their ends
    int ended = 0; ///< of the tasks; none is asked again and again
    std::function<void()> look; ///< what run() does at each end, while it waits
    bool canceled = false;
    SignalWatch signalWatch;
};

} // namespace zel::cli
