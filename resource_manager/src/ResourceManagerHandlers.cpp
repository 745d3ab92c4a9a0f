#include "ResourceCache.h"
#include "ResourceHandlerFactory.h"
#include "ResourceManager_p.h"
#include "errors/Propagate.h"

namespace zel {

Result<QSharedPointer<ResourceHandler>> ResourceManager::Private::getHandler(
    const QSharedPointer<ResourceReference> &reference)
{
    if (!reference) {
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null reference provided."));
    }

    const QString key = reference->referenceText(false);
    if (const auto handler = liveHandler(key))
        return handler;
    ZEL_TRY_LET(const auto handler, createHandler(reference));
    rememberHandler(key, handler);
    return handler;
}

Result<QSharedPointer<ResourceHandler>> ResourceManager::Private::getHandler(
    const QString &reference)
{
    if (const auto handler = liveHandler(reference))
        return handler;
    ZEL_TRY_LET(const auto parsed, ResourceReference::fromString(reference));
    ZEL_TRY_LET(const auto handler, createHandler(parsed));
    rememberHandler(reference, handler);
    return handler;
}

QSharedPointer<ResourceHandler> ResourceManager::Private::liveHandler(const QString &key) const
{
    return handlersByReference.value(key).toStrongRef();
}

void ResourceManager::Private::rememberHandler(const QString &key,
                                               const QSharedPointer<ResourceHandler> &handler)
{
    // A program that runs for long names more and more resources, or one by ever new texts.
    handlersSweep.sweepIfDue(handlersByReference,
                             [](std::pair<const QString &, QWeakPointer<ResourceHandler> &> entry) {
                                 return entry.second.isNull();
                             });
    handlersByReference.insert(key, handler);
}

Result<QSharedPointer<ResourceHandler>> ResourceManager::Private::createHandler(
    const QSharedPointer<ResourceReference> &reference)
{
    ZEL_TRY_LET(const QSharedPointer<ResourceHandler> handler,
                ResourceHandlerFactory::create(reference, cache.get()));
    if (!handler) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         ResourceManager::tr("Unable to make a handler for resource: %1")
                             .arg(reference->referenceText(true)));
    }
    return handler;
}

Result<ResourceManager::Handlers> ResourceManager::Private::getHandlers(
    const References &references)
{
    if (references.contains(nullptr)) {
        return ZEL_ERROR(ErrorCode::BadArgument, ResourceManager::tr("Null reference provided."));
    }

    Handlers handlers;
    handlers.reserve(references.size());
    for (const QSharedPointer<ResourceReference> &reference : references) {
        ZEL_TRY_LET(const auto handler, getHandler(reference));
        handlers.append(handler);
    }
    return handlers;
}

Result<ResourceManager::Handlers> ResourceManager::Private::getHandlers(
    const QList<QString> &references)
{
    Handlers handlers;
    handlers.reserve(references.size());
    for (const QString &reference : references) {
        ZEL_TRY_LET(const auto handler, getHandler(reference));
        handlers.append(handler);
    }
    return handlers;
}

Result<ResourceManager::HandlersByReference> ResourceManager::Private::getHandlersWithReferences(
    const References &references)
{
    ZEL_TRY_LET(const auto handlers, getHandlers(references));
    return paired(references, handlers);
}

ResourceManager::HandlersByReference ResourceManager::Private::paired(const References &references,
                                                                      const Handlers &handlers)
{
    HandlersByReference pairs;
    pairs.reserve(references.size());
    for (qsizetype i = 0; i < references.size(); ++i)
        pairs.insert(references.at(i), handlers.at(i));
    return pairs;
}

ResourceHandler::RetrieveMode ResourceManager::Private::retrieveModeFor(
    const ResourceHandler *handler) const
{
    return handler->overridenRetrieveMode().value_or(retrieveMode);
}

} // namespace zel
