#include "staging/FetchPlan.h"

#include "ResourceCache.h"
#include "ResourceManager.h"
#include "errors/Propagate.h"
#include "integrity/ManifestStore.h"
#include "references/ResourceReference.h"
#include "staging/StagingFolder.h"

#include <QUrl>

namespace zel {

FetchPlan FetchPlan::make(const ResourceReference &reference, const QString &expectedPath,
                          ResourceCache *cache)
{
    FetchPlan plan;
    plan.referenceKey = reference.referenceText(false);
    plan.displayText = reference.referenceText(true);
    plan.expectedPath = expectedPath;
    plan.stagingDirectory
        = StagingFolder::stagingDirectoryFor(ResourceManager::cachePath().cacheDataDir());
    plan.manifestDirectory
        = ManifestStore::forCache(ResourceManager::cachePath().cacheDataDir()).directory();
    plan.scheme = ResourceReference::schemeFriendlyName(reference.scheme());
    // The key form has no user in it.
    plan.host = QUrl(plan.referenceKey).authority(QUrl::FullyEncoded);
    plan.isReady = [cache](const QString &referenceKey) {
        const Result<ResourceStatus> status = ZEL_PASS(cache->readStatus(referenceKey));
        if (!status.hasValue())
            propagation::drop(status);
        // A resource that cannot be asked about is not known to be there.
        return status.hasValue() && status.value() == ResourceStatus::Ready;
    };
    return plan;
}

} // namespace zel
