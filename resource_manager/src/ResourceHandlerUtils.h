#pragma once

#include "ResourceHandler.h"

#include <QList>
#include <QSharedPointer>
#include <QString>

/// Questions about references and handlers in one call. Stateless; on threads as ResourceManager.
/// All but compare() and contains() may block the calling thread, which goes on delivering events.
namespace zel::ResourceHandlerUtils {

/// Whether the resource exists; a failure counts as no.
ZEL_RESOURCE_MANAGER_EXPORT bool checkExists(const QSharedPointer<ResourceReference> &reference);
/// The same with the reason of a failure.
ZEL_RESOURCE_MANAGER_EXPORT Result<bool> exists(const QSharedPointer<ResourceReference> &reference);

/// Whether both stand for the same resource. Two nulls do; a null and a handler do not.
ZEL_RESOURCE_MANAGER_EXPORT bool compare(const ResourceHandler *a, const ResourceHandler *b);
/// See compare() of raw pointers.
ZEL_RESOURCE_MANAGER_EXPORT bool compare(const QSharedPointer<ResourceHandler> &a,
                                         const QSharedPointer<ResourceHandler> &b);

/// Whether one of them stands for the same resource as the handler.
ZEL_RESOURCE_MANAGER_EXPORT bool contains(const QList<ResourceHandler *> &handlers,
                                          const ResourceHandler *handler);
/// See contains() of raw pointers.
ZEL_RESOURCE_MANAGER_EXPORT bool contains(const QList<QSharedPointer<ResourceHandler>> &handlers,
                                          const QSharedPointer<ResourceHandler> &handler);

/// Whether the text names a resource that exists: more than a parse, it costs a request.
ZEL_RESOURCE_MANAGER_EXPORT bool validateReference(const QString &reference);
/// Whether the reference names a resource that exists; no for a null one.
ZEL_RESOURCE_MANAGER_EXPORT bool validateReference(
    const QSharedPointer<ResourceReference> &reference);

/// Proves of each resource, in order, that it can be reached. The first failure is returned and
/// the rest is not asked.
ZEL_RESOURCE_MANAGER_EXPORT Error
confirmPrivileges(const QList<QSharedPointer<ResourceHandler>> &handlers);

/// The path as the reference knows it, or as the resource's metadata tells; empty on a failure.
/// Only a reference that does not know its path costs a request.
ZEL_RESOURCE_MANAGER_EXPORT QString path(const QSharedPointer<ResourceReference> &reference);
/// The same for the path with its source.
ZEL_RESOURCE_MANAGER_EXPORT QString fullPath(const QSharedPointer<ResourceReference> &reference);

/// Where the existing resource lies here or would lie. Fetches nothing.
ZEL_RESOURCE_MANAGER_EXPORT Result<QString> localPath(QSharedPointer<ResourceReference> reference);
/// The same for many, in the order of the handlers.
ZEL_RESOURCE_MANAGER_EXPORT Result<QList<QString>> localPaths(
    const QList<QSharedPointer<ResourceHandler>> &handlers);

/// The references whose resources are not here.
ZEL_RESOURCE_MANAGER_EXPORT Result<QList<QSharedPointer<ResourceReference>>> missingResources(
    const QList<QSharedPointer<ResourceReference>> &references);

} // namespace zel::ResourceHandlerUtils
