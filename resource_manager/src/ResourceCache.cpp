#include "ResourceCache_p.h"

#include "AssociatedResourcesProviderInterface.h"
#include "SemaphoreLocker.h"
#include "SemaphoreRegistry.h"
#include "TaskWithSemaphore.h"
#include "errors/Propagate.h"

#include <QDateTime>
#include <QEventLoop>
#include <QThread>

namespace zel {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto pingPeriod = 5000ms;

/// The key of a cache that was never opened. Registered before the semaphore is made: the
/// registry's own object must be the first of its key.
QString unopenedKey()
{
    return SemaphoreRegistry::keep(u"zel::ResourceCache"_s)->key;
}

} // namespace

// Private: what takes the semaphore or is given it

ResourceCache::Private::Private(ResourceCache *owner, std::unique_ptr<ResourceCacheDao> givenDao)
    : pingTimer(new QTimer)
    , pingGate(std::make_shared<PingGate>())
    , q(owner)
    , dao(givenDao ? std::move(givenDao) : std::make_unique<ResourceCacheDao>())
    , semaphore(semaphoreOf(unopenedKey()))
{
    pingGate->owner = this;
    pingTimer->setInterval(pingPeriod);
    const auto ping = [gate = pingGate] {
        gate->pass([](Private *cache) { cache->pingDatabase(); });
    };
    QObject::connect(pingTimer.get(), &QTimer::timeout, pingTimer.get(), ping,
                     Qt::DirectConnection);
}

ResourceCache::Private::~Private()
{
    waitForFileSizesUpdate();
    close();
    // After the semaphore is free again: a ping that waits for it holds the gate.
    const std::lock_guard lock(pingGate->mutex);
    pingGate->owner = nullptr;
}

void ResourceCache::Private::PingGate::pass(const std::function<void(Private *)> &work)
{
    // Whoever has the gate now ends the pings. He is not waited for: this thread may hold the
    // semaphore, for which a ping waits behind the gate.
    const std::unique_lock lock(mutex, std::try_to_lock);
    if (lock.owns_lock() && owner)
        work(owner);
}

void ResourceCache::Private::DeletionOnItsThread::operator()(QTimer *timer) const
{
    const QThread *thread = timer->thread();
    if (!thread || thread->isFinished() || thread == QThread::currentThread())
        delete timer;
    else
        timer->deleteLater();
}

Error ResourceCache::Private::open(const ResourceCachePath &path,
                                   const ResourceCacheSizes &newSizes)
{
    waitForFileSizesUpdate();
    updateSemaphoreKey(path); // before the lock: the key selects what is locked
    const auto lock = hold();

    retryOpenAfter.reset();
    Error error = ZEL_PASS(dao->open(path.databasePath()));
    if (error.hasError()) {
        // It may have been open before.
        endOpening();
        // A process that died under this number is still registered; it must not block for ever.
        retryOpenAfter = dao->abandonOpen();
        return error;
    }
    opening = std::make_shared<bool>(true);
    directoryUse = std::make_unique<DirectoryUse>(SemaphoreRegistry::find(semaphore.load()->key()));
    taskRows.clear();
    pinnedSizeReport.clear(); // it was of what was open before
    ZEL_TRY(error, cleanupInactiveClients());

    startPing();
    cachePath.setBaseDirPath(path.baseDirPath());
    sizes = newSizes;
    return error;
}

void ResourceCache::Private::close()
{
    const auto lock = hold();
    endOpening();
    dao->close();
}

void ResourceCache::Private::endOpening()
{
    stopPing();
    opening.reset();
    directoryUse.reset();
    taskRows.clear();
}

void ResourceCache::Private::updateSemaphoreKey(const ResourceCachePath &path)
{
    const QString key = ResourceCachePath::semaphoreKeyFor(path.baseDirPath());
    RegisteredSemaphore *entry = SemaphoreRegistry::keepForDirectory(key, path.baseDirPath());
    if (semaphore != semaphoreOf(key))
        moveTo(semaphoreOf(key));
    // The registered object is the one that is taken.
    if (const auto refusal = SemaphoreRegistry::takeRefusal(entry)) {
        qCCritical(lcResourceManager)
            << "Going on without the system semaphore" << key << ":" << *refusal;
    }
    qCDebug(lcResourceManager).noquote() << u"System semaphore key set to %1"_s.arg(key);
}

/// How a cache moves to another base directory, with everybody else at work on it:
///
/// 1. open() waits for a count of sizes, and here for whoever holds the former place.
/// 2. The database is closed, and hold() gets another semaphore to wait for.
/// 3. Whoever has waited for the former one gets it, notices that (see hold()), gives it back and
///    waits for the new one.
/// 4. open() holds the new place and opens the database there. Who comes in between finds a closed
///    cache.
void ResourceCache::Private::moveTo(QSystemSemaphore *newSemaphore)
{
    const auto lock = holdUnlessHeld();
    endOpening();
    dao->close();
    semaphore = newSemaphore;
}

