#pragma once

#include <memory>

namespace zel {

class TaskState;

/// Lets timers of tasks start on this thread: one that Qt has not started has no event dispatcher
/// before its first event loop. Without effect if there is no QCoreApplication.
void makeEventDispatcher();

/// Says, while it lives, whose work runs on this thread. They nest: the event loop of a wait inside
/// one task may run another.
class TaskExecution
{
public:
    /// A null state stands for work that belongs to no task.
    explicit TaskExecution(std::shared_ptr<TaskState> taskState);
    ~TaskExecution();
    TaskExecution(const TaskExecution &) = delete;
    TaskExecution &operator=(const TaskExecution &) = delete;

    /// The task whose work runs on this thread; null if there is none.
    static std::shared_ptr<TaskState> current();

private:
    std::shared_ptr<TaskState> state;
    TaskExecution *outer;
};

/// While it lives, the task whose work runs on this thread holds no place in its queue: it waits,
/// and what it waits for may need that place.
class PlaceLoan
{
public:
    PlaceLoan();
    ~PlaceLoan();
    PlaceLoan(const PlaceLoan &) = delete;
    PlaceLoan &operator=(const PlaceLoan &) = delete;

private:
    std::shared_ptr<TaskState> state;
};

} // namespace zel
