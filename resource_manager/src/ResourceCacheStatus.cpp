#include "ResourceCache_p.h"

#include "errors/Propagate.h"

#include <QDateTime>

namespace zel {

using namespace Qt::Literals::StringLiterals;

Error ResourceCache::Private::add(const QString &reference, ResourceCleanupPolicy policy)
{
    // A failing purge never stops an add.
    ZEL_DROP(purgeCacheIfNeeded(0));
    return ZEL_PASS(dao->insertResource(reference, ResourceStatus::Missing, policy,
                                        QDateTime::currentMSecsSinceEpoch()));
}

Error ResourceCache::Private::saveStatus(const QString &reference, ResourceStatus status)
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    if (status == ResourceStatus::Ready && !localPathInternal(reference).hasValue()) {
        qCCritical(lcResourceManager) << "Marking resource that does not have local path set is "
                                         "not valid. Please add local path first.";
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Resource status cannot be updated properly."));
    }
    ZEL_TRY(error, updateStatusNow(context.get(), reference, status));
    ZEL_TRY(error, context->commit());
    return error;
}

Error ResourceCache::Private::updateStatusNow(TransactionContext *context, const QString &reference,
                                              ResourceStatus status)
{
    return ZEL_PASS(ResourceCacheDao::updateResourceStatus(context, reference, status,
                                                           QDateTime::currentMSecsSinceEpoch()));
}

Result<ResourceStatus> ResourceCache::Private::loadStatus(const QString &reference) const
{
    ZEL_TRY_LET(const bool exists, existsInDb(reference));
    if (!exists)
        return ResourceStatus::Missing;
    return ZEL_PASS(dao->selectStatus(reference));
}

bool ResourceCache::Private::isReady(const QString &reference) const
{
    const Result<ResourceStatus> status = loadStatus(reference);
    ZEL_DROP(status);
    return status.hasValue() && status.value() == ResourceStatus::Ready;
}

bool ResourceCache::Private::isMissing(const QString &reference) const
{
    const Result<ResourceStatus> status = loadStatus(reference);
    ZEL_DROP(status);
    return !status.hasValue() || status.value() == ResourceStatus::Missing;
}

Error ResourceCache::Private::saveCleanupPolicy(const QString &reference,
                                                ResourceCleanupPolicy policy)
{
    return ZEL_PASS(dao->updateResourceCleanupPolicy(reference, policy));
}

Result<ResourceCleanupPolicy> ResourceCache::Private::loadCleanupPolicy(
    const QString &reference) const
{
    return ZEL_PASS(dao->selectCleanupPolicy(reference));
}

Error ResourceCache::Private::saveLocalPath(const QString &reference, const UnknownPath &path,
                                            qint64 size)
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY(error, saveLocalPath(context.get(), reference, size, path));
    ZEL_TRY(error, context->commit());
    return error;
}

Error ResourceCache::Private::saveLocalPath(TransactionContext *context, const QString &reference,
                                            qint64 size, const std::optional<UnknownPath> &path)
{
    const QVariant pathValue = path ? QVariant(path->toString()) : QVariant();
    const QVariant sizeValue = path ? QVariant(size) : QVariant();
    return ZEL_PASS(
        ResourceCacheDao::updateResourceLocalPath(context, reference, pathValue, sizeValue));
}

Result<ResourceCache::Private::UnknownPath> ResourceCache::Private::localPath(
    const QString &reference) const
{
    ZEL_TRY_LET(const ResourceStatus status, loadStatus(reference));
    if (status == ResourceStatus::Missing) {
        qCCritical(lcResourceManager) << reference << "is missing.";
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Unable to get local path for missing resource."));
    }
    return ZEL_PASS(localPathInternal(reference));
}

Result<ResourceCache::Private::UnknownPath> ResourceCache::Private::localPathInternal(
    const QString &reference) const
{
    ZEL_TRY_LET(const QString path, dao->selectLocalPath(reference));
    return UnknownPath(path);
}

Error ResourceCache::Private::updateVersion(const QString &reference, const QVersionNumber &version)
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY(error, updateVersion(context.get(), reference, version));
    ZEL_TRY(error, context->commit());
    return error;
}

Error ResourceCache::Private::updateVersion(TransactionContext *context, const QString &reference,
                                            const QVersionNumber &version)
{
    return ZEL_PASS(ResourceCacheDao::updateResourceVersion(context, reference, version));
}

Result<bool> ResourceCache::Private::existsInDb(const QString &reference) const
{
    return ZEL_PASS(dao->containsResourceInDb(reference));
}

Result<bool> ResourceCache::Private::inUse(const QString &reference) const
{
    return ZEL_PASS(dao->containsResourceUsage(reference));
}

} // namespace zel
