#include "ResourceCache_p.h"

#include "errors/Propagate.h"

#include <algorithm>
#include <functional>

namespace zel {

namespace {

/// Calls back when the use ends, unless the cache was closed before: that has taken the row with
/// all others of this process, and its number may by now stand for somebody else's use in another
/// database.
class InUseHandleImpl : public ResourceCache::InUseHandle
{
public:
    InUseHandleImpl(std::function<void()> onFinished, std::weak_ptr<const bool> opening)
        : onFinished(std::move(onFinished))
        , opening(std::move(opening))
    {
    }
    ~InUseHandleImpl() override
    {
        if (!opening.expired())
            onFinished();
    }

    bool isInForce() const override { return !opening.expired(); }

private:
    std::function<void()> onFinished;
    std::weak_ptr<const bool> opening;
};

} // namespace

Result<std::unique_ptr<ResourceCache::InUseHandle>> ResourceCache::Private::useResource(
    const QString &reference)
{
    Error error;
    ZEL_TRY_LET(const bool exists, existsInDb(reference));
    if (!exists)
        ZEL_TRY(error, add(reference, ResourceCleanupPolicy::OnDemand));
    else if (isMissing(reference))
        ZEL_DROP(purgeCacheIfNeeded(0)); // too full is no reason not to use what is asked for
    return ZEL_PASS(markInUse(reference));
}

Result<std::unique_ptr<ResourceCache::InUseHandle>> ResourceCache::Private::markInUse(
    const QString &reference)
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY_LET(const bool exists, existsInDb(reference));
    if (!exists) {
        qCCritical(lcResourceManager) << reference << "is not in database while marking in use";
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Resource that is not added in database cannot be used"));
    }
    ZEL_TRY_LET(const qint64 usageId,
                ResourceCacheDao::insertResourceUsage(context.get(), reference));
    ZEL_TRY(error, context->commit());

    const std::weak_ptr<const bool> itsOpening = opening;
    return std::unique_ptr<InUseHandle>(std::make_unique<InUseHandleImpl>(
        std::bind(&Private::onFinishedUsing, this, reference, usageId, itsOpening), itsOpening));
}

Error ResourceCache::Private::removeUsage(const QString &reference, qint64 usageId)
{
    Error error;
    ZEL_TRY_LET(const auto usageContext, dao->createTransaction());
    ZEL_TRY_LET(const int removed,
                ResourceCacheDao::deleteResourceUsage(usageContext.get(), usageId));
    if (removed != 1) {
        qCCritical(lcResourceManager) << "Invalid removed rows:" << removed << "for" << reference;
        return ZEL_ERROR(ErrorCode::OperationFailed, tr("Releasing usage of reference failed"));
    }
    ZEL_TRY(error, usageContext->commit());

    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY_LET(const ResourceCleanupPolicy policy, loadCleanupPolicy(reference));
    if (effectiveCleanupPolicy(policy) == ResourceCleanupPolicy::OnClose && isReady(reference))
        ZEL_TRY(error, removeIfNotInUse(context.get(), reference));
    ZEL_TRY(error, context->commit());
    return error;
}

ResourceCleanupPolicy ResourceCache::Private::effectiveCleanupPolicy(
    ResourceCleanupPolicy stored) const
{
    switch (cleanupPolicyRestriction) {
    case ResourceCleanupPolicy::Invalid:
    case ResourceCleanupPolicy::Never:
        return stored;
    case ResourceCleanupPolicy::OnClose:
    case ResourceCleanupPolicy::OnDemand:
        return std::min(stored, cleanupPolicyRestriction);
    }
    return ResourceCleanupPolicy::Invalid;
}

} // namespace zel
