#pragma once

#include "BaseTask.h"
#include "TaskAwaiter.h"

#include <QCoroTask>

#include <functional>

namespace zel {

/// A unit of work: a function that was set, or an overridden doExec(), co_doExec() or exec().
///
/// Synchronous work runs inside exec(), or, if it is a coroutine, as far as its first suspension;
/// then it goes on where it is resumed. Asynchronous work runs on a worker thread that the task has
/// for itself, so that tasks which wait for one another never starve. An exception that leaves
/// synchronous work inside exec() passes on to the caller of exec(), and the task ends with code 1;
/// anywhere else it ends the process, as one that leaves a thread does. Where the system gives no
/// thread, asynchronous work does not run and the task ends with code 1.
///
/// The destructor asks the work to cancel and waits for the worker. By then the members of a
/// subclass are gone: one whose work uses them calls waitForWork() in its own destructor, else the
/// owner of a running task waits before destroying it. A task whose coroutine is suspended must not
/// be destroyed.
class ZEL_RESOURCE_MANAGER_EXPORT Task : public BaseTask
{
    Q_OBJECT

public:
    /// Which thread the work runs on.
    enum class ExecutionMode : int {
        Synchronous = 0, ///< in exec(), on its caller's thread; the default
        Asynchronous = 1, ///< exec() returns at once, the work runs on the task's own worker
    };
    Q_ENUM(ExecutionMode)

    /// An idle task without work: exec() then ends it with success.
    explicit Task(QObject *parent = nullptr);
    ~Task() override;

    /// What the base form of doExec() runs; its return value is the task's outcome.
    void setFunction(std::function<Error(Task *)> function);
    /// The same for work that does not need its task.
    void setFunction(std::function<Error()> function);
    /// The same together with setExecutionMode().
    void setFunction(std::function<Error()> function, ExecutionMode mode);
    void setExecutionMode(ExecutionMode mode); ///< to be called before exec()
    ExecutionMode executionMode() const; ///< as setExecutionMode() left it

protected:
    void finalize() override;

public:
    /// Starts the task; without effect unless it is idle.
    virtual void exec();

protected:
    /// The work in a plain function. The base runs the function that was set, if any.
    virtual Error doExec();
    /// The work as a coroutine. The base runs doExec() without suspending.
    virtual QCoro::Task<Error> co_doExec();
    /// For the destructors of subclasses: asks the work to cancel, and returns when the worker and
    /// all that it calls at its end have left this object.
    void waitForWork();

private:
    void run();
    void runOnWorker();

    class Private;
    std::unique_ptr<Private> d;
};

} // namespace zel
