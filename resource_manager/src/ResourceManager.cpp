#include "ResourceManager.h"

#include "OwnCopy.h"
#include "ResourceCache.h"
#include "ResourceManager_p.h"
#include "errors/Propagate.h"

namespace zel {

namespace {

/// Of an own copy: whoever waits or asks people lets events be delivered.
QList<ResourceHandler *> rawPointers(const ResourceManager::Handlers &handlers)
{
    QList<ResourceHandler *> pointers;
    pointers.reserve(handlers.size());
    for (const QSharedPointer<ResourceHandler> &handler : handlers)
        pointers.append(handler.data());
    return pointers;
}

} // namespace

ResourceCache *ResourceManager::cache()
{
    return instance().d->cache.get();
}

ResourceCachePath ResourceManager::cachePath()
{
    return cache()->path();
}

ResourceHandler::RetrieveMode ResourceManager::retrieveMode()
{
    return instance().d->retrieveMode;
}

void ResourceManager::setRetrieveMode(ResourceHandler::RetrieveMode mode)
{
    instance().d->retrieveMode = mode;
}

void ResourceManager::setDefaultResourcePromptingInterface(
    std::unique_ptr<ResourcePromptingInterface> prompting)
{
    instance().d->defaultPromptingInterface = std::move(prompting);
}

Result<QSharedPointer<ResourceHandler>> ResourceManager::getHandler(
    const QSharedPointer<ResourceReference> &reference)
{
    return ZEL_PASS(instance().d->getHandler(reference));
}

Result<QSharedPointer<ResourceHandler>> ResourceManager::getHandler(const QString &reference)
{
    return ZEL_PASS(instance().d->getHandler(reference));
}

Result<ResourceManager::Handlers> ResourceManager::getHandlers(const References &references)
{
    return ZEL_PASS(instance().d->getHandlers(references));
}

Result<ResourceManager::Handlers> ResourceManager::getHandlers(const QList<QString> &references)
{
    return ZEL_PASS(instance().d->getHandlers(references));
}

Result<ResourceManager::HandlersByReference> ResourceManager::getHandlersWithReferences(
    const References &references)
{
    return ZEL_PASS(instance().d->getHandlersWithReferences(references));
}

Error ResourceManager::retrieve(ResourceHandler *handler, ResourcePromptingInterface *prompting)
{
    return ZEL_PASS(instance().d->retrieve(handler, prompting));
}

Error ResourceManager::retrieve(const QSharedPointer<ResourceHandler> &handler,
                                ResourcePromptingInterface *prompting)
{
    const auto own = ownCopy(handler);
    return ZEL_PASS(retrieve(own.data(), prompting));
}

Error ResourceManager::retrieve(const QList<ResourceHandler *> &handlers,
                                ResourcePromptingInterface *prompting)
{
    return ZEL_PASS(instance().d->retrieve(handlers, prompting));
}

Error ResourceManager::retrieve(const Handlers &handlers, ResourcePromptingInterface *prompting)
{
    const Handlers own = ownCopy(handlers);
    return ZEL_PASS(retrieve(rawPointers(own), prompting));
}

Result<QSharedPointer<ResourceHandler>> ResourceManager::retrieve(
    const QSharedPointer<ResourceReference> &reference,
    std::optional<ResourceHandler::RetrieveMode> mode)
{
    Error error;
    ZEL_TRY_LET(const auto handler, getHandler(reference));
    if (mode)
        handler->overrideRetrieveMode(*mode);
    ZEL_TRY(error, handler->retrieve(nullptr));
    return handler;
}

Result<ResourceManager::Handlers> ResourceManager::retrieve(
    const References &references, std::optional<ResourceHandler::RetrieveMode> mode)
{
    Error error;
    ZEL_TRY_LET(const auto handlers, getHandlers(references));
    if (mode) {
        for (const QSharedPointer<ResourceHandler> &handler : handlers)
            handler->overrideRetrieveMode(*mode);
    }
    ZEL_TRY(error, retrieve(handlers, nullptr));
    return handlers;
}

Result<ResourceManager::HandlersByReference> ResourceManager::retrieveWithReferences(
    const References &references, std::optional<ResourceHandler::RetrieveMode> mode)
{
    const References own = ownCopy(references);
    ZEL_TRY_LET(const auto handlers, retrieve(own, mode));
    return Private::paired(own, handlers);
}

Result<std::unique_ptr<Task>> ResourceManager::retrieveAsync(
    ResourceHandler *handler, ResourceHandler::AsyncProcessingType type,
    ResourcePromptingInterface *prompting)
{
    return ZEL_PASS(instance().d->retrieveAsync(handler, type, prompting));
}

Result<std::unique_ptr<Task>> ResourceManager::retrieveAsync(
    const QSharedPointer<ResourceHandler> &handler, ResourceHandler::AsyncProcessingType type,
    ResourcePromptingInterface *prompting)
{
    const auto own = ownCopy(handler);
    return ZEL_PASS(retrieveAsync(own.data(), type, prompting));
}

Result<std::unique_ptr<GroupTask>> ResourceManager::retrieveAsync(
    const Handlers &handlers, ResourceHandler::AsyncProcessingType type,
    ResourcePromptingInterface *prompting)
{
    const Handlers own = ownCopy(handlers);
    return ZEL_PASS(instance().d->retrieveAsync(rawPointers(own), type, prompting));
}

Result<bool> ResourceManager::exists(const ResourceHandler *handler)
{
    return ZEL_PASS(instance().d->exists(handler));
}

Result<bool> ResourceManager::exists(const QSharedPointer<ResourceHandler> &handler)
{
    const auto own = ownCopy(handler);
    return ZEL_PASS(exists(own.data()));
}

Result<bool> ResourceManager::exists(const QList<ResourceHandler *> &handlers)
{
    return ZEL_PASS(instance().d->exists(handlers));
}

Result<bool> ResourceManager::exists(const Handlers &handlers)
{
    const Handlers own = ownCopy(handlers);
    return ZEL_PASS(exists(rawPointers(own)));
}

Result<bool> ResourceManager::exists(GroupTask *group)
{
    return ZEL_PASS(instance().d->exists(group));
}

QCoro::Task<Result<bool>> ResourceManager::co_exists(const ResourceHandler *handler)
{
    auto answer = instance().d->co_exists(handler);
    auto result = co_await answer;
    co_return ZEL_PASS(result);
}

Result<std::unique_ptr<Task>> ResourceManager::existsAsync(
    const ResourceHandler *handler, ResourceHandler::AsyncProcessingType type)
{
    return ZEL_PASS(instance().d->existsAsync(handler, type));
}

Result<std::unique_ptr<Task>> ResourceManager::existsAsync(
    const QSharedPointer<ResourceHandler> &handler, ResourceHandler::AsyncProcessingType type)
{
    const auto own = ownCopy(handler);
    return ZEL_PASS(existsAsync(own.data(), type));
}

Result<std::unique_ptr<GroupTask>> ResourceManager::existsAsync(
    const Handlers &handlers, ResourceHandler::AsyncProcessingType type)
{
    const Handlers own = ownCopy(handlers);
    return ZEL_PASS(instance().d->existsAsync(rawPointers(own), type));
}

void ResourceManager::invalidateCachedRequestsValues(ResourceReference::Scheme scheme)
{
    instance().d->invalidateCachedRequestsValues(scheme);
}

Result<QSharedPointer<ResourceMetadata>> ResourceManager::retrieveMetadata(
    const ResourceHandler *handler)
{
    return ZEL_PASS(instance().d->retrieveMetadata(handler));
}

Result<QSharedPointer<ResourceMetadata>> ResourceManager::retrieveMetadata(
    const QSharedPointer<ResourceHandler> &handler)
{
    const auto own = ownCopy(handler);
    return ZEL_PASS(retrieveMetadata(own.data()));
}

Result<QSharedPointer<ResourceMetadata>> ResourceManager::retrieveMetadata(
    const QSharedPointer<ResourceReference> &reference)
{
    ZEL_TRY_LET(const auto handler, getHandler(reference));
    return ZEL_PASS(retrieveMetadata(handler));
}

Result<std::unique_ptr<Task>> ResourceManager::retrieveMetadataAsync(
    const ResourceHandler *handler, ResourceHandler::AsyncProcessingType type)
{
    return ZEL_PASS(instance().d->retrieveMetadataAsync(handler, type));
}

Result<std::unique_ptr<Task>> ResourceManager::retrieveMetadataAsync(
    const QSharedPointer<ResourceHandler> &handler, ResourceHandler::AsyncProcessingType type)
{
    const auto own = ownCopy(handler);
    return ZEL_PASS(retrieveMetadataAsync(own.data(), type));
}

Error ResourceManager::updateFileSizes(const QList<QSharedPointer<ResourceHandler>> &handlers)
{
    return ZEL_PASS(instance().d->updateFileSizes(handlers));
}

Error ResourceManager::purgeOutdatedResources()
{
    return ZEL_PASS(cache()->purgeOutdatedResources());
}

Result<std::unique_ptr<Task>> ResourceManager::purgeOutdatedResourcesTask()
{
    return ZEL_PASS(cache()->purgeOutdatedResourcesTask());
}

Result<qint64> ResourceManager::maxCacheSize()
{
    return instance().d->settings.sizes.maximumSize;
}

Result<qint64> ResourceManager::optimalCacheSize()
{
    return instance().d->settings.sizes.optimalSize;
}

ResourceCleanupPolicy ResourceManager::cleanupPolicyRestriction()
{
    return cache()->cleanupPolicyRestriction();
}

void ResourceManager::setCleanupPolicyRestriction(const ResourceCleanupPolicy &policy)
{
    cache()->setCleanupPolicyRestriction(policy);
}

} // namespace zel
