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

ResourceCache::Private::Private(ResourceCache *owner, std::unique_ptr<ResourceCacheDao> givenDao)
    : pingTimer(new QTimer)
    , pingGate(std::make_shared<PingGate>())
    , q(owner)
    , dao(givenDao ? std::move(givenDao) : std::make_unique<ResourceCacheDao>())
    , semaphore(semaphoreOf(unopenedKey()))
{
    if (dao->isOpen())
        opening = std::make_shared<bool>(true);
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
    // Without a trace: the next tick pings again, and where the file cannot be used, the cleanup
    // behind it tells.
    ZEL_IGNORE(dao->updateClientLastPingTime(QDateTime::currentMSecsSinceEpoch()));
    // The next tick tries again.
    ZEL_DROP(cleanupInactiveClients());
    removeLeftOverTasks();
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

} // namespace zel
