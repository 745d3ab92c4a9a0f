#pragma once

#include "ResourceHandler.h"
#include "references/PathReference.h"

namespace zel {

/// A file or folder that is used where it lies. The cache knows nothing of it: there is nothing to
/// fetch, nothing to keep and nothing to remove.
class FileResourceHandler : public ResourceHandler
{
    Q_DECLARE_TR_FUNCTIONS(zel::FileResourceHandler)

public:
    explicit FileResourceHandler(const QSharedPointer<PathReference> &reference);

    /// Always Never: what is not a copy is not cleaned up.
    Result<ResourceCleanupPolicy> cleanupPolicy() const override;
    /// Code 21 for anything but Never.
    Error setCleanupPolicy(const ResourceCleanupPolicy &policy) override;

protected:
    std::unique_ptr<Task> existsTask() const override;
    /// No value: what is not there cannot be brought there.
    std::optional<std::unique_ptr<Task>> retrieveTask() override;
    std::unique_ptr<Task> metadataTask() const override;
    Result<PathImpl<PathType::Unknown>> localPath() const override;

private:
    const QString path;
};

} // namespace zel
