#include "ResourceMetadataFactory.h"

#include "SchemeKey.h"
#include "errors/Propagate.h"

namespace zel {

QMap<ResourceReference::Scheme, ResourceMetadataCreator> ResourceMetadataFactory::s_createFuncs;

void ResourceMetadataFactory::registerMetadataScheme(ResourceReference::Scheme scheme,
                                                     const ResourceMetadataCreator &creator)
{
    s_createFuncs.insert(scheme, creator);
}

void ResourceMetadataFactory::unregisterMetadataScheme(ResourceReference::Scheme scheme)
{
    s_createFuncs.remove(scheme);
}

Result<QSharedPointer<ResourceMetadata>> ResourceMetadataFactory::create(
    const QJsonObject &object, ResourceReference::Scheme scheme)
{
    // The copy keeps the creator alive if it registers or unregisters schemes itself.
    const auto creators = s_createFuncs;
    const auto creator = creators.constFind(scheme);
    if (creator == creators.constEnd()) {
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            tr("Resource metadata with scheme \"%1\" is not supported.").arg(schemeKey(scheme)));
    }
    return ZEL_PASS((*creator)(object));
}

} // namespace zel
