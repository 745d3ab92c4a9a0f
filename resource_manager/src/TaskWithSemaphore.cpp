#include "TaskWithSemaphore.h"

#include "SemaphoreLocker.h"
#include "errors/Propagate.h"

namespace zel {

TaskWithSemaphore::TaskWithSemaphore(std::unique_ptr<SemaphoreLocker> locker)
    : Task(nullptr)
    , locker(std::move(locker))
{
}

TaskWithSemaphore::~TaskWithSemaphore()
{
    waitForWork();
}

void TaskWithSemaphore::exec()
{
    if (locker && isIdle() && executionMode() == ExecutionMode::Asynchronous)
        locker->leaveThisThread();
    Task::exec();
}

Error TaskWithSemaphore::doExec()
{
    if (locker)
        locker->adoptByThisThread();
    Error error = ZEL_PASS(Task::doExec());
    // Here, on the thread of the work, and before anything is told to another thread.
    locker.reset();
    return error;
}

void TaskWithSemaphore::finalize()
{
    Task::finalize();
    locker.reset();
}

} // namespace zel
