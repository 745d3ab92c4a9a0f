#include "ReferenceHandlers.h"

#include "ResourceHandlerFactory.h"
#include "ResourceManager.h"
#include "errors/Propagate.h"
#include "output/LogOutput.h"

namespace zel::cli {

Result<QSharedPointer<ResourceHandler>> SourceHandlers::handlerOf(const QString &argument)
{
    ZEL_TRY_LET(const auto reference, ResourceReference::fromString(argument));
    const ExpectedFailures notEntered;
    return ZEL_PASS(ResourceHandlerFactory::create(reference, &cache));
}

Result<QSharedPointer<ResourceHandler>> handlerOf(const QString &argument)
{
    ZEL_TRY_LET(const auto reference, ResourceReference::fromString(argument));
    return ZEL_PASS(ResourceManager::getHandler(reference));
}

Result<LocalPlace> localPlaceOf(const QString &argument)
{
    ZEL_TRY_LET(const auto handler, handlerOf(argument));
    ZEL_TRY_LET(const auto path, handler->expectedPath());
    return LocalPlace { handler, path.toString(), handler->isAvailableLocally() };
}

} // namespace zel::cli
