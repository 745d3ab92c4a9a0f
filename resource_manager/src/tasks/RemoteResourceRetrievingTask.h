#pragma once

#include "ResourceRetrieveHandle.h"
#include "Task.h"

#include <QTimer>

#include <memory>

namespace zel {

/// One process's part in a retrieval that several processes may want at the same moment: exactly
/// one of them fetches, the others wait, show its progress and take over if it fails or dies.
///
/// Who fetches is decided whenever a task has to decide, by ResourceRetrieveHandle, through which
/// alone the processes learn of each other. A task that waits asks the cache ten times a second.
/// Canceling a fetch cancels the fetching task, whose end is recorded as any other; a task that
/// waits ends with code 20 at its next look.
/// Threads: runs on the thread that executes it, which needs an event loop for a wait.
/// Ownership: owns the handle and the fetching task, which is its child and so moves with it.
class ZEL_RESOURCE_MANAGER_EXPORT RemoteResourceRetrievingTask : public Task
{
    Q_OBJECT

public:
    /// `resourceReference` is the text for people. The fetching task is idle; it stays so if
    /// another process fetches.
    RemoteResourceRetrievingTask(std::unique_ptr<ResourceRetrieveHandle> handle,
                                 std::unique_ptr<Task> retrieveTask,
                                 const QString &resourceReference, QObject *parent);
    ~RemoteResourceRetrievingTask() override;

    void exec() override;
    void cancel() override;
    /// Takes this process's wish for the resource back, however the task ends.
    Error doFinish() override;

    /// One look at what the fetching process does. The timer calls it.
    void onProgressUpdateTimeout();

private:
    Error startRetrieveOrMonitoring();
    void startRetrieveTask();
    void execRetrieveTask();
    void endAfterException();
    void startProgressMonitoring();
    void stopProgressMonitoring();
    void followProgress(const ResourceRetrieveHandle::ProgressAndStatus &seen);
    void onRetrieveTaskProgress(int value, int maximum);
    void onRetrieveTaskFinished();
    void takeOver();
    void traceRetrieval();

    std::unique_ptr<ResourceRetrieveHandle> retrieveHandle;
    std::unique_ptr<Task> retrieveTaskInner;
    std::unique_ptr<QTimer> progressTimer;
    QString resourceReferenceText;
    int savedPercent = 0;
    bool isStartingInner = false;
};

} // namespace zel
