#include "support/TestHandlers.h"

#include "ResourceHandlerFactory.h"
#include "TemporaryCache.h"
#include "support/TestReference.h"

#include <map>
#include <stdexcept>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

std::unique_ptr<Task> makeTask(std::function<Error(Task *)> function, Task::ExecutionMode mode)
{
    auto task = std::make_unique<Task>(nullptr);
    task->setFunction(std::move(function));
    task->setExecutionMode(mode);
    return task;
}

std::unique_ptr<Task> makeExistsTask(HandlerScript &script)
{
    ++script.existsTasks;
    if (script.existsTaskThrows)
        throw std::runtime_error("no task today");
    if (script.givesNullTasks)
        return nullptr;
    return makeTask(
        [&script](Task *task) {
            ++script.existsRuns;
            task->setResult<bool>(script.exists);
            return script.existsOutcome;
        },
        script.existsMode);
}

std::unique_ptr<Task> makeMetadataTask(HandlerScript &script)
{
    ++script.metadataTasks;
    if (script.givesNullTasks)
        return nullptr;
    return makeTask(
        [&script](Task *task) {
            if (script.metadata)
                task->setResult(*script.metadata);
            return script.metadataOutcome;
        },
        Task::ExecutionMode::Synchronous);
}

std::unique_ptr<Task> makeFetchTask(HandlerScript &script, const QString &path)
{
    ++script.fetchTasks;
    return makeTask(
        [&script, path](Task *task) {
            ++script.fetches;
            if (script.fetch)
                return script.fetch(task, path);
            writeFile(path, "data");
            return Error();
        },
        script.fetchMode);
}

} // namespace

HandlerScript &scriptOf(const QString &key)
{
    static auto *scripts = new std::map<QString, std::unique_ptr<HandlerScript>>;
    auto &script = (*scripts)[key];
    if (!script)
        script = std::make_unique<HandlerScript>();
    return *script;
}

LocalTestHandler::LocalTestHandler(const QSharedPointer<ResourceReference> &reference)
    : ResourceHandler(reference)
    , script(scriptOf(reference->referenceText(false)))
{
}

Result<ResourceCleanupPolicy> LocalTestHandler::cleanupPolicy() const
{
    return ResourceCleanupPolicy::Never;
}

Error LocalTestHandler::setCleanupPolicy(const ResourceCleanupPolicy &)
{
    return Error();
}

std::unique_ptr<Task> LocalTestHandler::existsTask() const
{
    return makeExistsTask(script);
}

std::optional<std::unique_ptr<Task>> LocalTestHandler::retrieveTask()
{
    if (script.nothingToDo)
        return std::unique_ptr<Task>();
    if (!script.isFetchable)
        return std::nullopt;
    return makeFetchTask(script, script.localPath.value());
}

std::unique_ptr<Task> LocalTestHandler::metadataTask() const
{
    return makeMetadataTask(script);
}

Result<PathImpl<PathType::Unknown>> LocalTestHandler::localPath() const
{
    return script.localPath;
}

RemoteTestHandler::RemoteTestHandler(const QSharedPointer<ResourceReference> &reference,
                                     ResourceCache *cache)
    : RemoteResourceHandler(reference, cache)
    , script(scriptOf(reference->referenceText(false)))
{
}

std::unique_ptr<Task> RemoteTestHandler::existsTask() const
{
    return makeExistsTask(script);
}

std::unique_ptr<Task> RemoteTestHandler::metadataTask() const
{
    return makeMetadataTask(script);
}

std::unique_ptr<Task> RemoteTestHandler::createRetrieveTask(
    const PathImpl<PathType::Dir> &targetDirectory)
{
    lastTargetDirectory = targetDirectory;
    if (!script.isFetchable)
        return nullptr;
    return makeFetchTask(script, localPath().value());
}

QString RemoteTestHandler::cacheFileName() const
{
    if (!script.cacheFileName.isEmpty())
        return script.cacheFileName;
    const QString name = reference().staticCast<TestReference>()->name();
    return u"%1/%1.dat"_s.arg(name);
}

void registerTestHandlers()
{
    const auto remote = [](const QSharedPointer<ResourceReference> &reference,
                           ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
        return QSharedPointer<ResourceHandler>(new RemoteTestHandler(reference, cache));
    };
    const auto local = [](const QSharedPointer<ResourceReference> &reference,
                          ResourceCache *) -> Result<QSharedPointer<ResourceHandler>> {
        return QSharedPointer<ResourceHandler>(new LocalTestHandler(reference));
    };
    ResourceHandlerFactory::registerResourceHandlerScheme(ResourceReference::Host1, remote);
    ResourceHandlerFactory::registerResourceHandlerScheme(ResourceReference::Host2, remote);
    ResourceHandlerFactory::registerResourceHandlerScheme(ResourceReference::File, local);
}

} // namespace zel::test