QSystemSemaphore *ResourceCache::Private::semaphoreOf(const QString &key)
{
    std::unique_ptr<QSystemSemaphore> &kept = semaphores[key];
    if (!kept)
        kept = std::make_unique<QSystemSemaphore>(key, 1, QSystemSemaphore::Open);
    return kept.get();
}

std::unique_ptr<SemaphoreLocker> ResourceCache::Private::hold()
{
    for (;;) {
        QSystemSemaphore *const wanted = semaphore;
        auto lock = std::make_unique<SemaphoreLocker>(wanted, 1);
        // Has the cache moved while this thread waited, then what it got guards another one.
        if (wanted == semaphore)
            return lock;
    }
}

/// Null if this thread has the cache already, as the owner of a purge that has not run.
std::unique_ptr<SemaphoreLocker> ResourceCache::Private::holdUnlessHeld()
{
    return isHeldByThisThread() ? nullptr : hold();
}

void ResourceCache::Private::waitForHolder()
{
    const auto lock = hold();
}

bool ResourceCache::Private::isHeldByThisThread() const
{
    return SemaphoreLocker::isHeldByThisThread(*semaphore);
}

void ResourceCache::Private::startPing()
{
    const int request = ++pingRequest;
    if (pingTimer->thread() != QThread::currentThread()) {
        postPingRequest(request, &QTimer::start);
        return;
    }
    // A plain thread has no event dispatcher, and so no timers, before its first event loop.
    const QEventLoop dispatcherMaker;
    pingTimer->start();
}

void ResourceCache::Private::stopPing()
{
    const int request = ++pingRequest;
    if (pingTimer->thread() == QThread::currentThread())
        pingTimer->stop();
    else
        postPingRequest(request, &QTimer::stop);
}

void ResourceCache::Private::postPingRequest(int request, void (QTimer::*startOrStop)())
{
    const auto act = [gate = pingGate, request, startOrStop] {
        gate->pass([&](Private *cache) {
            if (cache->pingRequest == request)
                (cache->pingTimer.get()->*startOrStop)();
        });
    };
    QMetaObject::invokeMethod(pingTimer.get(), act, Qt::QueuedConnection);
}

void ResourceCache::Private::pingDatabase()
{
    // The thread may have made a purge task that holds the semaphore and has not run yet.
    if (isHeldByThisThread())
        return;
    const auto lock = hold();
    if (!dao->isOpen())
        return;
    // The next tick pings again, and a process without a ping is cleaned up by the others.
    ZEL_IGNORE(dao->updateClientLastPingTime(QDateTime::currentMSecsSinceEpoch()));
    // The next tick tries again.
    ZEL_DROP(cleanupInactiveClients());
    removeLeftOverTasks();
}

void ResourceCache::Private::onFinishedUsing(const QString &reference, qint64 usageId,
                                             const std::weak_ptr<const bool> &itsOpening)
{
    const auto lock = hold();
    // close() has taken the row with all others of this process, and its number may by now stand
    // for somebody else's use in another database.
    if (itsOpening.expired())
        return;
    // A destructor has nobody to report to; the row goes with this process at the latest.
    ZEL_DROP(removeUsage(reference, usageId));
}

void ResourceCache::Private::startFileSizesUpdateIfNeeded()
{
    // One hold from the question to the end of the scan: of several processes that open together
    // the first one scans, and the others find its time.
    auto lock = hold();
    if (!isFileSizesUpdateDue())
        return;

    auto *scan = new TaskWithSemaphore(std::move(lock));
    fileSizesTask = scan;
    fileSizesThread = QThread::currentThread();
    scan->setExecutionMode(Task::ExecutionMode::Asynchronous);
    scan->setFunction([this](Task *) { return updateFileSizes(); });
    scan->setDeleteOnFinished(true);
    scan->exec();
    // There may have been no thread for it; the next opening tries again.
    ZEL_DROP(scan->error());
}

bool ResourceCache::Private::isFileSizesUpdateDue() const
{
    const auto timestamp = dao->lastScanTimestamp();
    if (!timestamp.hasValue()) {
        ZEL_DROP(timestamp.error()); // the cache is open all the same; the next opening tries again
        return false;
    }
    const auto lastScan = QDateTime::fromSecsSinceEpoch(timestamp.value());
    return lastScan.daysTo(QDateTime::currentDateTime()) >= fullScanInterval.count();
}

