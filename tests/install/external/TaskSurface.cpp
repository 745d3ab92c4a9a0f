#include "CoroutineWait.h"
#include "GroupTask.h"
#include "ResourceMetadata.h"
#include "Surface.h"
#include "Task.h"
#include "TasksQueue.h"
#include "tasks/GetSiblingsTask.h"
#include "tasks/RemoteResourceRetrievingTask.h"

using namespace zel;

namespace notes {

namespace {

using Metadata = QSharedPointer<ResourceMetadata>;
using References = QList<QSharedPointer<ResourceReference>>;

/// What subclasses may use.
class OpenTask : public Task
{
public:
    using Task::co_doExec;
    using Task::doExec;
    using Task::doFinish;
    using Task::finalize;
    using Task::Task;
};

class OpenGroup : public GroupTask
{
public:
    using GroupTask::doFinish;
    using GroupTask::finalize;
    using GroupTask::GroupTask;
};

class OpenSiblings : public GetSiblingsTask
{
public:
    explicit OpenSiblings(QObject *parent)
        : GetSiblingsTask(parent)
    {
    }
    using GetSiblingsTask::readSiblings;
};

class NoSiblings : public OpenSiblings
{
public:
    using OpenSiblings::OpenSiblings;

    Result<References> readSiblings() override { return References(); }
};

void nameCancelables(Surface &surface)
{
    static_assert(std::is_base_of_v<Cancelable, ErrorCancelable>);
    surface.member<bool() const>(&ErrorCancelable::isCanceled);
    surface.member<void(bool)>(&ErrorCancelable::setCanceled);
    surface.member<void()>(&ErrorCancelable::cancel);
    surface.inSlots(0, &ErrorCancelable::isCanceled, &ErrorCancelable::setCanceled,
                    &ErrorCancelable::cancel);
    surface.member<Error() const>(&ErrorCancelable::error);
    surface.member<bool() const>(&ErrorCancelable::hasError);
}

void nameBaseTask(Surface &surface)
{
    static_assert(std::is_base_of_v<QObject, BaseTask>);
    static_assert(std::is_base_of_v<ErrorCancelable, BaseTask>);
    surface.member<void(const QString &)>(&BaseTask::setName);
    surface.member<void()>(&BaseTask::pause);
    surface.member<void()>(&BaseTask::resume);
    surface.member<bool() const>(&BaseTask::isFinished);
    surface.member<bool() const>(&BaseTask::isSuccessful);
    surface.member<bool() const>(&BaseTask::isIdle);
    surface.member<void()>(&BaseTask::setRunning);
    surface.member<void(Error)>(&BaseTask::finish);
    surface.member<void(bool)>(&BaseTask::setDeleteOnFinished);
    surface.member<void(int, int)>(&BaseTask::setProgress);
    surface.member<void(const QString &)>(&BaseTask::setProgressText);
    surface.member<void(const QVariant &)>(&BaseTask::setVariantResult);
    surface.member<const QVariant &() const>(&BaseTask::variantResult);
    surface.member<Error(int)>(&BaseTask::waitForAllFinished);
    surface.member<void()>(&BaseTask::cancel);

    surface.member<void()>(&BaseTask::started);
    surface.member<void()>(&BaseTask::finished);
    surface.member<void(int)>(&BaseTask::progressInitiated);
    surface.member<void(int, int)>(&BaseTask::progress);
    surface.member<void(const QString &)>(&BaseTask::progressTextChanged);

    surface.member<Result<bool>() const>(&BaseTask::result<bool>);
    surface.member<Result<Metadata>() const>(&BaseTask::result<Metadata>);
    surface.member<Result<References>() const>(&BaseTask::result<References>);
    surface.member<void(const bool &)>(&BaseTask::setResult<bool>);
    surface.member<void(const Metadata &)>(&BaseTask::setResult<Metadata>);
    surface.member<void(const References &)>(&BaseTask::setResult<References>);
}

void nameTask(Surface &surface)
{
    static_assert(std::is_base_of_v<BaseTask, Task>);
    static_assert(int(Task::ExecutionMode::Asynchronous) == 1);
    surface.constructor<Task, QObject *>();
    surface.member<void(std::function<Error(Task *)>)>(&Task::setFunction);
    surface.member<void(std::function<Error()>)>(&Task::setFunction);
    surface.member<void(std::function<Error()>, Task::ExecutionMode)>(&Task::setFunction);
    surface.member<void(Task::ExecutionMode)>(&Task::setExecutionMode);
    surface.member<void()>(&Task::exec);
    surface.member<Error()>(&OpenTask::doFinish);
    surface.member<void()>(&OpenTask::finalize);
    surface.member<Error()>(&OpenTask::doExec);
    surface.member<QCoro::Task<Error>()>(&OpenTask::co_doExec);
    surface.ascending(&BaseTask::setName, &BaseTask::pause, &BaseTask::resume, &OpenTask::finalize,
                      &OpenTask::doFinish, &Task::exec, &OpenTask::doExec, &OpenTask::co_doExec);
}

void nameGroupTask(Surface &surface)
{
    static_assert(std::is_base_of_v<BaseTask, GroupTask>);
    using Mode = QFlags<GroupTask::GetSubtasksMode>;
    surface.constructor<GroupTask, QObject *>();
    surface.member<void(BaseTask *)>(&GroupTask::append);
    surface.member<QList<BaseTask *>(Mode) const>(&GroupTask::subtasks);
    surface.member<QList<Task *>(bool) const>(&GroupTask::executableSubtasks);
    surface.member<void()>(&GroupTask::cancel);
    surface.member<Error() const>(&GroupTask::unifiedError);
    surface.member<Error()>(&OpenGroup::doFinish);
    surface.member<Result<bool>(const std::function<bool(const bool &, const bool &)> &,
                                const bool &) const>(&GroupTask::accumulateResults<bool>);
    surface.ascending(&BaseTask::setName, &BaseTask::pause, &BaseTask::resume, &OpenGroup::finalize,
                      &OpenGroup::doFinish, &GroupTask::unifiedError);
}

void nameQueue(Surface &surface)
{
    static_assert(std::is_base_of_v<QObject, TasksQueue>);
    surface.constructor<TasksQueue, QObject *>();
    surface.member<void(Qt::ConnectionType)>(&TasksQueue::setConnectionType);
    surface.member<void(int)>(&TasksQueue::setMaxRunningTasksCount);
    surface.member<void(Task *)>(&TasksQueue::append);
}

void nameAwaiter(Surface &surface)
{
    using Awaiter = QCoro::detail::ZelTaskWaitForFinishedOperation;
    surface.constructor<Awaiter, const BaseTask *>();
    surface.member<bool() const>(&Awaiter::await_ready);
    surface.member<bool(std::coroutine_handle<>)>(&Awaiter::await_suspend);
    surface.member<Error()>(&Awaiter::await_resume);
    surface.function<Error(QCoro::Task<Error>)>(&waitForCoroutine<Error>);
}

void nameTasksOfResources(Surface &surface)
{
    using Retrieving = RemoteResourceRetrievingTask;
    static_assert(std::is_base_of_v<Task, Retrieving>);
    surface.constructor<Retrieving, std::unique_ptr<ResourceRetrieveHandle>, std::unique_ptr<Task>,
                        const QString &, QObject *>();
    surface.member<void()>(&Retrieving::exec);
    surface.member<void()>(&Retrieving::cancel);
    surface.member<Error()>(&Retrieving::doFinish);
    surface.member<void()>(&Retrieving::onProgressUpdateTimeout);
    surface.holds(
        qstrcmp(Retrieving::staticMetaObject.className(), "zel::RemoteResourceRetrievingTask")
        == 0);
    surface.holds(Retrieving::staticMetaObject.methodCount()
                  == Task::staticMetaObject.methodCount());
    surface.holds(qstrcmp(GetSiblingsTask::staticMetaObject.className(), "zel::Task") == 0);

    static_assert(std::is_base_of_v<Task, GetSiblingsTask>);
    surface.constructor<NoSiblings, QObject *>();
    surface.member<References() const>(&GetSiblingsTask::siblings);
    surface.member<Result<References>()>(&OpenSiblings::readSiblings);
    surface.ascending(&OpenTask::co_doExec, &OpenSiblings::readSiblings);
}

} // namespace

void nameTasks(Surface &surface)
{
    nameCancelables(surface);
    nameBaseTask(surface);
    nameTask(surface);
    nameGroupTask(surface);
    nameQueue(surface);
    nameAwaiter(surface);
    nameTasksOfResources(surface);
}

} // namespace notes
