#include "ResourceCache_p.h"

#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/FileIdentity.h"

#include <QFileInfo>

namespace zel {

Result<bool> ResourceCache::Private::tryStartRetrieve(const QString &reference)
{
    Error error;
    ZEL_TRY_LET(const bool inProgress, retrieveInProgress(reference));
    if (inProgress)
        return false;
    // The fetcher that this process was about to join may have ended since the caller looked: what
    // is Ready now is in use, and nobody may fetch over it.
    ZEL_TRY_LET(const ResourceStatus status, loadStatus(reference));
    if (status == ResourceStatus::Ready)
        return false;
    // Both or neither: a progress alone would look like a fetch that nobody runs.
    ZEL_TRY_LET(const auto context, dao->createTransaction());
    ZEL_TRY(error, updateProgress(reference, 0));
    ZEL_TRY(error, saveStatus(reference, ResourceStatus::Acquiring));
    ZEL_TRY(error, context->commit());
    return true;
}

Result<ResourceRetrieveHandle::ProgressAndStatus> ResourceCache::Private::readProgress(
    const QString &reference) const
{
    using ProgressAndStatus = ResourceRetrieveHandle::ProgressAndStatus;

    ZEL_TRY_LET(const ResourceStatus status, loadStatus(reference));
    if (status == ResourceStatus::Missing || status == ResourceStatus::Ready)
        return ProgressAndStatus { std::nullopt, status };
    ZEL_TRY_LET(const std::optional<int> progress, dao->readProgress(reference));
    if (status == ResourceStatus::Acquiring && progress)
        return ProgressAndStatus { progress, status };
    return ProgressAndStatus { std::nullopt, status };
}

ResourceCache::Private::CountedSize ResourceCache::Private::countSize(const UnknownPath &path)
{
    // In this order: what comes to lie there meanwhile is not taken for what was counted.
    const QByteArray identity = fileIdentity(path);
    return { FileUtilsGeneric::contentSize(path), identity };
}

/// Process A fetches and is taken for dead; while it counts, or waits for the semaphore, process B
/// clears its data away and publishes its own in the same place. What A has counted is of no use
/// then.
qint64 ResourceCache::Private::sizeNow(const UnknownPath &path, const CountedSize &counted)
{
    return fileIdentity(path) == counted.identity ? counted.size
                                                  : FileUtilsGeneric::contentSize(path);
}

Error ResourceCache::Private::finalizeRetrieve(const QString &reference, const UnknownPath &path,
                                               const CountedSize &counted,
                                               const QVersionNumber &version,
                                               const Error &retrieveError)
{
    // Its owner reports the failure itself; here it only decides the status.
    if (retrieveError.hasError())
        return ZEL_PASS(giveUpRetrieve(reference));

    Error error;
    if (!QFileInfo::exists(path.toString())) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Trying to finalize retrieve for non existing resource"));
    }
    ZEL_TRY(error, saveLocalPath(reference, path, sizeNow(path, counted)));
    // The data is good as it is, only its path is long.
    ZEL_DROP(postProcess(reference, path));
    ZEL_TRY(error, updateVersion(reference, version));
    ZEL_TRY(error, saveStatus(reference, ResourceStatus::Ready));
    return error;
}

/// Process A fetches and is taken for dead; process B fetches too; then A fails. What B has
/// published may be in use by now, and what B still fetches is no leftover: others would clear
/// either away if they found the resource Missing.
Error ResourceCache::Private::giveUpRetrieve(const QString &reference)
{
    ZEL_TRY_LET(const ResourceStatus status, loadStatus(reference));
    ZEL_TRY_LET(const bool isFetched, dao->retrieveInProgressElsewhere(reference));
    if (status == ResourceStatus::Ready || isFetched)
        return Error();
    return ZEL_PASS(saveStatus(reference, ResourceStatus::Missing));
}

Result<bool> ResourceCache::Private::retrieveInProgress(const QString &reference) const
{
    return ZEL_PASS(dao->retrieveInProgress(reference));
}

Error ResourceCache::Private::updateProgress(const QString &reference, std::optional<int> progress)
{
    return ZEL_PASS(dao->updateProgress(reference, progress));
}

Error ResourceCache::Private::addRetrievingTask(const QString &reference)
{
    Error error;
    // Or this process would wait for a fetch of its own that has ended.
    if (taskRows.isLeftOver(reference)) {
        ZEL_TRY(error, updateProgress(reference, std::nullopt));
        taskRows.setLeftOver(reference, false);
    }
    return ZEL_PASS(dao->addRetrievingTask(reference));
}

/// The rows of this process cannot be told apart, so they go together, with the last handle that
/// has one. Without theirs, several of the others would fetch at once and nobody would see it.
/// Asked under the hold: a handle says that it will have a row before it takes the semaphore for
/// it, so that its row is either spared here or made after this.
Error ResourceCache::Private::removeOwnTask(const QString &reference, bool wasFetching)
{
    const bool isNeeded = taskRows.contains(reference);
    if (isNeeded && !wasFetching)
        return Error();
    // A fetch becomes a mere wish again, so that those who watch it try for themselves.
    const Error error = isNeeded ? ZEL_PASS(updateProgress(reference, std::nullopt))
                                 : ZEL_PASS(deleteRetrievingTask(reference));
    taskRows.setLeftOver(reference, error.hasError());
    return error;
}

void ResourceCache::Private::removeLeftOverTasks()
{
    for (const QString &reference : taskRows.allLeftOver())
        ZEL_DROP(removeOwnTask(reference, true)); // the next ping tries again
}

Error ResourceCache::Private::deleteRetrievingTask(const QString &reference)
{
    return ZEL_PASS(dao->deleteRetrievingTask(reference));
}

} // namespace zel
