#include "file/FileResourceHandler.h"

#include "LocalTasks.h"
#include "errors/Propagate.h"

namespace zel {

FileResourceHandler::FileResourceHandler(const QSharedPointer<PathReference> &reference)
    : ResourceHandler(reference)
    , path(reference->path())
{
}

Result<ResourceCleanupPolicy> FileResourceHandler::cleanupPolicy() const
{
    return ResourceCleanupPolicy::Never;
}

Error FileResourceHandler::setCleanupPolicy(const ResourceCleanupPolicy &policy)
{
    if (policy == ResourceCleanupPolicy::Never)
        return {};
    return ZEL_ERROR(ErrorCode::FeatureLacking,
                     tr("A file that is used where it lies is never cleaned up."));
}

std::unique_ptr<Task> FileResourceHandler::existsTask() const
{
    return LocalTasks::exists(path);
}

std::optional<std::unique_ptr<Task>> FileResourceHandler::retrieveTask()
{
    return std::nullopt;
}

std::unique_ptr<Task> FileResourceHandler::metadataTask() const
{
    return LocalTasks::metadata(path);
}

Result<PathImpl<PathType::Unknown>> FileResourceHandler::localPath() const
{
    return PathImpl<PathType::Unknown>(path);
}

} // namespace zel
