#include "ResourceHandlerFactory.h"

#include "ResourceHandler.h"
#include "SchemeKey.h"
#include "errors/Propagate.h"

namespace zel {

QMap<ResourceReference::Scheme, ResourceHandlerCreator> ResourceHandlerFactory::s_createFuncs;

void ResourceHandlerFactory::registerResourceHandlerScheme(ResourceReference::Scheme scheme,
                                                           const ResourceHandlerCreator &creator)
{
    s_createFuncs.insert(scheme, creator);
}

void ResourceHandlerFactory::unregisterResourceHandlerScheme(ResourceReference::Scheme scheme)
{
    s_createFuncs.remove(scheme);
}

Result<QSharedPointer<ResourceHandler>> ResourceHandlerFactory::create(
    const QSharedPointer<ResourceReference> &reference, ResourceCache *cache)
{
    if (!reference)
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Null reference provided."));

    // The copy keeps the creator alive if it registers or unregisters schemes itself.
    const auto creators = s_createFuncs;
    const auto creator = creators.constFind(reference->scheme());
    if (creator == creators.constEnd()) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("Resource handler with scheme \"%1\" is not supported.")
                             .arg(schemeKey(reference->scheme())));
    }
    return ZEL_PASS((*creator)(reference, cache));
}

} // namespace zel
