#include "ResourceCache_p.h"

#include "RemovalRange.h"
#include "SemaphoreLocker.h"
#include "Task.h"
#include "TaskWithSemaphore.h"
#include "errors/Propagate.h"
#include "platform/TreeRemoval.h"
#include "references/ResourceReference.h"
#include "zacq/Zacq.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QtNumeric>

#include <limits>
#include <utility>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A purge goes below the optimal size, so that the next resource does not start another one.
constexpr double shareOfOptimalSize = 0.9;
/// The first number that no longer is a size.
constexpr double maximumNumber = 9223372036854775808.0;

/// How many of the clients that pin the most space a report names.
constexpr int reportedClients = 3;

/// A caller's size may be anything, its sum with ours stays a number.
qint64 sumOf(qint64 left, qint64 right)
{
    qint64 sum = 0;
    if (!qAddOverflow(left, right, &sum))
        return sum;
    return right > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

/// How much to remove to come from the total size to the purge's goal.
qint64 sizeAboveGoal(qint64 total, qint64 optimalSize)
{
    const double size
        = static_cast<double>(total) - static_cast<double>(optimalSize) * shareOfOptimalSize;
    return size < maximumNumber ? static_cast<qint64>(size) : std::numeric_limits<qint64>::max();
}

QString toText(const ResourceCacheDao::PinnedSize &pinned)
{
    return u"In use: %1 bytes in %2 resources, %3 bytes in %4 of them being fetched"_s.arg(
        QString::number(pinned.size), QString::number(pinned.count),
        QString::number(pinned.fetchedSize), QString::number(pinned.fetchedCount));
}

QString toText(const QList<ResourceCacheDao::PinningClient> &clients)
{
    QStringList texts;
    for (const ResourceCacheDao::PinningClient &client : clients) {
        const QString process
            = client.processId ? u"process %1"_s.arg(*client.processId) : u"process gone"_s;
        texts.append(u"client %1 (%2) %3 bytes in %4 resources"_s.arg(
            QString::number(client.clientId), process, QString::number(client.size),
            QString::number(client.count)));
    }
    return u"Largest users: %1"_s.arg(texts.isEmpty() ? u"none"_s : texts.join(u", "_s));
}

/// Removes the folder around a resource, and those above that hold nothing else.
///
/// Not all of them at once, though they were looked at before:
/// 1. Process A, which has the semaphore, finds that a folder holds nothing but its resource's.
/// 2. Process B begins a fetch, for which it needs no semaphore, and makes a folder beside that.
/// 3. Process A would remove what B has fetched so far.
Error removeFolders(const QList<QDir> &folders)
{
    Error error;
    ZEL_TRY(error, TreeRemoval::remove(folders.first().absolutePath()));
    for (const QDir &folder : folders.sliced(1)) {
        if (QDir().rmdir(folder.absolutePath()))
            continue;
        if (!folder.isEmpty())
            break;
        // Hidden entries keep no folder, and if something else does, it has to be told.
        ZEL_TRY(error, TreeRemoval::remove(folder.absolutePath()));
    }
    return error;
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

    const qint64 toFree = sizeAboveGoal(total, sizes.optimalSize);
    error = ZEL_PASS(removeOldestResources(context.get(), toFree));
    if (error.hasError() && total > sizes.maximumSize)
        return error;
    if (error.hasError()) {
        // Between the optimal and the maximum size the cache may stay as it is; rolls back.
        ZEL_DROP(error);
        return Error();
    }
    ZEL_TRY(error, context->commit());
    // The purge is done; a report that cannot be made does not undo it.
    ZEL_DROP(reportPinnedSize(total - toFree, extraSize));
    return error;
}

Error ResourceCache::Private::reportPinnedSize(qint64 goal, qint64 extraSize)
{
    ZEL_TRY_LET(const qint64 current, dao->selectCurrentSize());
    const qint64 total = sumOf(current, extraSize);
    if (total <= goal || !lcResourceManager().isWarningEnabled()) {
        pinnedSizeReport.clear();
        return Error();
    }

    ZEL_TRY_LET(const ResourceCacheDao::PinnedSize pinned, dao->selectPinnedSize());
    ZEL_TRY_LET(const auto clients, dao->selectPinningClients(reportedClients));
    const QString goalAndExtra = u"%1 bytes (%2 bytes asked for in addition)"_s.arg(
        QString::number(goal), QString::number(extraSize));
    const QString report
        = u"The purge could not free enough: %1 bytes stay above the goal of %2. %3. %4"_s.arg(
            QString::number(total - goal), goalAndExtra, toText(pinned), toText(clients));
    // A cache that its users keep full purges at each resource that comes.
    if (std::exchange(pinnedSizeReport, report) != report)
        qCWarning(lcResourceManager).noquote() << report;
    return Error();
}

Error ResourceCache::Private::removeOldestResources(TransactionContext *context, qint64 size)
{
    QElapsedTimer timer;
    timer.start();
    Error error;
    ZEL_TRY_LET(const auto oldest, dao->selectOldestReferencesWithCombinedSize(context, size));
    for (const ResourceCacheDao::ReferenceAndPath &resource : oldest)
        ZEL_TRY(error,
                removeResourceAndUpdateStatus(context, resource.reference, resource.cachedPath));
    qCDebug(lcResourceManager).noquote() << u"Made room by removing %1 resources in %2 ms"_s.arg(
        QString::number(oldest.size()), QString::number(timer.elapsed()));
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

Result<std::unique_ptr<Task>> ResourceCache::Private::purgeOutdatedResourcesTask(
    std::unique_ptr<SemaphoreLocker> locker)
{
    ZEL_TRY_LET(const QList<QString> outdated, outdatedReferences());
    if (outdated.isEmpty())
        return std::unique_ptr<Task>();

    std::unique_ptr<Task> purge = std::make_unique<TaskWithSemaphore>(std::move(locker));
    const std::weak_ptr<const bool> itsOpening = opening;
    purge->setFunction([this, outdated, itsOpening](Task *task) {
        // In the place where the cache is by now, other copies stand under these references.
        return itsOpening.expired() ? Error(ErrorCode::Canceled) : deleteResources(outdated, task);
    });
    return purge;
}

Error ResourceCache::Private::purgeOutdatedResources()
{
    ZEL_TRY_LET(const std::unique_ptr<Task> task, purgeOutdatedResourcesTask(nullptr));
    if (!task)
        return Error();
    task->exec();
    return ZEL_PASS(task->error());
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
    QElapsedTimer timer;
    timer.start();
    ZEL_TRY_LET(const UnknownPath path, localPath(reference));
    const bool hasData = QFileInfo::exists(QDir::cleanPath(path));
    const Error error = ZEL_PASS(removeResourceAndUpdateStatus(context, reference, path));
    if (!hasData)
        return error;
    // Others have waited for it, whatever came of it.
    const QString text = error.hasError()
        ? u"Unable to delete a resource after its last use, in %1 ms"_s
        : u"Deleted a resource after its last use in %1 ms"_s;
    qCDebug(lcResourceManager).noquote() << text.arg(timer.elapsed());
    return error;
}

Error ResourceCache::Private::removeResourceAndUpdateStatus(TransactionContext *context,
                                                            const QString &reference,
                                                            const QString &localPath)
{
    Error error;
    const QString target = QDir::cleanPath(localPath);
    if (QFileInfo::exists(target)) {
        const QList<QDir> folders = RemovalRange(cachePath.cacheDataDir()).foldersOf(target);
        if (zacq::Zacq::isSparseZacq(localPath, false))
            ZEL_TRY(error, zacq::Zacq::remove(localPath));
        else
            withdraw(target);
        error = ZEL_PASS(removeFolders(folders));
        if (error.hasError()) {
            qCWarning(lcResourceManager) << "Unable to remove dir" << folders.last().absolutePath()
                                         << "referenced by" << reference;
            ZEL_DROP(error); // says which name stayed
            return ZEL_ERROR(ErrorCode::OperationFailed, tr("Unable to remove resource."));
        }
    } else if (!target.isEmpty()) {
        ZEL_DROP(removeWithdrawn(target)); // the row is wrong, whatever else there is
    }
    ZEL_TRY(error, updateStatusNow(context, reference, ResourceStatus::Missing));
    ZEL_TRY(error, saveLocalPath(context, reference, 0, std::nullopt));
    return error;
}

} // namespace zel
