#include "Task.h"

#include "CoroutineWait.h"
#include "Hidden.h"
#include "TaskExecution_p.h"
#include "TaskState_p.h"
#include "threads/ThreadStart.h"

namespace zel {

class ZEL_RESOURCE_MANAGER_HIDDEN Task::Private
{
public:
    std::function<Error(Task *)> function;
    ExecutionMode mode = ExecutionMode::Synchronous;
    std::thread worker;
};

namespace {

/// Carries what left the work back to exec() as long as that has not returned.
struct RunTicket
{
    std::shared_ptr<TaskState> state;
    const std::thread::id thread = std::this_thread::get_id();
    bool execReturned = false;
    std::exception_ptr exception;
};

/// Return type of a coroutine that nobody awaits: it frees its own frame.
struct Run
{
    struct promise_type
    {
        std::shared_ptr<RunTicket> ticket;

        promise_type(QCoro::Task<Error> &, std::shared_ptr<RunTicket> &runTicket)
            : ticket(runTicket)
        {
        }
        Run get_return_object() noexcept { return {}; }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() noexcept { }
        void unhandled_exception() noexcept
        {
            // Nobody is left who could catch it.
            if (ticket->thread != std::this_thread::get_id() || ticket->execReturned)
                std::terminate();
            ticket->exception = std::current_exception();
        }
    };
};

void finishTask(const std::shared_ptr<TaskState> &state, const Error &outcome)
{
    const TaskPresence presence(state);
    if (presence.task())
        presence.task()->finish(outcome);
}

Run finishWithOutcome(QCoro::Task<Error> work, std::shared_ptr<RunTicket> ticket)
{
    const auto outcome = co_await work;
    finishTask(ticket->state, outcome);
}

} // namespace

Task::Task(QObject *parent)
    : BaseTask(parent)
    , d(std::make_unique<Private>())
{
}

Task::~Task()
{
    waitForWork();
    taskState()->retire();
}

void Task::waitForWork()
{
    setCanceled(true);
    // A queue on another thread shall not start it any more.
    static_cast<void>(taskState()->tryBeginFinishIfIdle());
    // First those in exec() and finish(): one of them may be just about to note its worker down.
    taskState()->waitForOtherThreads();
    if (!d->worker.joinable())
        return;
    if (d->worker.get_id() == std::this_thread::get_id())
        d->worker.detach();
    else
        d->worker.join();
}

void Task::setFunction(std::function<Error(Task *)> function)
{
    d->function = std::move(function);
}

void Task::setFunction(std::function<Error()> function)
{
    setFunction([work = std::move(function)](Task *) { return work(); });
}

void Task::setFunction(std::function<Error()> function, ExecutionMode mode)
{
    setFunction(std::move(function));
    setExecutionMode(mode);
}

void Task::setExecutionMode(ExecutionMode mode)
{
    d->mode = mode;
}

Task::ExecutionMode Task::executionMode() const
{
    return d->mode;
}

void Task::finalize()
{
    BaseTask::finalize();
}

void Task::exec()
{
    const TaskPresence presence(taskState());
    if (!presence.task() || !start())
        return;
    if (d->mode == ExecutionMode::Asynchronous)
        runOnWorker();
    else
        run();
}

void Task::run()
{
    // The task may be gone when its work has ended.
    const auto ticket = std::make_shared<RunTicket>();
    ticket->state = taskState();
    const TaskExecution execution(ticket->state);
    finishWithOutcome(co_doExec(), ticket);
    ticket->execReturned = true;
    if (!ticket->exception)
        return;
    finishTask(ticket->state,
               ZEL_ERROR(ErrorCode::OperationFailed, tr("Task has been ended by an exception.")));
    std::rethrow_exception(ticket->exception);
}

void Task::runOnWorker()
{
    auto worker = ZEL_PASS(Threads::start([this] {
        makeEventDispatcher();
        const TaskExecution execution(taskState());
        finish(waitForCoroutine(co_doExec()));
    }));
    if (worker.hasValue())
        d->worker = std::move(worker).value();
    else
        finish(worker.error());
}

Error Task::doExec()
{
    return d->function ? ZEL_PASS(d->function(this)) : Error();
}

QCoro::Task<Error> Task::co_doExec()
{
    const Error outcome = doExec();
    co_return outcome;
}

} // namespace zel
