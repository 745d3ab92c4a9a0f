#pragma once

#include "support/CacheFixture.h"
#include "support/TestHandlers.h"
#include "tasks/RemoteResourceRetrievingTask.h"

#include <QElapsedTimer>

#include <functional>
#include <memory>
#include <thread>

namespace zel::test {

/// An open cache with one missing resource, and tasks that are to retrieve it.
class RetrievingTaskFixture : public CacheFixture
{
protected:
    struct Retrieval
    {
        std::unique_ptr<RemoteResourceRetrievingTask> task;
        OpenEndedTask *inner; ///< belongs to the task
    };

    void SetUp() override
    {
        openCache();
        ASSERT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
    }

    Retrieval retrieval(ResourceCache &client) const
    {
        auto inner = std::make_unique<OpenEndedTask>();
        auto *borrowed = inner.get();
        return { retrievalBy(client, std::move(inner)), borrowed };
    }
    std::unique_ptr<RemoteResourceRetrievingTask> retrievalBy(ResourceCache &client,
                                                              std::unique_ptr<Task> inner) const
    {
        auto handle = std::make_unique<ResourceRetrieveHandle>(
            reference, PathImpl<PathType::Unknown>(path), &client, QVersionNumber(1));
        return std::make_unique<RemoteResourceRetrievingTask>(
            std::move(handle), std::move(inner), QStringLiteral("the resource"), nullptr);
    }
    /// A fetch that takes no time.
    std::unique_ptr<Task> fetchAtOnce(bool *hasRun = nullptr) const
    {
        auto inner = std::make_unique<Task>(nullptr);
        inner->setFunction([this, hasRun] {
            if (hasRun)
                *hasRun = true;
            writeFile(path, "data");
            return Error();
        });
        return inner;
    }
    void finishWithData(OpenEndedTask *inner) const
    {
        writeFile(path, "data");
        inner->finish(Error());
    }
    /// Ends the fetch as a worker does, and lets that arrive here at once: what a slot brings about
    /// that delivers events, as one with a dialog.
    static void endWithin(OpenEndedTask *inner, const Error &outcome)
    {
        std::thread([inner, &outcome] { inner->finish(outcome); }).join();
        QCoreApplication::processEvents();
    }

    /// Lets events be delivered until the condition holds; false if it never does.
    static bool deliverEventsUntil(const std::function<bool()> &condition)
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < 20000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        return condition();
    }

    int taskRows() const { return database().count(QStringLiteral("AcquiringTasks")); }
    QString status() const { return database().status(reference); }
    QVariant savedProgress() const
    {
        return database().value(QStringLiteral("SELECT MAX(progress) FROM AcquiringTasks"));
    }
    /// From now on no status can be written.
    void keepStatusAsItIs() const
    {
        database().run(QStringLiteral("CREATE TRIGGER stuck BEFORE UPDATE OF status ON "
                                      "CachedResources BEGIN SELECT RAISE(ABORT, 'stuck'); END"));
    }

    const QString reference = QStringLiteral("test:a");
    const QString path = dataPath(QStringLiteral("test/a/file"));
};

} // namespace zel::test
