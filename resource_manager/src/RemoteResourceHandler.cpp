#include "RemoteResourceHandler.h"

#include "Hidden.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "ResourceRetrieveHandle.h"
#include "errors/Propagate.h"
#include "files/FileUtils.h"
#include "files/FileUtilsGeneric.h"
#include "files/WholeCopy.h"
#include "platform/FileSync.h"
#include "tasks/RemoteResourceRetrievingTask.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

using namespace Qt::Literals::StringLiterals;

class ZEL_RESOURCE_MANAGER_HIDDEN RemoteResourceHandler::Private
{
public:
    Private(RemoteResourceHandler *owner, ResourceCache *cache,
            const QSharedPointer<ResourceReference> &reference);

    void use();
    void useIfUnmarked();
    PathImpl<PathType::Unknown> localPath() const;
    std::optional<std::unique_ptr<Task>> retrieveTask();
    Error copyToLocalPath(const QString &source);
    Error copyFile(const QString &source);
    Error copyFolder(const QString &source) const;
    Error publish();

    RemoteResourceHandler *q;
    ResourceCache *cache;
    QSharedPointer<ResourceReference> reference;
    QString referenceKey;
    std::unique_ptr<ResourceCache::InUseHandle> inUseHandle;
    /// The file that addToCache() has copied and of which no row could be made to tell. It stays,
    /// and the next call may replace it.
    WholeCopy::Placed unpublished;
};

RemoteResourceHandler::Private::Private(RemoteResourceHandler *owner, ResourceCache *cache,
                                        const QSharedPointer<ResourceReference> &reference)
    : q(owner)
    , cache(cache)
    , reference(reference)
    , referenceKey(reference->referenceText(false))
{
    use();
}

void RemoteResourceHandler::Private::use()
{
    auto handle = cache->useResource(referenceKey);
    if (handle.hasValue())
        inUseHandle = std::move(handle).value();
    else
        ZEL_DROP(handle.error()); // Unmarked it still works; the resource may be purged under it.
}

/// Who asks for the resource after the cache was opened, for the first time or anew, gets this same
/// handler if somebody, such as a fetch, has kept it alive. It has to keep the data as a new one
/// would.
void RemoteResourceHandler::Private::useIfUnmarked()
{
    const bool isMarked = inUseHandle && inUseHandle->isInForce();
    if (!isMarked && cache->isOpen())
        use();
}

PathImpl<PathType::Unknown> RemoteResourceHandler::Private::localPath() const
{
    // All three at once: a percent sign in one of them is no placeholder.
    return QDir::cleanPath(u"%1/%2/%3"_s.arg(
        ResourceManager::cachePath().cacheDataDir(),
        ResourceReference::schemeFriendlyName(reference->scheme()), q->cacheFileName()));
}

std::optional<std::unique_ptr<Task>> RemoteResourceHandler::Private::retrieveTask()
{
    // The caller only learns that there is no task; the reasons stand in the log.
    const auto targetDirectory = q->createTargetDirectory();
    const auto path = q->localPath();
    if (!targetDirectory.hasValue() || !path.hasValue()) {
        ZEL_DROP(targetDirectory);
        ZEL_DROP(path);
        return std::nullopt;
    }

    auto handle = std::make_unique<ResourceRetrieveHandle>(referenceKey, path.value(), cache,
                                                           reference->referenceVersion());
    auto task = q->createRetrieveTask(targetDirectory.value());
    if (!task)
        return std::nullopt;
    return std::make_unique<RemoteResourceRetrievingTask>(std::move(handle), std::move(task),
                                                          reference->referenceText(true), nullptr);
}

Error RemoteResourceHandler::Private::copyToLocalPath(const QString &source)
{
    const bool isFile = QFileInfo(source).isFile();
    return ZEL_PASS(isFile ? copyFile(source) : copyFolder(source));
}

