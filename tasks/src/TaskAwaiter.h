#pragma once

#include "BaseTask.h"

#include <QCoroTask>

#include <concepts>
#include <coroutine>
#include <memory>

namespace QCoro::detail {

/// `co_await task`: suspends the coroutine until the task has ended and gives its Error.
///
/// The coroutine is resumed through the event loop of the thread that awaited, never inside
/// finish(). Code 20 if the task is destroyed unfinished meanwhile, code 1 if there is no
/// QCoreApplication, code 2 for a null pointer. The coroutine keeps the task alive or sees to it
/// that it need not be; nobody starts the task here.
class ZEL_RESOURCE_MANAGER_EXPORT ZelTaskWaitForFinishedOperation
{
public:
    /// Borrows the task, which may be destroyed before the await ends.
    explicit ZelTaskWaitForFinishedOperation(const zel::BaseTask *task);
    /// The same; the pointer stays its owner.
    template<std::derived_from<zel::BaseTask> T>
    explicit ZelTaskWaitForFinishedOperation(const std::unique_ptr<T> &task)
        : ZelTaskWaitForFinishedOperation(task.get())
    {
    }
    ~ZelTaskWaitForFinishedOperation();
    ZelTaskWaitForFinishedOperation(const ZelTaskWaitForFinishedOperation &) = delete;
    ZelTaskWaitForFinishedOperation &operator=(const ZelTaskWaitForFinishedOperation &) = delete;

    /// True if there is nothing to wait for: the task has ended, or waiting is not possible.
    bool await_ready() const;
    /// False if the task has ended just now: the coroutine then goes on at once.
    bool await_suspend(std::coroutine_handle<> awaitingCoroutine);
    zel::Error await_resume(); ///< the task's error, or why it could not be waited for

private:
    class Waiter;

    std::shared_ptr<zel::TaskState> state;
    std::unique_ptr<Waiter> waiter;
};

/// Pointers to all tasks can be awaited, those to classes of the loading program too.
template<std::derived_from<zel::BaseTask> T>
struct awaiter_type<T *>
{
    using type = ZelTaskWaitForFinishedOperation; ///< what waits for it
};

/// The same for the owner of a task.
template<std::derived_from<zel::BaseTask> T>
struct awaiter_type<std::unique_ptr<T>>
{
    using type = ZelTaskWaitForFinishedOperation; ///< what waits for it
};

} // namespace QCoro::detail