void ResourceCache::Private::waitForFileSizesUpdate()
{
    if (!fileSizesTask)
        return;
    // Where its thread still runs, the task may go at any time, and does so by itself.
    const bool goesByItself = fileSizesThread && !fileSizesThread->isFinished()
        && fileSizesThread != QThread::currentThread();
    if (goesByItself)
        waitForHolder(); // which the scan is until it ends
    else
        delete fileSizesTask.data(); // no event loop may be left that would; waits for the worker
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

// ResourceCache: the atomic operations

ResourceCache::ResourceCache()
    : ResourceCache(nullptr)
{
}

ResourceCache::ResourceCache(std::unique_ptr<ResourceCacheDao> dao)
    : d(std::make_unique<Private>(this, std::move(dao)))
{
}

ResourceCache::~ResourceCache() = default;

ResourceCacheDao *ResourceCache::dao()
{
    return d->dao.get();
}

Error ResourceCache::open(const ResourceCachePath &path, const ResourceCacheSizes &sizes)
{
    Error error;
    ZEL_TRY(error, d->open(path, sizes));
    d->startFileSizesUpdateIfNeeded();
    return error;
}

void ResourceCache::close()
{
    d->close();
}

bool ResourceCache::isOpen() const
{
    const auto lock = d->hold();
    return d->dao->isOpen();
}

std::optional<std::chrono::milliseconds> ResourceCache::retryOpenAfter() const
{
    return d->retryOpenAfter;
}

ResourceCachePath ResourceCache::path() const
{
    return d->cachePath;
}

ResourceCacheSizes ResourceCache::sizes() const
{
    return d->sizes;
}

Error ResourceCache::setSizes(const ResourceCacheSizes &newSizes)
{
    const ResourceCacheSizes oldSizes = d->sizes;
    d->sizes = newSizes;
    Error error;
    if (newSizes.maximumSize < oldSizes.maximumSize)
        ZEL_TRY(error, purgeCacheIfNeeded(0));
    return error;
}

void ResourceCache::setPingEnabled(bool enabled)
{
    if (!enabled)
        d->stopPing();
    else if (d->dao->isOpen())
        d->startPing();
}

void ResourceCache::setFullScanInterval(std::chrono::duration<int, std::ratio<86400>> interval)
{
    d->fullScanInterval = interval;
}

void ResourceCache::setFixLongZacqFilePaths(bool fix)
{
    d->fixLongZacqFilePaths = fix;
}

bool ResourceCache::isFixLongZacqFilePathsSet() const
{
    return d->fixLongZacqFilePaths;
}

void ResourceCache::setCleanupPolicyRestriction(const ResourceCleanupPolicy &restriction)
{
    d->cleanupPolicyRestriction = restriction;
}

ResourceCleanupPolicy ResourceCache::cleanupPolicyRestriction() const
{
    return d->cleanupPolicyRestriction;
}

void ResourceCache::registerAssociatedResourcesProvider(
    ExtendableEnumRef<FileTypes::FileTypeData> type,
    std::unique_ptr<AssociatedResourcesProviderInterface> provider)
{
    d->associatedResourcesProviders.insert_or_assign(type, std::move(provider));
}

void ResourceCache::unregisterAssociatedResourcesProvider(
    ExtendableEnumRef<FileTypes::FileTypeData> type)
{
    d->associatedResourcesProviders.erase(type);
}

void ResourceCache::clearAssociatedResourcesProviders()
{
    d->associatedResourcesProviders.clear();
}

Error ResourceCache::add(const QString &reference, ResourceCleanupPolicy policy)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->add(reference, policy));
}

Error ResourceCache::saveStatus(const QString &reference, ResourceStatus status)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->saveStatus(reference, status));
}

Result<ResourceStatus> ResourceCache::readStatus(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->loadStatus(reference));
}

Error ResourceCache::saveCleanupPolicy(const QString &reference, ResourceCleanupPolicy policy)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->saveCleanupPolicy(reference, policy));
}

Result<ResourceCleanupPolicy> ResourceCache::readCleanupPolicy(const QString &reference) const
{
    const auto lock = d->hold();
    return ZEL_PASS(d->loadCleanupPolicy(reference));
}

Error ResourceCache::saveLocalPath(const QString &reference,
                                   const PathImpl<PathType::Unknown> &path, qint64 size)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->saveLocalPath(reference, path, size));
}

Result<PathImpl<PathType::Unknown>> ResourceCache::readLocalPath(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->localPath(reference));
}

Error ResourceCache::updateVersion(const QString &reference, const QVersionNumber &version)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->updateVersion(reference, version));
}

Result<bool> ResourceCache::existsInDb(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->existsInDb(reference));
}

Result<bool> ResourceCache::inUse(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->inUse(reference));
}

Result<std::unique_ptr<ResourceCache::InUseHandle>> ResourceCache::useResource(
    const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->useResource(reference));
}

Result<ResourceCache::Leftovers> ResourceCache::moveLeftoversAside(
    const QString &reference, const PathImpl<PathType::Unknown> &path)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->moveLeftoversAside(reference, path));
}

Error ResourceCache::updateFileSize(const QString &reference)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->updateFileSize(reference));
}

Error ResourceCache::updateFileSizes()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->updateFileSizes());
}

Error ResourceCache::rebuildMetadata()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->rebuildMetadata());
}

Result<qint64> ResourceCache::readCurrentCacheSize()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->dao->selectCurrentSize());
}

Error ResourceCache::purgeCacheIfNeeded(qint64 extraSize)
{
    const auto lock = d->hold();
    return ZEL_PASS(d->purgeCacheIfNeeded(extraSize));
}

Error ResourceCache::purgeOutdatedResources()
{
    const auto lock = d->hold();
    return ZEL_PASS(d->purgeOutdatedResources());
}

Result<std::unique_ptr<Task>> ResourceCache::purgeOutdatedResourcesTask()
{
    auto lock = d->hold();
    return ZEL_PASS(d->purgeOutdatedResourcesTask(std::move(lock)));
}

} // namespace zel
