#include "list/ListScheme.h"

#include "ResourceHandlerFactory.h"
#include "ResourceMetadataFactory.h"
#include "SchemeMetadata.h"
#include "errors/Propagate.h"
#include "list/ListReference.h"
#include "list/ListResourceHandler.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerListScheme(const HttpSettings &settings)
{
    constexpr auto scheme = ResourceReference::Manifest;
    ResourceReference::SchemeDescription description;
    description.scheme = scheme;
    description.prefixes = { u"list+http"_s, u"list+https"_s };
    description.friendlyName = u"manifest"_s;
    description.version = QVersionNumber(1, 0);
    description.parser = &ListReference::parse;

    Error error;
    ZEL_TRY(error, ResourceReference::registerScheme(description));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        scheme,
        [settings](const QSharedPointer<ResourceReference> &reference, ResourceCache *cache) {
            return ListResourceHandler::make(reference, cache, settings);
        });
    ResourceMetadataFactory::registerMetadataScheme(scheme, &SchemeMetadata::fromJson);
    return error;
}

} // namespace zel
