#include "ResourceHandler.h"

#include "CoroutineWait.h"
#include "ResourceHandlerFactory.h"
#include "ResourceManager.h"
#include "errors/Propagate.h"
#include "tasks/GetSiblingsTask.h"

#include <QFileInfo>

namespace zel {

ResourceHandler::ResourceHandler(const QSharedPointer<ResourceReference> &reference)
    : reference_(reference)
{
}

ResourceHandler::~ResourceHandler() = default;

Result<QSharedPointer<ResourceHandler>> ResourceHandler::create(
    QSharedPointer<ResourceReference> reference, ResourceCache *cache)
{
    if (!reference)
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Null reference provided."));
    return ZEL_PASS(ResourceHandlerFactory::create(reference, cache));
}

bool ResourceHandler::isAvailableLocally() const
{
    const auto path = localPath();
    if (!path.hasValue()) {
        // A handler that cannot say where its resource would be has none here.
        ZEL_DROP(path);
        return false;
    }
    const QFileInfo info(path.value());
    return info.exists() && info.isReadable();
}

Result<std::unique_ptr<GetSiblingsTask>> ResourceHandler::siblings() const
{
    return ZEL_ERROR(ErrorCode::FeatureLacking, tr("A feature is not supported"));
}

QSharedPointer<ResourceReference> ResourceHandler::reference() const
{
    return reference_;
}

Result<bool> ResourceHandler::exists() const
{
    return ZEL_PASS(ResourceManager::exists(this));
}

Result<std::unique_ptr<Task>> ResourceHandler::existsAsync(AsyncProcessingType type) const
{
    return ZEL_PASS(ResourceManager::existsAsync(this, type));
}

QCoro::Task<Result<bool>> ResourceHandler::co_exists() const
{
    auto answer = ResourceManager::co_exists(this);
    auto result = co_await answer;
    co_return ZEL_PASS(result);
}

Result<PathImpl<PathType::Unknown>> ResourceHandler::expectedPath() const
{
    return ZEL_PASS(localPath());
}

Result<PathImpl<PathType::Unknown>> ResourceHandler::grab() const
{
    return ZEL_PASS(waitForCoroutine(co_grab()));
}

QCoro::Task<Result<PathImpl<PathType::Unknown>>> ResourceHandler::co_grab() const
{
    auto answer = co_exists();
    auto result = co_await answer;
    ZEL_CO_TRY_LET(const bool isThere, result);
    if (!isThere) {
        qCCritical(lcResourceManager).noquote()
            << reference_->referenceText(false)
            << "does not exist or user does not have rights to access it.";
        co_return ZEL_ERROR(ErrorCode::OperationFailed,
                            tr("Resource %1 does not exist").arg(reference_->referenceText(true)));
    }
    co_return ZEL_PASS(localPath());
}

Error ResourceHandler::retrieve(ResourcePromptingInterface *prompting)
{
    return ZEL_PASS(ResourceManager::retrieve(this, prompting));
}

Result<std::unique_ptr<Task>> ResourceHandler::retrieveAsync(AsyncProcessingType type,
                                                             ResourcePromptingInterface *prompting)
{
    return ZEL_PASS(ResourceManager::retrieveAsync(this, type, prompting));
}

Result<QSharedPointer<ResourceMetadata>> ResourceHandler::retrieveMetadata() const
{
    return ZEL_PASS(ResourceManager::retrieveMetadata(this));
}

Result<std::unique_ptr<Task>> ResourceHandler::retrieveMetadataAsync(AsyncProcessingType type) const
{
    return ZEL_PASS(ResourceManager::retrieveMetadataAsync(this, type));
}

void ResourceHandler::overrideRetrieveMode(RetrieveMode mode)
{
    overriddenMode = mode;
}

std::optional<ResourceHandler::RetrieveMode> ResourceHandler::overridenRetrieveMode() const
{
    return overriddenMode;
}

void ResourceHandler::cleanOverridenRetrieveMode()
{
    overriddenMode.reset();
}

} // namespace zel
