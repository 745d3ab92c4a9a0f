#pragma once

#include "RemoteResourceHandler.h"
#include "references/PathReference.h"

namespace zel {

/// A file or folder of a share, copied into the cache when it is wanted.
class ShareResourceHandler : public RemoteResourceHandler
{
public:
    ShareResourceHandler(const QSharedPointer<PathReference> &reference, ResourceCache *cache);

protected:
    std::unique_ptr<Task> existsTask() const override;
    std::unique_ptr<Task> metadataTask() const override;
    std::unique_ptr<Task> createRetrieveTask(
        const PathImpl<PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

private:
    const QSharedPointer<PathReference> source;
    ResourceCache *const cache;
};

} // namespace zel
