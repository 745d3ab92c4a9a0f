#include "SchemesRegistration.h"

#include "ResourceHandlerFactory.h"
#include "ResourceManager.h"
#include "ResourceMetadataFactory.h"
#include "SchemeMetadata.h"
#include "dav/DavScheme.h"
#include "errors/Propagate.h"
#include "file/FileResourceHandler.h"
#include "http/HttpScheme.h"
#include "list/ListScheme.h"
#include "references/PathReference.h"
#include "share/ShareCompanions.h"
#include "share/ShareResourceHandler.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

using Scheme = ResourceReference::Scheme;

void registerPathScheme(Scheme scheme, const QString &name)
{
    ResourceReference::SchemeDescription description;
    description.scheme = scheme;
    description.prefixes = { name };
    description.friendlyName = name;
    description.version = QVersionNumber(1, 0);
    description.parser = [scheme](const QString &text) {
        return PathReference::parse(scheme, text);
    };
    ZEL_DROP(ResourceReference::registerScheme(description)); // another one has the prefix
}

template<typename Make>
ResourceHandlerCreator creator(const Make &make)
{
    return [make](const QSharedPointer<ResourceReference> &reference,
                  ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
        const auto path = reference.dynamicCast<PathReference>();
        if (!path) {
            return ZEL_ERROR(ErrorCode::BadArgument,
                             u"The reference was not made by the scheme's own parser."_s);
        }
        return QSharedPointer<ResourceHandler>(make(path, cache));
    };
}

} // namespace

void registerResourceSchemes()
{
    registerPathScheme(Scheme::File, u"file"_s);
    registerPathScheme(Scheme::Share, u"share"_s);

    ResourceHandlerFactory::registerResourceHandlerScheme(
        Scheme::File,
        creator([](const auto &path, ResourceCache *) { return new FileResourceHandler(path); }));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        Scheme::Share, creator([](const auto &path, ResourceCache *cache) {
            return new ShareResourceHandler(path, cache);
        }));
    for (const Scheme scheme : { Scheme::File, Scheme::Share })
        ResourceMetadataFactory::registerMetadataScheme(scheme, &SchemeMetadata::fromJson);
    ZEL_DROP(registerHttpScheme()); // another one has a prefix
    ZEL_DROP(registerListScheme()); // as above
    ZEL_DROP(registerDavScheme()); // as above
    ResourceManager::addAssociatedResourcesProvider(
        ShareCompanions::fileType(), [] { return std::make_unique<ShareCompanions>(); });
}

} // namespace zel
