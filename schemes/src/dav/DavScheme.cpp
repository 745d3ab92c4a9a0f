#include "dav/DavScheme.h"

#include "ResourceHandlerFactory.h"
#include "ResourceMetadataFactory.h"
#include "SchemeMetadata.h"
#include "dav/DavReference.h"
#include "dav/DavResourceHandler.h"
#include "errors/Propagate.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerDavScheme(const HttpSettings &settings)
{
    constexpr auto scheme = ResourceReference::WebDav;
    ResourceReference::SchemeDescription description;
    description.scheme = scheme;
    description.prefixes = { u"dav"_s, u"davs"_s };
    description.friendlyName = u"webdav"_s;
    description.version = QVersionNumber(1, 0);
    description.parser = &DavReference::parse;

    Error error;
    ZEL_TRY(error, ResourceReference::registerScheme(description));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        scheme,
        [settings](const QSharedPointer<ResourceReference> &reference, ResourceCache *cache) {
            return DavResourceHandler::make(reference, cache, settings);
        });
    ResourceMetadataFactory::registerMetadataScheme(scheme, &SchemeMetadata::fromJson);
    return error;
}

} // namespace zel
