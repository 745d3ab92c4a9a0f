#pragma once

#include "errors/Cancelable.h"
#include "errors/Propagate.h"

#include <QObject>
#include <QVariant>

#include <memory>

namespace QCoro::detail {
class ZelTaskWaitForFinishedOperation;
}

namespace zel {

class TaskPresence;
class TaskState;

/// Anything that takes time: it is started once, reports progress, ends once with an Error and
/// keeps a result.
///
/// From idle through running to finished; a task may also end without having run. What happens at
/// the end, in this order: the outcome is stored, doFinish(), finalize(), isFinished() turns true,
/// finished() is emitted, then those who wait are woken. All but the last happens on the thread
/// that calls finish(): for asynchronous work that is its worker, so a slot that touches data of
/// another thread is connected with Qt::AutoConnection.
///
/// Threads: a QObject that lives on the thread that made it, or to which it was moved. The members
/// of this class may be called on any thread, but for variantResult(), setVariantResult() and the
/// templates on top of them: write the result before the end and read it after.
/// Ownership: the maker owns the task and keeps it until it has finished. An idle task may be
/// destroyed, as may a finished one as soon as a wait for it returns or in a slot of finished().
class ZEL_RESOURCE_MANAGER_EXPORT BaseTask : public QObject, public ErrorCancelable
{
    Q_OBJECT

public:
    /// An idle task. A parent lives on the thread that makes the task.
    explicit BaseTask(QObject *parent = nullptr);
    /// Whoever still waits for an unfinished task gets code 20.
    ~BaseTask() override;

    virtual void setName(const QString &name); ///< for logs and for people; empty at first
    /// Asks the work to hold on; work that can do so asks isPaused() now and then.
    virtual void pause();
    virtual void resume(); ///< takes pause() back
    QString name() const; ///< as setName() left it
    bool isPaused() const; ///< whether the work is asked to hold on

    bool isIdle() const; ///< not started, and not ended without a start
    bool isRunning() const; ///< started and not ended; still true in doFinish() and finalize()
    bool isFinished() const; ///< ended, well or not
    bool isSuccessful() const; ///< ended without an error

    /// Sets the flag of isCanceled(). An idle task ends with code 20, a running one decides itself.
    void cancel() override;
    /// Marks an idle task as running and emits started(); without effect on any other.
    void setRunning();
    /// Ends the task. A failure of doFinish() counts if the outcome is a success. Only the first
    /// call counts; a task that was never started may be ended too.
    void finish(Error outcome);
    /// With true, the task deletes itself after its end, by way of its thread's event loop.
    void setDeleteOnFinished(bool deleteOnFinished);

    /// Stores and signals progress: `value` out of `maximum`, in a unit of the task's choice.
    void setProgress(int value, int maximum);
    /// Stores and signals what is being done, in words for people.
    void setProgressText(const QString &text);
    int progressValue() const; ///< the last value of setProgress(); 0 before the first
    int progressMaximum() const; ///< the last maximum of setProgress(); 0 before the first
    QString progressText() const; ///< as setProgressText() left it; empty at first

    /// Stores the result. The work calls it, before its end.
    void setVariantResult(const QVariant &result);
    const QVariant &variantResult() const; ///< what was stored; invalid if nothing was

    /// Stores a result that result<T>() of the same type reads.
    template<typename T>
    void setResult(const T &value)
    {
        setVariantResult(QVariant::fromValue(value));
    }

    /// The value that setResult<T>() stored. Code 1 before the end and without a value, code 2 for
    /// a value of another type; a failed task gives its own error.
    template<typename T>
    Result<T> result() const
    {
        // In this order: the task may end on its worker between two questions.
        if (!isFinished())
            return ZEL_ERROR(ErrorCode::OperationFailed,
                             tr("Unable to get data before task is finished."));
        if (hasError())
            return error();
        const QVariant &stored = variantResult();
        if (!stored.isValid())
            return ZEL_ERROR(ErrorCode::OperationFailed, tr("Return value is not set."));
        if (stored.userType() != qMetaTypeId<T>())
            return ZEL_ERROR(ErrorCode::BadArgument, tr("Return type does not match."));
        return stored.value<T>();
    }

    /// Blocks the caller until the task has ended, and all subtasks of a group with it; the events
    /// of the calling thread are delivered meanwhile. `msecs` limits the time, -1 does not. The
    /// task may be destroyed during the wait.
    ///
    /// Returns the task's error; code 20 if it was destroyed unfinished, code 1 if the time ran out
    /// or if there is no QCoreApplication, without which no event loop runs. Nobody starts the task
    /// here. Called by the work of a task in a queue, it lends that task's place to the others.
    Error waitForAllFinished(int msecs);

Q_SIGNALS:
    void started(); ///< the task runs; emitted on the thread that starts it
    void finished(); ///< the task has ended, well or not; at most once
    void progressInitiated(int maximum); ///< the maximum is known, or another one than before
    void progress(int value, int maximum); ///< as setProgress() was given them
    void progressTextChanged(const QString &text); ///< as setProgressText() was given it

protected:
    /// Last step after the work, on success and on failure, before finished(). A subclass releases
    /// here what it held, and calls the base.
    virtual void finalize();
    /// Work done at the time of finishing. A subclass calls the base first; its failure becomes the
    /// task's unless that has failed already.
    virtual Error doFinish();
    /// setRunning() for a subclass's exec(). False if there is nothing left to run: the task was
    /// not idle, or a slot of started() ended or destroyed it.
    bool start();
    /// Says that `worker`, a task that is in no queue, does this task's work: where it waits for
    /// another task, it lends this one's place. To be called before either of them starts.
    void setWorkDoneBy(BaseTask *worker);

private:
    friend class GroupTask;
    friend class Task;
    friend class TasksQueue;
    friend class QCoro::detail::ZelTaskWaitForFinishedOperation;

    const std::shared_ptr<TaskState> &taskState() const;
    /// The end itself, once its right to happen has been claimed.
    void complete(const Error &outcome, TaskPresence *presence);

    class Private;
    std::unique_ptr<Private> d;
};

} // namespace zel
