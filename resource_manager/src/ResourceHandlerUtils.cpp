#include "ResourceHandlerUtils.h"

#include "OwnCopy.h"
#include "ResourceManager.h"
#include "errors/Propagate.h"

#include <QCoreApplication>

#include <algorithm>

namespace zel::ResourceHandlerUtils {

namespace {

template<typename List, typename Handler>
bool containsEqual(const List &handlers, const Handler &handler)
{
    return std::any_of(handlers.begin(), handlers.end(),
                       [&handler](const Handler &element) { return compare(element, handler); });
}

/// What the reference knows by itself, else what the metadata says, else an empty text.
QString known(const QSharedPointer<ResourceReference> &reference,
              std::optional<QString> (ResourceReference::*ownAnswer)() const,
              QString (ResourceMetadata::*metadataAnswer)() const)
{
    if (!reference)
        return QString();
    if (const auto answer = (reference.data()->*ownAnswer)())
        return *answer;

    const auto metadata = ResourceManager::retrieveMetadata(reference);
    if (metadata.hasValue() && metadata.value())
        return (metadata.value().data()->*metadataAnswer)();
    // A text cannot carry a failure.
    ZEL_DROP(metadata);
    return QString();
}

Result<PathImpl<PathType::Unknown>> grabbed(const QSharedPointer<ResourceHandler> &handler)
{
    if (handler)
        return ZEL_PASS(handler->grab());
    return ZEL_ERROR(
        ErrorCode::BadArgument,
        QCoreApplication::translate("zel::ResourceHandlerUtils", "Null handler provided."));
}

} // namespace

bool checkExists(const QSharedPointer<ResourceReference> &reference)
{
    const auto answer = exists(reference);
    return answer.hasValue() && answer.value();
}

Result<bool> exists(const QSharedPointer<ResourceReference> &reference)
{
    ZEL_TRY_LET(const auto handler, ResourceManager::getHandler(reference));
    ZEL_TRY_LET(const bool answer, handler->exists());
    return answer;
}

bool compare(const ResourceHandler *a, const ResourceHandler *b)
{
    if (!a || !b)
        return a == b;
    return *a->reference() == *b->reference();
}

bool compare(const QSharedPointer<ResourceHandler> &a, const QSharedPointer<ResourceHandler> &b)
{
    return compare(a.data(), b.data());
}

bool contains(const QList<ResourceHandler *> &handlers, const ResourceHandler *handler)
{
    return containsEqual(handlers, handler);
}

bool contains(const QList<QSharedPointer<ResourceHandler>> &handlers,
              const QSharedPointer<ResourceHandler> &handler)
{
    return containsEqual(handlers, handler);
}

bool validateReference(const QString &reference)
{
    if (reference.isEmpty())
        return false;
    const auto parsed = ResourceReference::fromString(reference);
    if (parsed.hasValue())
        return validateReference(parsed.value());
    // The answer is in the word itself: what cannot be parsed names nothing.
    ZEL_DROP(parsed);
    return false;
}

bool validateReference(const QSharedPointer<ResourceReference> &reference)
{
    return reference && checkExists(reference);
}

Error confirmPrivileges(const QList<QSharedPointer<ResourceHandler>> &handlers)
{
    const auto own = ownCopy(handlers); // grab() lets events be delivered
    for (const QSharedPointer<ResourceHandler> &handler : own) {
        if (const auto path = ZEL_PASS(grabbed(handler)); !path.hasValue())
            return path.error();
    }
    return Error();
}

QString path(const QSharedPointer<ResourceReference> &reference)
{
    return known(reference, &ResourceReference::referencePath, &ResourceMetadata::metadataPath);
}

QString fullPath(const QSharedPointer<ResourceReference> &reference)
{
    return known(reference, &ResourceReference::referenceFullPath,
                 &ResourceMetadata::metadataFullPath);
}

Result<QString> localPath(QSharedPointer<ResourceReference> reference)
{
    ZEL_TRY_LET(const auto handler, ResourceManager::getHandler(reference));
    ZEL_TRY_LET(const auto path, handler->grab());
    return path.toString();
}

Result<QList<QString>> localPaths(const QList<QSharedPointer<ResourceHandler>> &handlers)
{
    const auto own = ownCopy(handlers); // as above
    QList<QString> paths;
    paths.reserve(own.size());
    for (const QSharedPointer<ResourceHandler> &handler : own) {
        ZEL_TRY_LET(const auto path, grabbed(handler));
        paths.append(path.toString());
    }
    return paths;
}

Result<QList<QSharedPointer<ResourceReference>>> missingResources(
    const QList<QSharedPointer<ResourceReference>> &references)
{
    ZEL_TRY_LET(const auto handlers, ResourceManager::getHandlers(references));
    QList<QSharedPointer<ResourceReference>> missing;
    for (const QSharedPointer<ResourceHandler> &handler : handlers) {
        if (!handler->isAvailableLocally())
            missing.append(handler->reference());
    }
    return missing;
}

} // namespace zel::ResourceHandlerUtils
