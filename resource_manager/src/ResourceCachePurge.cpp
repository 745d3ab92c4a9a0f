#include "ResourceCache_p.h"

#include "RemovalRange.h"
#include "Task.h"
#include "errors/Propagate.h"
#include "platform/TreeRemoval.h"
#include "references/ResourceReference.h"
#include "zacq/Zacq.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QtNumeric>

#include <limits>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A purge goes below the optimal size, so that the next resource does not start another one.
constexpr double shareOfOptimalSize = 0.9;
/// The first number that no longer is a size.
constexpr double maximumNumber = 9223372036854775808.0;

/// A caller's size may be anything, its sum with ours stays a number.
qint64 sumOf(qint64 left, qint64 right)
{
    qint64 sum = 0;
    if (!qAddOverflow(left, right, &sum))
        return sum;
    return right > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

/// Whether the reference stands for a newer major version than the copy was made of.
bool isOutdated(const QVersionNumber &stored, const QVersionNumber &declared)
{
    return declared.majorVersion() > stored.majorVersion();
}

} // namespace

Error ResourceCache::Private::purgeCacheIfNeeded(qint64 extraSize)
{
    Error error;
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY_LET(const qint64 current, dao->selectCurrentSize());
    const qint64 total = sumOf(current, extraSize);
    if (total <= sizes.optimalSize)
        return ZEL_PASS(context->commit());

    const auto toFree = static_cast<qint64>(
        static_cast<double>(total) - static_cast<double>(sizes.optimalSize) * shareOfOptimalSize);
    error = ZEL_PASS(removeOldestResources(context.get(), toFree));
    if (error.hasError() && total > sizes.maximumSize)
        return error;
    if (error.hasError()) {
        // Between the optimal and the maximum size the cache may stay as it is; rolls back.
        ZEL_DROP(error);
        return Error();
    }
    return ZEL_PASS(context->commit());
}

Error ResourceCache::Private::removeOldestResources(TransactionContext *context, qint64 size)
{
    Error error;
    ZEL_TRY_LET(const auto oldest, dao->selectOldestReferencesWithCombinedSize(context, size));
    for (const ResourceCacheDao::ReferenceAndPath &resource : oldest)
        ZEL_TRY(error,
                removeResourceAndUpdateStatus(context, resource.reference, resource.cachedPath));
    return error;
}

Result<QList<QString>> ResourceCache::Private::outdatedReferences() const
{
    qCDebug(lcResourceManager) << "Determining resources to delete";
    QElapsedTimer timer;
    timer.start();
    ZEL_TRY_LET(const auto resources, dao->selectResources(ResourceStatus::Ready));

    QList<QString> outdated;
    for (const ResourceCacheDao::VersionableResource &resource : resources) {
        ZEL_TRY_LET(const auto reference, ResourceReference::fromString(resource.reference));
        if (isOutdated(resource.version, reference->referenceVersion()))
            outdated.append(resource.reference);
    }
    qCDebug(lcResourceManager).noquote()
        << u"Determining resources for deletion was completed in %1 ms. %2 resources have been "
           "marked for deletion"_s.arg(QString::number(timer.elapsed()),
                                       QString::number(outdated.size()));
    return outdated;
}

Error ResourceCache::Private::deleteResources(const QList<QString> &references, Task *task)
{
    qCDebug(lcResourceManager) << "Deleting resources from the cache";
    QElapsedTimer timer;
    timer.start();
    const int count = static_cast<int>(references.size());
    task->setProgress(0, count);

    // A transaction for each: a cancel or a failure keeps what was done.
    Error error;
    for (int done = 0; done < count; ++done) {
        if (task->isCanceled())
            return ZEL_PASS(Error(ErrorCode::Canceled));
        const QString &reference = references.at(done);
        qCDebug(lcResourceManager).noquote()
            << u"Deleting a resource from the cache pointed by \"%1\" reference"_s.arg(reference);
        ZEL_TRY_LET(const UnknownPath path, localPath(reference));
        ZEL_TRY_LET(const auto context, dao->createTransaction());
        ZEL_TRY(error, removeResourceAndUpdateStatus(context.get(), reference, path));
        ZEL_TRY(error, context->commit());
        task->setProgress(done + 1, count);
    }
    qCDebug(lcResourceManager).noquote() << u"Deleted %1 resources in %2 ms"_s.arg(
        QString::number(count), QString::number(timer.elapsed()));
    return error;
}

Error ResourceCache::Private::removeIfNotInUse(TransactionContext *context,
                                               const QString &reference)
{
    ZEL_TRY_LET(const bool used, inUse(reference));
    if (used)
        return Error();
    ZEL_TRY_LET(const UnknownPath path, localPath(reference));
    return ZEL_PASS(removeResourceAndUpdateStatus(context, reference, path));
}

Error ResourceCache::Private::removeResourceAndUpdateStatus(TransactionContext *context,
                                                            const QString &reference,
                                                            const QString &localPath)
{
    Error error;
    const QString target = QDir::cleanPath(localPath);
    if (QFileInfo::exists(target)) {
        const QDir range = RemovalRange(cachePath.cacheDataDir()).of(target);
        if (zacq::Zacq::isSparseZacq(localPath, false))
            ZEL_TRY(error, zacq::Zacq::remove(localPath));
        error = ZEL_PASS(TreeRemoval::remove(range.absolutePath()));
        if (error.hasError()) {
            qCWarning(lcResourceManager)
                << "Unable to remove dir" << range.absolutePath() << "referenced by" << reference;
            ZEL_DROP(error); // says which name stayed
            return ZEL_ERROR(ErrorCode::OperationFailed, tr("Unable to remove resource."));
        }
    }
    ZEL_TRY(error, updateStatusNow(context, reference, ResourceStatus::Missing));
    ZEL_TRY(error, saveLocalPath(context, reference, 0, std::nullopt));
    return error;
}

} // namespace zel
