#include "SchemesRegistration.h"

#include "ResourceManager.h"
#include "dav/DavScheme.h"
#include "errors/Propagate.h"
#include "file/FileScheme.h"
#include "http/HttpScheme.h"
#include "list/ListScheme.h"
#include "share/ShareCompanions.h"
#include "share/ShareScheme.h"

namespace zel {

void registerResourceSchemes()
{
    // One whose prefix is taken is left out.
    ZEL_DROP(registerFileScheme());
    ZEL_DROP(registerShareScheme());
    ZEL_DROP(registerHttpScheme());
    ZEL_DROP(registerListScheme());
    ZEL_DROP(registerDavScheme());
    ResourceManager::addAssociatedResourcesProvider(
        ShareCompanions::fileType(), [] { return std::make_unique<ShareCompanions>(); });
}

} // namespace zel