Error RemoteResourceHandler::Private::copyFile(const QString &source)
{
    const Error failure = WholeCopy::copyOver(source, localPath(), &unpublished);
    if (!failure.hasError())
        return {};
    ZEL_DROP(failure); // the caller only learns that it is not there; the reason stands in the log
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     tr("Copying a file to the cache location failed."));
}

Error RemoteResourceHandler::Private::copyFolder(const QString &source) const
{
    Error error;
    const QString target = localPath();
    ZEL_TRY(error, FileUtilsGeneric::mkPath(target));
    const FileUtils::CopyFilesOptions options(RecursionPolicy::Recursive,
                                              DuplicateFilesPolicy::Overwrite);
    if (!FileUtils::copyFiles(source, target, options, {}, {}, nullptr)) {
        return ZEL_ERROR(ErrorCode::OperationFailed,
                         tr("Copying a directory to the cache location failed."));
    }
    return error;
}

Error RemoteResourceHandler::Private::publish()
{
    // Ready as the last step: nobody is to see it without data.
    Error error;
    const auto path = localPath();
    ZEL_TRY(error, cache->saveLocalPath(referenceKey, path, FileUtilsGeneric::contentSize(path)));
    ZEL_TRY(error, cache->updateVersion(referenceKey, reference->referenceVersion()));
    ZEL_TRY(error, cache->saveStatus(referenceKey, ResourceStatus::Ready));
    unpublished = {};
    return error;
}

RemoteResourceHandler::RemoteResourceHandler(const QSharedPointer<ResourceReference> &reference,
                                             ResourceCache *cache)
    : ResourceHandler(reference)
    , d(std::make_unique<Private>(this, cache, reference))
{
}

RemoteResourceHandler::~RemoteResourceHandler() = default;

Result<ResourceCleanupPolicy> RemoteResourceHandler::cleanupPolicy() const
{
    d->useIfUnmarked();
    return ZEL_PASS(d->cache->readCleanupPolicy(d->referenceKey));
}

Error RemoteResourceHandler::setCleanupPolicy(const ResourceCleanupPolicy &policy)
{
    d->useIfUnmarked();
    return ZEL_PASS(d->cache->saveCleanupPolicy(d->referenceKey, policy));
}

bool RemoteResourceHandler::isAvailableLocally() const
{
    d->useIfUnmarked();
    const auto status = d->cache->readStatus(d->referenceKey);
    if (!status.hasValue()) {
        // What the cache cannot vouch for counts as not here.
        ZEL_DROP(status);
        return false;
    }
    return status.value() == ResourceStatus::Ready && ResourceHandler::isAvailableLocally();
}

std::optional<std::unique_ptr<Task>> RemoteResourceHandler::retrieveTask()
{
    return d->retrieveTask();
}

Result<PathImpl<PathType::Unknown>> RemoteResourceHandler::localPath() const
{
    return d->localPath();
}

Result<PathImpl<PathType::Dir>> RemoteResourceHandler::createTargetDirectory()
{
    Error error;
    const QString directory = QFileInfo(d->localPath()).dir().absolutePath();
    // Whoever puts something into the folder brings its name to the disk with that. The folders
    // around it are there for many resources, and nobody who finds one looks further.
    const QString around = QFileInfo(directory).path();
    const QStringList changed
        = QFileInfo::exists(around) ? QStringList() : FileSync::foldersAround(around);
    ZEL_TRY(error, FileUtilsGeneric::mkPath(directory));
    ZEL_TRY(error, FileSync::syncDirectories(changed));
    return PathImpl<PathType::Dir>(directory);
}

Error RemoteResourceHandler::addToCache(const PathImpl<PathType::Unknown> &source)
{
    const std::function<Error()> copier = [this, source] {
        return d->copyToLocalPath(source);
    };
    return ZEL_PASS(addToCache(copier));
}

Error RemoteResourceHandler::addToCache(const std::function<Error()> &copier)
{
    d->useIfUnmarked();
    ZEL_TRY_LET(const auto targetDirectory, createTargetDirectory());
    Error error;
    ZEL_TRY(error, copier());
    ZEL_TRY(error, d->publish());
    return error;
}

} // namespace zel
