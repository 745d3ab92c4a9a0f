#include "http/HttpScheme.h"

#include "ResourceHandlerFactory.h"
#include "ResourceMetadataFactory.h"
#include "SchemeMetadata.h"
#include "errors/Propagate.h"
#include "http/HttpResourceHandler.h"
#include "references/UrlReference.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error registerHttpScheme(const HttpSettings &settings)
{
    constexpr auto scheme = ResourceReference::Http;
    ResourceReference::SchemeDescription description;
    description.scheme = scheme;
    description.prefixes = { u"http"_s, u"https"_s };
    description.friendlyName = u"http"_s;
    description.version = QVersionNumber(1, 0);
    description.parser = [](const QString &text) {
        return UrlReference::parse(scheme, text);
    };

    Error error;
    ZEL_TRY(error, ResourceReference::registerScheme(description));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        scheme,
        [settings](const QSharedPointer<ResourceReference> &reference, ResourceCache *cache) {
            return HttpResourceHandler::make(reference, cache, settings);
        });
    ResourceMetadataFactory::registerMetadataScheme(scheme, &SchemeMetadata::fromJson);
    return error;
}

} // namespace zel
