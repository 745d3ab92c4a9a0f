#include "BlockingWait.h"
#include "ResourceCache.h"
#include "ResourceManager_p.h"
#include "errors/Propagate.h"
#include "references/ReferenceIdentity.h"

#include <QSet>

namespace zel {

ResourceManager::Private::TaskResult ResourceManager::Private::retrieveAsync(
    ResourceHandler *handler)
{
    if (!handler)
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null handler provided."));
    if (handler->isAvailableLocally())
        return std::unique_ptr<Task>();

    ZEL_TRY_LET(const QString path, handler->expectedPath());
    ZEL_TRY_LET(const bool isPublished, clearWayFor(*handler, path));
    if (isPublished)
        return std::unique_ptr<Task>();

    if (auto task = handler->retrieveTask())
        return std::move(*task);
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ResourceManager::tr("Unable to retrieve missing resource: %1")
                         .arg(handler->reference()->referenceText(true)));
}

ResourceManager::Private::TaskResult ResourceManager::Private::retrieveAsync(
    ResourceHandler *handler, Type type, ResourcePromptingInterface *prompting)
{
    Error error;
    ZEL_TRY_LET(auto task, retrieveAsync(handler));
    if (!task)
        return task;
    ZEL_TRY(error, promptRetrieveIfNeeded({ handler }, prompting));
    if (type == ResourceHandler::Queued)
        enqueueTask(task.get());
    return task;
}

ResourceManager::Private::GroupResult ResourceManager::Private::retrieveAsync(
    const RawHandlers &handlers, Type type, ResourcePromptingInterface *prompting)
{
    if (handlers.contains(nullptr))
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null handler provided."));

    Error error;
    ZEL_TRY_LET(RawHandlers missing, missingOnes(handlers));
    const auto ours = defaultPromptingInterface;
    if (ResourcePromptingInterface *asked = prompting ? prompting : ours.get()) {
        ZEL_TRY(error, promptRetrieveIfNeeded(missing, asked));
        missing = withoutUnaccepted(missing, asked->confirmedReferences());
    }

    ZEL_TRY_LET(auto group, createRetrieveGroupTask(missing));
    const QList<Task *> tasks = group->executableSubtasks(false);
    if (tasks.isEmpty())
        return std::unique_ptr<GroupTask>();
    if (type == ResourceHandler::Queued) {
        for (Task *task : tasks)
            enqueueTask(task);
    }
    return group;
}

Result<ResourceManager::Private::RawHandlers> ResourceManager::Private::missingOnes(
    const RawHandlers &handlers)
{
    RawHandlers missing;
    QSet<ReferenceIdentity> known;
    for (ResourceHandler *handler : handlers) {
        const ReferenceIdentity key = identityOf(handler->reference());
        if (known.contains(key))
            continue;
        // Only a probe of whether there is work: people are asked before any task is kept.
        ZEL_TRY_LET(const auto probe, retrieveAsync(handler));
        if (probe) {
            missing.append(handler);
            known.insert(key);
        }
    }
    return missing;
}

ResourceManager::Private::RawHandlers ResourceManager::Private::withoutUnaccepted(
    const RawHandlers &missing, const References &accepted) const
{
    // As many as are missing in all: nothing was left out, whichever they are.
    if (accepted.size() == missing.size())
        return missing;

    QSet<ReferenceIdentity> acceptedOnes;
    for (const QSharedPointer<ResourceReference> &reference : accepted)
        acceptedOnes.insert(identityOf(reference));

    RawHandlers kept;
    for (ResourceHandler *handler : missing) {
        if (retrieveModeFor(handler) != ResourceHandler::Prompt
            || acceptedOnes.contains(identityOf(handler->reference())))
            kept.append(handler);
    }
    return kept;
}

ResourceManager::Private::GroupResult ResourceManager::Private::createRetrieveGroupTask(
    const RawHandlers &handlers)
{
    auto group = std::make_unique<GroupTask>(nullptr);
    for (ResourceHandler *handler : handlers) {
        ZEL_TRY_LET(auto task, retrieveAsync(handler));
        if (task)
            group->append(task.release());
    }
    return group;
}

Error ResourceManager::Private::promptRetrieveIfNeeded(const RawHandlers &handlers,
                                                       ResourcePromptingInterface *prompting)
{
    References references;
    for (const ResourceHandler *handler : handlers) {
        if (retrieveModeFor(handler) == ResourceHandler::Prompt)
            references.append(handler->reference());
    }
    if (references.isEmpty())
        return Error();

    // A question that nobody can answer is refused.
    const auto ours = defaultPromptingInterface;
    ResourcePromptingInterface *asked = prompting ? prompting : ours.get();
    if (asked && asked->confirmRetrieve(references))
        return Error();

    QList<QString> keys;
    for (const QSharedPointer<ResourceReference> &reference : references)
        keys.append(reference->referenceText(false));
    qCDebug(lcResourceManager) << "Canceled retrieve of" << keys;
    return ZEL_ERROR(ErrorCode::Canceled,
                     ResourceManager::tr("Retrieve of resources has been canceled."));
}

Error ResourceManager::Private::retrieve(ResourceHandler *handler,
                                         ResourcePromptingInterface *prompting)
{
    Error error;
    ZEL_TRY(error, BlockingWait::obstacle());
    ZEL_TRY_LET(const auto task, retrieveAsync(handler, ResourceHandler::Queued, prompting));
    if (task)
        ZEL_TRY(error, task->waitForAllFinished(-1));
    return error;
}

Error ResourceManager::Private::retrieve(const RawHandlers &handlers,
                                         ResourcePromptingInterface *prompting)
{
    Error error;
    ZEL_TRY(error, BlockingWait::obstacle());
    ZEL_TRY_LET(const auto group, retrieveAsync(handlers, ResourceHandler::Queued, prompting));
    if (group)
        ZEL_TRY(error, group->waitForAllFinished(-1));
    return error;
}

} // namespace zel
