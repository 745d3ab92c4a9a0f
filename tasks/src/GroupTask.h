#pragma once

#include "BaseTask.h"
#include "TaskAwaiter.h"

#include <QFlags>
#include <QList>

#include <functional>

namespace zel {

class Task;

/// A set of subtasks that ends when they all have. It starts none of them: they are enqueued or
/// run one by one, and the first start among them starts the group.
///
/// Its outcome is unifiedError(); its own progress counts the subtasks that have ended. If all of
/// them had ended before the last was appended, the end is posted to the group's thread. An empty
/// group ends only by finish() or cancel().
///
/// Ownership: the group owns what is appended, by a list of its own, and is its QObject parent
/// only where the two live on one thread; so a subtask may be unparented and moved to another
/// thread. Whatever still runs when the group is destroyed is canceled and deletes itself at its
/// end.
/// Threads: the members may be called on any thread.
class ZEL_RESOURCE_MANAGER_EXPORT GroupTask : public BaseTask
{
    Q_OBJECT

public:
    /// Nothing set: the direct subtasks, all of them, in the order of appending.
    enum GetSubtasksMode {
        Recursive = 0x1, ///< those of subtasks that are groups too, each behind its group
        UnfinishedOnly = 0x2, ///< only those that have not ended yet
    };
    /// Any of them together.
    Q_DECLARE_FLAGS(GetSubtasksModes, GetSubtasksMode)

    /// While one of these lives, the group does not end. For whoever starts subtasks before the
    /// last one is appended: they may have ended by then.
    class ZEL_RESOURCE_MANAGER_EXPORT Filling
    {
    public:
        /// Borrows the group, which may go while this lives. Null is not allowed.
        explicit Filling(GroupTask *group);
        ~Filling();
        Filling(const Filling &) = delete;
        Filling &operator=(const Filling &) = delete;

    private:
        std::shared_ptr<TaskState> state;
    };

    explicit GroupTask(QObject *parent = nullptr); ///< an empty group
    ~GroupTask() override;

    /// Takes ownership. A null pointer is ignored, as is a task that is in the group already.
    void append(BaseTask *subtask);
    /// What was appended, in the order and the choice of the mode. Still owned by the group.
    QList<BaseTask *> subtasks(QFlags<GetSubtasksMode> mode = {}) const;
    /// The leaves: all tasks in this group and the groups in it that have work to run. With
    /// `onlyIdle`, those not started yet; with false, whatever their state.
    QList<Task *> executableSubtasks(bool onlyIdle) const;

    /// Folds the results of the direct subtasks, in order, all of them. Code 1 before the end, the
    /// group's own error if it failed, code 2 if it has no subtasks, else the failure of the first
    /// subtask whose result cannot be read.
    template<typename T>
    Result<T> accumulateResults(const std::function<T(const T &, const T &)> &op,
                                const T &initial) const
    {
        if (!isFinished())
            return ZEL_ERROR(ErrorCode::OperationFailed,
                             tr("Cannot get results for unfinished group task."));
        if (ErrorCancelable::hasError())
            return ZEL_PASS(error());
        const QList<BaseTask *> parts = subtasks({});
        if (parts.isEmpty())
            return ZEL_ERROR(ErrorCode::BadArgument, tr("No subtasks in group task."));

        T accumulator = initial;
        for (const BaseTask *part : parts) {
            ZEL_TRY_LET(const T value, part->result<T>());
            accumulator = op(accumulator, value);
        }
        return accumulator;
    }

    /// Cancels every subtask; the group ends when they have. An empty group ends with code 20.
    void cancel() override;

protected:
    Error doFinish() override;

public:
    /// One error for the failures of all subtasks, if there is one. Their warnings stay with them.
    virtual Error unifiedError() const;

private:
    friend class BaseTask;
    friend class TaskState;

    void onSubtaskStarted();
    void onSubtaskEnded();
    void tellOfEnds();
    void onSubtaskDestroyed(BaseTask *subtask, const Error &unfinished);
    void beginFilling();
    void endFilling();
    void postEndIfComplete();
    void endIfComplete();

    class Private;
    std::unique_ptr<Private> d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(GroupTask::GetSubtasksModes)

} // namespace zel
