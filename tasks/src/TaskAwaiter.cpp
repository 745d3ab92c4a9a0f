#include "TaskAwaiter.h"

#include "BlockingWait.h"
#include "TaskExecution_p.h"
#include "TaskState_p.h"

#include <QCoreApplication>

namespace QCoro::detail {

/// Carries the end of the task, from whatever thread, to the event loop of the thread that awaits.
class ZelTaskWaitForFinishedOperation::Waiter
{
public:
    Waiter(const std::shared_ptr<zel::TaskState> &awaitedTask, std::coroutine_handle<> coroutine)
        : awaited(awaitedTask)
        , execution(zel::TaskExecution::current())
        , awaitingCoroutine(coroutine)
        , receiver(std::make_unique<QObject>())
    {
        if (execution)
            execution->beginAwait();
    }
    ~Waiter()
    {
        awaited->removeWaiter(id);
        endAwait();
    }
    Waiter(const Waiter &) = delete;
    Waiter &operator=(const Waiter &) = delete;

    /// False if the task has ended meanwhile: then nobody would wake us.
    bool arm()
    {
        id = awaited->addWaiter([this] {
            QMetaObject::invokeMethod(
                receiver.get(), [this] { resume(); }, Qt::QueuedConnection);
        });
        return id != 0;
    }

private:
    void endAwait()
    {
        if (const auto waiting = std::exchange(execution, nullptr))
            waiting->endAwait();
    }

    void resume()
    {
        const auto coroutine = awaitingCoroutine;
        const zel::TaskExecution resumed(execution);
        endAwait();
        // Its event is being delivered, and the coroutine destroys this object.
        receiver.release()->deleteLater();
        coroutine.resume();
    }

    std::shared_ptr<zel::TaskState> awaited;
    std::shared_ptr<zel::TaskState> execution;
    std::coroutine_handle<> awaitingCoroutine;
    std::unique_ptr<QObject> receiver;
    quint64 id = 0;
};

ZelTaskWaitForFinishedOperation::ZelTaskWaitForFinishedOperation(const zel::BaseTask *task)
    : state(task ? task->taskState() : nullptr)
{
}

ZelTaskWaitForFinishedOperation::~ZelTaskWaitForFinishedOperation() = default;

bool ZelTaskWaitForFinishedOperation::await_ready() const
{
    return !state || state->isDone() || zel::BlockingWait::obstacle().hasError();
}

bool ZelTaskWaitForFinishedOperation::await_suspend(std::coroutine_handle<> awaitingCoroutine)
{
    state->reviveQueue();
    waiter = std::make_unique<Waiter>(state, awaitingCoroutine);
    return waiter->arm();
}

zel::Error ZelTaskWaitForFinishedOperation::await_resume()
{
    if (!state)
        return ZEL_ERROR(zel::ErrorCode::BadArgument,
                         zel::BaseTask::tr("There is no task to wait for."));
    if (!state->isDone())
        return ZEL_PASS(zel::BlockingWait::obstacle());
    return state->outcome();
}

} // namespace QCoro::detail
