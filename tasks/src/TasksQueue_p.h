#pragma once

#include "threads/Mutex.h"

#include <QHash>
#include <QThread>

#include <map>
#include <memory>

namespace zel {

class TaskState;
class TasksQueue;

/// What the queue and its tasks share. It knows tasks by their states only, so that a destroyed one
/// is nothing but a number that has left.
///
/// Every member may be called on any thread. No task is run, and none is told anything, under the
/// mutex.
class TasksQueueState : public std::enable_shared_from_this<TasksQueueState>
{
public:
    explicit TasksQueueState(TasksQueue *owner);

    void setConnectionType(Qt::ConnectionType type);
    void setMaxRunningTasksCount(int count);
    void append(const std::shared_ptr<TaskState> &task);
    /// The queue is destroyed: what has not started will not.
    void close();
    QThread *executionThread() const;

    /// The task has ended or is being destroyed; others may have its place.
    void leave(quint64 ticket);
    /// The task waits for something; others may have its place until it takes it back, which it
    /// does at once, though then one more may run than the limit says.
    void lend(quint64 ticket);
    void takeBack(quint64 ticket);
    /// Starts what may start, if this is the time and the thread for it.
    void proceed();
    /// The same if the queue's thread has ended, so that no event will do it.
    void revive();

private:
    class Pumping;

    void pump();
    std::shared_ptr<TaskState> takeNext();
    bool hasThread() const;
    bool mayStartHere();
    QObject *target();
    void schedule();
    void onScheduled();

    mutable Mutex mutex { "a queue of tasks" };
    TasksQueue *queue;
    /// Stands in for the queue, as a receiver of events, once the queue's thread has ended.
    std::unique_ptr<QObject> substitute;
    Qt::ConnectionType connectionType = Qt::AutoConnection;
    int limit = QThread::idealThreadCount();
    bool scheduled = false;
    int pumping = 0;

    quint64 lastTicket = 0;
    std::map<quint64, std::shared_ptr<TaskState>> waiting; ///< in the order of appending
    QHash<quint64, int> running; ///< how often each has lent its place
    int occupied = 0; ///< places not lent
};

} // namespace zel
