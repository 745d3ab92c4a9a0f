#include "tasks/RemoteResourceRetrievingTask.h"

#include "errors/Propagate.h"
#include "errors/RetrievalTracing.h"
#include "errors/Tracer.h"

#include <QPointer>
#include <QThread>

#include <chrono>
#include <cmath>

namespace zel {

using namespace std::chrono_literals;

namespace {

// What watching costs: one hold of the cache and one or two queries each time.
constexpr auto monitoringPeriod = 100ms;

int percentOf(int value, int maximum)
{
    return maximum == 0 ? 0 : static_cast<int>(std::floor(double(value) / maximum * 100.0));
}

} // namespace

RemoteResourceRetrievingTask::RemoteResourceRetrievingTask(
    std::unique_ptr<ResourceRetrieveHandle> handle, std::unique_ptr<Task> retrieveTask,
    const QString &resourceReference, QObject *parent)
    : Task(parent)
    , retrieveHandle(std::move(handle))
    , retrieveTaskInner(std::move(retrieveTask))
    , resourceReferenceText(resourceReference)
{
    retrieveTaskInner->setParent(this);
    setWorkDoneBy(retrieveTaskInner.get());
    if (isRetrievalTracingActive())
        traceRetrieval();
}

RemoteResourceRetrievingTask::~RemoteResourceRetrievingTask()
{
    waitForWork();
}

void RemoteResourceRetrievingTask::traceRetrieval()
{
    const auto traceStarted = std::make_shared<bool>(false);
    connect(this, &BaseTask::started, this, [this, traceStarted] {
        if (*traceStarted || !isRetrievalTracingActive())
            return;
        *traceStarted = true;
        Tracer::beginTraceC("resource_retrieval", metaObject()->className(), "resourceReference",
                            Tracer::rawData(resourceReferenceText));
    });
    connect(this, &BaseTask::finished, this, [this, traceStarted] {
        if (!*traceStarted || !isRetrievalTracingActive())
            return;
        Tracer::endTraceC("resource_retrieval", metaObject()->className(), "resourceReference",
                          Tracer::rawData(resourceReferenceText));
        *traceStarted = false;
    });
}

void RemoteResourceRetrievingTask::exec()
{
    if (start())
        takeOver();
}

void RemoteResourceRetrievingTask::takeOver()
{
    // Who has given up does not start to fetch.
    const Error error = isCanceled() ? Error(ErrorCode::Canceled) : startRetrieveOrMonitoring();
    if (error.hasError())
        finish(error);
}

Error RemoteResourceRetrievingTask::startRetrieveOrMonitoring()
{
    ZEL_TRY_LET(const bool isFetcher, retrieveHandle->tryStartRetrieve());
    if (isFetcher) {
        startRetrieveTask();
        return Error();
    }

    ZEL_TRY_LET(const auto seen, retrieveHandle->readProgress());
    if (seen.status == ResourceStatus::Ready)
        finish(Error(0));
    else
        startProgressMonitoring();
    return Error();
}

void RemoteResourceRetrievingTask::startRetrieveTask()
{
    Task *inner = retrieveTaskInner.get();
    savedPercent = 0; // as tryStartRetrieve() wrote it
    connect(inner, &BaseTask::progressInitiated, this, &BaseTask::progressInitiated);
    connect(inner, &BaseTask::progress, this,
            &RemoteResourceRetrievingTask::onRetrieveTaskProgress);
    connect(inner, &BaseTask::progressTextChanged, this, &BaseTask::setProgressText);
    connect(inner, &BaseTask::finished, this,
            &RemoteResourceRetrievingTask::onRetrieveTaskFinished);

    // A slot of what is signaled may end this task, and whoever waits for that destroy it.
    const QPointer self(this);
    execRetrieveTask();
    if (!self)
        return;
    setProgressText(tr("Retrieving %1").arg(resourceReferenceText));
    if (self && inner->isFinished())
        onRetrieveTaskFinished();
}

void RemoteResourceRetrievingTask::execRetrieveTask()
{
    Task *inner = retrieveTaskInner.get();
    const QPointer self(this);
    isStartingInner = true;
    // A cancel that came while this process was still deciding has met an idle task.
    if (isCanceled())
        inner->cancel();
    try {
        inner->exec();
    } catch (...) {
        if (self)
            endAfterException();
        throw;
    }
    if (!self)
        return;
    isStartingInner = false;
    // So has one that came since.
    if (isCanceled())
        inner->cancel();
}

void RemoteResourceRetrievingTask::endAfterException()
{
    // Unless it has ended itself: data of which only a part may be there is not to be published.
    retrieveTaskInner->finish(
        ZEL_ERROR(ErrorCode::OperationFailed, Task::tr("Task has been ended by an exception.")));
    isStartingInner = false;
    onRetrieveTaskFinished();
}

void RemoteResourceRetrievingTask::onRetrieveTaskProgress(int value, int maximum)
{
    // What the worker has told may come behind the end of a fetch that took no time. Written then,
    // it would make a fetcher of a handle that watches, and all would wait for it.
    if (isFinished())
        return;
    const QPointer self(this);
    setProgress(value, maximum);
    // The end may have come within a slot, too.
    if (!self || isFinished())
        return;
    const int percent = percentOf(value, maximum);
    if (percent == savedPercent)
        return; // each writing is a hold of the cache and a commit
    savedPercent = percent;
    // A progress that the others do not see does not disturb the retrieval.
    ZEL_DROP(retrieveHandle->saveProgress(percent));
}

void RemoteResourceRetrievingTask::onRetrieveTaskFinished()
{
    // Nothing may touch this task behind its end, for whoever waits may destroy it. So a fetch that
    // ends within exec() is recorded when its start is through; its signal may come once more.
    if (isStartingInner || isFinished())
        return;
    const Error fetchError = retrieveTaskInner->error();
    const Error recordError = ZEL_PASS(retrieveHandle->finalizeRetrieve(fetchError));
    if (fetchError.hasError()) {
        ZEL_DROP(recordError); // a task has one outcome, and why nothing came is the better one
        finish(fetchError);
        return;
    }
    Error outcome = recordError;
    outcome.addWarnings(fetchError.warnings()); // such as what was left out
    finish(outcome);
}

void RemoteResourceRetrievingTask::startProgressMonitoring()
{
    // Made where it runs: a timer fires on its own thread only, and the task may have been made on
    // another one.
    progressTimer = std::make_unique<QTimer>();
    progressTimer->setInterval(monitoringPeriod);
    connect(progressTimer.get(), &QTimer::timeout, this,
            &RemoteResourceRetrievingTask::onProgressUpdateTimeout);
    progressTimer->start();
    setProgressText(tr("Waiting for retrieve of %1").arg(resourceReferenceText));
}

void RemoteResourceRetrievingTask::stopProgressMonitoring()
{
    if (!progressTimer)
        return;
    progressTimer->stop();
    // Later, since it may be its own signal that is being handled.
    progressTimer.release()->deleteLater();
}

void RemoteResourceRetrievingTask::onProgressUpdateTimeout()
{
    if (isFinished()) {
        stopProgressMonitoring();
        return;
    }
    // Who has given up does not start to fetch when the other one fails.
    if (isCanceled()) {
        stopProgressMonitoring();
        finish(ErrorCode::Canceled);
        return;
    }
    // This very thread keeps the cache; the next look may find it free.
    if (retrieveHandle->isCacheHeldByThisThread())
        return;

    const auto seen = ZEL_PASS(retrieveHandle->readProgress());
    if (seen.hasValue()) {
        followProgress(seen.value());
        return;
    }
    // Before the end: whoever waits for it on another thread may destroy the task, but no timer
    // that runs here.
    stopProgressMonitoring();
    finish(seen.error());
}

void RemoteResourceRetrievingTask::followProgress(
    const ResourceRetrieveHandle::ProgressAndStatus &seen)
{
    // A slot of the progress may end this task, and destroy it.
    const QPointer self(this);
    const auto [progress, status] = seen;
    if (progress)
        setProgress(*progress, 100);
    if (!self || (progress && (*progress < 100 || status != ResourceStatus::Ready)))
        return;

    stopProgressMonitoring();
    if (status == ResourceStatus::Ready) {
        finish(Error(0));
        return;
    }
    setProgress(0, 100);
    if (self && !isFinished())
        takeOver();
}

void RemoteResourceRetrievingTask::cancel()
{
    // A fetch that begins meanwhile either sees the flag or is seen here.
    if (retrieveTaskInner->isIdle())
        setCanceled(true);
    if (retrieveTaskInner->isIdle())
        Task::cancel();
    else
        retrieveTaskInner->cancel();
}

Error RemoteResourceRetrievingTask::doFinish()
{
    Error error;
    ZEL_TRY(error, Task::doFinish());
    ZEL_TRY(error, retrieveHandle->removeTaskFromDatabase());
    return error;
}

} // namespace zel
