#include "SchemeDefinition.h"

#include "ResourceMetadataFactory.h"
#include "SchemeMetadata.h"

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error SchemeDefinition::add(const ResourceReference::SchemeDescription &description,
                            const ResourceHandlerCreator &creator)
{
    Error error;
    ZEL_TRY(error, ResourceReference::registerScheme(description));
    ResourceHandlerFactory::registerResourceHandlerScheme(description.scheme, creator);
    ResourceMetadataFactory::registerMetadataScheme(description.scheme, &SchemeMetadata::fromJson);
    return error;
}

Error SchemeDefinition::foreignReference()
{
    return ZEL_ERROR(ErrorCode::BadArgument,
                     u"The reference was not made by the scheme's own parser."_s);
}

} // namespace zel
