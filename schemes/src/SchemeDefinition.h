#pragma once

#include "CopiedResourceHandler.h"
#include "ResourceHandlerFactory.h"
#include "errors/Propagate.h"

namespace zel::SchemeDefinition {

/// Makes a scheme of this library known: references, handlers and metadata. Fails if the references
/// cannot be registered, because another scheme has a prefix; nothing else is then.
Error add(const ResourceReference::SchemeDescription &description,
          const ResourceHandlerCreator &creator);

/// Code 2, for a reference that is not of the class that the scheme's own parser makes.
Error foreignReference();

/// The creator of a scheme whose handlers `make` makes, as pointers, of a reference of the scheme's
/// own class and of the cache.
template<typename Reference, typename Make>
ResourceHandlerCreator handlers(const Make &make)
{
    return [make](const QSharedPointer<ResourceReference> &reference,
                  ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
        const auto own = reference.dynamicCast<Reference>();
        if (!own)
            return ZEL_PASS(foreignReference());
        return QSharedPointer<ResourceHandler>(make(own, cache));
    };
}

/// The creator of a scheme whose resources are copied into the cache: `describe` gives the
/// CopiedResource of a reference of the scheme's own class.
template<typename Reference, typename Describe>
ResourceHandlerCreator copies(const Describe &describe)
{
    return handlers<Reference>(
        [describe](const QSharedPointer<Reference> &reference, ResourceCache *cache) {
            return new CopiedResourceHandler(reference, cache, describe(reference));
        });
}

} // namespace zel::SchemeDefinition
