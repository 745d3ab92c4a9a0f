#pragma once

#include "Export.h"

#include <QObject>

#include <memory>

namespace zel {

class Task;
class TasksQueueState;

/// Runs tasks in the order in which they were appended, never more at once than its limit.
///
/// Tasks are started on the queue's thread, through its event loop or within the call as the
/// connection type says. A task that waits for another task lends its place meanwhile. One that is
/// destroyed leaves the queue; one that is no longer idle when its turn comes is skipped. When the
/// queue's thread has ended, the queue goes on on the thread that calls it next.
///
/// Ownership: the queue owns no task. Those that still wait for their turn when the queue is
/// destroyed are canceled; running ones are left alone.
/// Threads: append() and the setters may be called on any thread. The destructor runs on the
/// queue's thread, or after that has ended.
class ZEL_RESOURCE_MANAGER_EXPORT TasksQueue : public QObject
{
    Q_OBJECT

public:
    /// Lives on the thread that makes it, and starts its tasks there.
    explicit TasksQueue(QObject *parent = nullptr);
    ~TasksQueue() override;

    /// Qt::QueuedConnection: tasks start from the event loop only. Any other type: on the queue's
    /// own thread a task starts within append(), or within the end of the one before it. The
    /// default is Qt::AutoConnection.
    void setConnectionType(Qt::ConnectionType type);
    /// How many tasks may run at once, at least 1; as many as the machine has cores until it is
    /// set.
    void setMaxRunningTasksCount(int count);

    /// Adds an idle task, which should live on executionThread(). A null pointer is ignored, as is
    /// a task that is in a queue already.
    void append(Task *task);
    /// Where appended tasks will run: the queue's thread, or the current one if that has ended.
    QThread *executionThread() const;

private:
    std::shared_ptr<TasksQueueState> state;
};

} // namespace zel
