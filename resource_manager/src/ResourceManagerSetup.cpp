#include "AssociatedResourcesProviderInterface.h"
#include "MsDataAssociatedResourcesProvider.h"
#include "MsFileTypes.h"
#include "ResourceCache.h"
#include "ResourceManager_p.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"

#include <QDir>
#include <QFileInfo>
#include <QThread>

#include <thread>

namespace zel {

namespace {

constexpr int maxRunningTasks = 6;

// What the host asked for before the manager exists; read once, when it is made. No code runs for
// these when the library loads, and nobody asks for them at its end.
constinit std::optional<ResourceManagerSettings> // clazy:exclude=non-pod-global-static
    defaultSettingsOverride;
constinit std::optional<std::chrono::days> fullScanIntervalOverride;

struct AddedProvider
{
    ExtendableEnumRef<FileTypes::FileTypeData> type;
    std::function<std::unique_ptr<AssociatedResourcesProviderInterface>()> make;
};
constinit std::vector<AddedProvider> addedProviders; // clazy:exclude=non-pod-global-static

} // namespace

ResourceManager::ResourceManager(const std::optional<ResourceManagerSettings> &settings)
    : d(std::make_unique<Private>(this, settings))
{
}

ResourceManager::~ResourceManager() = default;

ResourceManager &ResourceManager::instance()
{
    static ResourceManager manager(defaultSettingsOverride);
    return manager;
}

void ResourceManager::overrideDefaultSettings(const ResourceManagerSettings &settings)
{
    defaultSettingsOverride = settings;
}

void ResourceManager::overrideDefaultFullScanInterval(std::chrono::days interval)
{
    fullScanIntervalOverride = interval;
}

void ResourceManager::addAssociatedResourcesProvider(
    ExtendableEnumRef<FileTypes::FileTypeData> type,
    const std::function<std::unique_ptr<AssociatedResourcesProviderInterface>()> &maker)
{
    addedProviders.push_back({ type, maker });
}

Error ResourceManager::updateSettings(const ResourceManagerSettings &settings)
{
    return ZEL_PASS(instance().d->setSettings(settings));
}

Error ResourceManager::openCache(const ResourceCachePath &path, const ResourceCacheSizes &sizes)
{
    return ZEL_PASS(d->openCache(path, sizes));
}

ResourceManager::Private::Private(ResourceManager *owner,
                                  const std::optional<ResourceManagerSettings> &givenSettings)
    : q(owner)
    , settings(givenSettings ? *givenSettings : ResourceManagerSettings::loadSettings())
    , cache(std::make_unique<ResourceCache>())
    , tasksQueue(nullptr)
{
    if (fullScanIntervalOverride)
        cache->setFullScanInterval(*fullScanIntervalOverride);
    cache->registerAssociatedResourcesProvider(
        msreader::MsFileTypes::ms, std::make_unique<MsDataAssociatedResourcesProvider>());
    for (const AddedProvider &added : addedProviders)
        cache->registerAssociatedResourcesProvider(added.type, added.make());
    openCacheAtStart();
    tasksQueue.setConnectionType(Qt::DirectConnection);
    tasksQueue.setMaxRunningTasksCount(maxRunningTasks);
}

ResourceManager::Private::~Private()
{
    const std::lock_guard lock(memoGuard->mutex);
    memoGuard->isOpen = false;
}

void ResourceManager::Private::enqueueTask(Task *task)
{
    QThread *thread = tasksQueue.executionThread();
    if (task->thread() != thread) {
        // A child cannot be moved by itself; a group owns its subtasks without being their parent.
        task->setParent(nullptr);
        task->moveToThread(thread);
    }
    tasksQueue.append(task);
}

void ResourceManager::Private::openCacheAtStart()
{
    Error error = openCache(settings.cachePath, settings.sizes);
    // A process that was killed under the number that this one has now still stands in the
    // database. When it has been silent for long enough, the first try that meets it takes it out,
    // and only the next one can succeed.
    if (const auto pause = cache->retryOpenAfter(); error.hasError() && pause) {
        std::this_thread::sleep_for(*pause);
        error = openCache(settings.cachePath, settings.sizes);
    }
    if (error.hasError())
        error = openCache(settings.cachePath, settings.sizes);
    // A constructor has nobody to tell; all that needs the cache will fail by itself.
    ZEL_DROP(error);
}

Error ResourceManager::Private::openCache(const ResourceCachePath &path,
                                          const ResourceCacheSizes &sizes)
{
    if (cache->isOpen())
        cache->close();

    Error error;
    const QFileInfo baseDir(path.baseDirPath());
    if (!baseDir.exists())
        ZEL_TRY(error, FileUtilsGeneric::mkPath(baseDir.absoluteFilePath()));
    error = ZEL_PASS(cache->open(path, sizes));
    // Only the clean-up has failed then: it is open on the new place, with the old settings.
    if (error.hasError() && cache->isOpen())
        cache->close();
    return error;
}

Error ResourceManager::Private::setSettings(const ResourceManagerSettings &newSettings)
{
    const QString oldBaseDir = QDir::cleanPath(settings.cachePath.baseDirPath());
    const QString newBaseDir = QDir::cleanPath(newSettings.cachePath.baseDirPath());
    settings = newSettings;
    if (newBaseDir == oldBaseDir)
        return ZEL_PASS(cache->setSizes(settings.sizes));

    Error error;
    ZEL_TRY(error, makeDataDir());
    Q_EMIT q->cachePathChanged(settings.cachePath);
    if (cache->isOpen())
        ZEL_TRY(error, openCache(settings.cachePath, settings.sizes));
    return error;
}

Error ResourceManager::Private::makeDataDir() const
{
    const QString dataDir = settings.cachePath.cacheDataDir();
    if (QFileInfo::exists(dataDir) || QFileInfo(dataDir).dir().mkpath(dataDir))
        return Error();
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     ResourceManager::tr("Failed to create cache directory %1").arg(dataDir));
}

} // namespace zel
