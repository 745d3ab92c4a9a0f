#pragma once

#include "Task.h"

#include <functional>
#include <memory>

namespace zel {

/// A new, unstarted task that does the work on a thread of its own. The work sets the result.
inline std::unique_ptr<Task> makeWorkerTask(std::function<Error(Task *)> work)
{
    auto task = std::make_unique<Task>();
    task->setFunction(std::move(work));
    task->setExecutionMode(Task::ExecutionMode::Asynchronous);
    return task;
}

} // namespace zel
