#pragma once

#include "Task.h"

#include <memory>

namespace zel {

class SemaphoreLocker;

/// A task that carries a semaphore, taken on one thread, through to the end of its work on another.
///
/// The semaphore is free as soon as the work has ended, before anybody hears of the end, and also
/// if the task ends or is destroyed without having run.
class TaskWithSemaphore : public Task
{
    Q_OBJECT

public:
    /// Null: somebody else holds the semaphore for as long as the work takes.
    explicit TaskWithSemaphore(std::unique_ptr<SemaphoreLocker> locker);
    ~TaskWithSemaphore() override;

    void exec() override;

protected:
    Error doExec() override;
    void finalize() override;

private:
    std::unique_ptr<SemaphoreLocker> locker;
};

} // namespace zel
