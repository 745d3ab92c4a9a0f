#pragma once

#include "errors/Result.h"
#include "references/ResourceReference.h"

#include <QCoreApplication>
#include <QMap>
#include <QSharedPointer>

#include <functional>

namespace zel {

class ResourceCache;
class ResourceHandler;

/// Makes the handler of a reference of its scheme. The cache is lent.
using ResourceHandlerCreator = std::function<Result<QSharedPointer<ResourceHandler>>(
    const QSharedPointer<ResourceReference> &, ResourceCache *)>;

/// Turns references into handlers, by the creators that the loading program registers.
///
/// The library registers none. The table has no lock: register before other threads start.
/// Handlers that exist already are not touched by a later change of the table.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceHandlerFactory
{
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceHandlerFactory)

public:
    /// A creator that is already there is replaced.
    static void registerResourceHandlerScheme(ResourceReference::Scheme scheme,
                                              const ResourceHandlerCreator &creator);
    /// Nothing happens if there is none.
    static void unregisterResourceHandlerScheme(ResourceReference::Scheme scheme);

    /// Code 2 for a null reference and for a scheme without a creator; otherwise what the creator
    /// gives. The cache is lent to the handler and must outlive it.
    static Result<QSharedPointer<ResourceHandler>> create(
        const QSharedPointer<ResourceReference> &reference, ResourceCache *cache);

    /// The table itself, for those who want to look.
    static QMap<ResourceReference::Scheme, ResourceHandlerCreator> s_createFuncs;
};

} // namespace zel
