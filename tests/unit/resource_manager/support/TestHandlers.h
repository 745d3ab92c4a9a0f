#pragma once

#include "RemoteResourceHandler.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace zel::test {

/// How the handlers of one reference behave, and what was asked of them.
struct HandlerScript
{
    bool exists = true;
    Error existsOutcome;
    bool existsTaskThrows = false;
    bool givesNullTasks = false; ///< for existence and metadata
    Task::ExecutionMode existsMode = Task::ExecutionMode::Synchronous;

    /// Puts the data at the path. Without one, a file with the content "data".
    std::function<Error(Task *task, const QString &path)> fetch;
    Task::ExecutionMode fetchMode = Task::ExecutionMode::Synchronous;
    bool isFetchable = true;
    QString cacheFileName; ///< "<name>/<name>.dat" if it is empty

    Error metadataOutcome;
    std::optional<QSharedPointer<ResourceMetadata>> metadata; ///< no result without one

    // For handlers without a cache.
    Result<PathImpl<PathType::Unknown>> localPath = Error(1, QStringLiteral("No path."));
    bool nothingToDo = false;

    std::atomic<int> existsTasks = 0;
    std::atomic<int> existsRuns = 0;
    std::atomic<int> fetchTasks = 0;
    std::atomic<int> fetches = 0;
    std::atomic<int> metadataTasks = 0;
};

/// The script of all handlers of this key form, made on first use.
HandlerScript &scriptOf(const QString &key);

/// Tells its name as name, path and full path.
class TestMetadata : public ResourceMetadata
{
public:
    explicit TestMetadata(const QString &name)
        : name(name)
    {
    }

    QString metadataName() const override { return name; }
    QString metadataPath() const override { return QStringLiteral("/metadata/") + name; }
    QString metadataFullPath() const override { return QStringLiteral("/metadata/full/") + name; }
    QString metadataType() const override { return QStringLiteral("test"); }
    ItemType metadataItemType() const override { return ItemType::File; }
    QVersionNumber metadataVersion() const override { return QVersionNumber(3); }

private:
    QString name;
};

/// A handler that knows no cache. What is protected in its base is public here.
class LocalTestHandler : public ResourceHandler
{
public:
    explicit LocalTestHandler(const QSharedPointer<ResourceReference> &reference);

    using ResourceHandler::create;

    Result<ResourceCleanupPolicy> cleanupPolicy() const override;
    Error setCleanupPolicy(const ResourceCleanupPolicy &policy) override;
    std::unique_ptr<Task> existsTask() const override;
    std::optional<std::unique_ptr<Task>> retrieveTask() override;
    std::unique_ptr<Task> metadataTask() const override;
    Result<PathImpl<PathType::Unknown>> localPath() const override;

    HandlerScript &script;
};

/// A handler of a resource that is copied into the cache.
class RemoteTestHandler : public RemoteResourceHandler
{
public:
    RemoteTestHandler(const QSharedPointer<ResourceReference> &reference, ResourceCache *cache);

    using RemoteResourceHandler::localPath;
    using RemoteResourceHandler::retrieveTask;

    std::unique_ptr<Task> existsTask() const override;
    std::unique_ptr<Task> metadataTask() const override;
    std::unique_ptr<Task> createRetrieveTask(
        const PathImpl<PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

    HandlerScript &script;
    QString lastTargetDirectory;
};

/// Runs from its start until somebody calls finish().
class OpenEndedTask : public Task
{
public:
    OpenEndedTask()
        : Task(nullptr)
    {
    }
    void exec() override { setRunning(); }
};

/// "test" and "other" get remote handlers, "near" local ones.
void registerTestHandlers();

} // namespace zel::test
