#include "ListedResource.h"

#include "ResourceManager.h"
#include "errors/Propagate.h"

#include <QFileInfo>

using namespace zel;

namespace viewer {

Result<std::unique_ptr<ListedResource>> ListedResource::make(const QString &reference)
{
    // By way of the reference, so that all spellings of a resource share one handler.
    ZEL_TRY_LET(const auto parsed, ResourceReference::fromString(reference));
    ZEL_TRY_LET(const auto handler, ResourceManager::getHandler(parsed));
    return std::unique_ptr<ListedResource>(new ListedResource(handler));
}

ListedResource::ListedResource(const QSharedPointer<ResourceHandler> &handler)
    : handler(handler)
{
}

ListedResource::~ListedResource()
{
    Q_ASSERT(!isBusy()); // a coroutine would go on in an object that is gone
}

QString ListedResource::key() const
{
    return handler->reference()->referenceText(false);
}

QString ListedResource::name() const
{
    const auto path = handler->expectedPath();
    return path.hasValue() ? QFileInfo(path.value()).fileName() : source();
}

QString ListedResource::source() const
{
    return handler->reference()->referenceText(true);
}

bool ListedResource::isBusy() const
{
    return state_ == State::Looking || state_ == State::Waiting || state_ == State::Fetching;
}

QCoro::Task<> ListedResource::look()
{
    if (handler->isAvailableLocally()) {
        endFetching(Error());
        co_return;
    }
    isCanceled = false;
    setState(State::Looking, {});
    auto begun = ResourceManager::existsAsync(handler, ResourceHandler::Queued);
    if (!begun.hasValue()) {
        fail(begun.error());
        co_return;
    }
    task = std::move(begun).value();
    const Error error = co_await task;
    const Result<bool> exists = error.hasError() ? error : task->result<bool>();
    task.reset();
    endLooking(exists);
}

QCoro::Task<> ListedResource::fetch(ResourcePromptingInterface *prompting)
{
    isCanceled = false;
    setState(State::Waiting, {});
    auto begun = ResourceManager::retrieveAsync(handler, ResourceHandler::Queued, prompting);
    if (!begun.hasValue()) {
        fail(begun.error());
        co_return;
    }
    // No task: the resource is here already.
    if (begun.value()) {
        follow(std::move(begun).value());
        const Error error = co_await task;
        task.reset();
        endFetching(error);
    } else {
        endFetching(Error());
    }
}

void ListedResource::cancel()
{
    isCanceled = isBusy();
    if (task)
        task->cancel();
}

void ListedResource::follow(std::unique_ptr<Task> begun)
{
    task = std::move(begun);
    connect(task.get(), &BaseTask::progress, this, &ListedResource::showProgress);
    connect(task.get(), &BaseTask::started, this, [this] { setState(State::Fetching, {}); });
    connect(task.get(), &BaseTask::progressTextChanged, this,
            [this](const QString &text) { setState(state_, text); });
    // The queue has started it already, unless six others run.
    if (task->isRunning())
        setState(State::Fetching, task->progressText());
    // Somebody canceled while the user was asked, when there was no task yet.
    if (isCanceled)
        task->cancel();
}

void ListedResource::showProgress(int value, int maximum)
{
    percent_ = maximum > 0 ? int(qint64(value) * 100 / maximum) : 0;
    Q_EMIT changed();
}

void ListedResource::setState(State state, const QString &message)
{
    state_ = state;
    message_ = message;
    Q_EMIT changed();
}

void ListedResource::endLooking(const Result<bool> &exists)
{
    if (!exists.hasValue())
        fail(exists.error());
    else if (exists.value())
        setState(State::Absent, {});
    else
        setState(State::Failed, tr("It does not exist, or may not be read."));
}

void ListedResource::endFetching(const Error &error)
{
    if (error.hasError()) {
        fail(error);
        return;
    }
    const auto path = handler->expectedPath();
    if (!path.hasValue()) {
        fail(path.error());
        return;
    }
    percent_ = 100;
    setState(State::Here, path.value());
}

void ListedResource::fail(const Error &error)
{
    // Who says no has not met a failure.
    const bool isWanted = error.errorCode() == ErrorCode::Canceled;
    setState(isWanted ? State::Canceled : State::Failed, error.errorMessage());
}

} // namespace viewer
