#pragma once

#include "RemoteResourceHandler.h"
#include "staging/FetchPlan.h"

#include <functional>
#include <memory>

namespace zel {

/// What a scheme brings along for one resource that is copied into the cache. Every maker gives a
/// new, unstarted task.
struct CopiedResource
{
    QString name; ///< that the copy is to have
    std::function<std::unique_ptr<Task>()> exists;
    std::function<std::unique_ptr<Task>()> metadata;
    /// Brings the resource to the place that the plan names.
    std::function<std::unique_ptr<Task>(const FetchPlan &)> retrieve;
    /// Finds what lies beside the resource. Empty if the scheme cannot tell.
    std::function<std::unique_ptr<GetSiblingsTask>()> siblings;
};

/// The handler of all schemes whose resources are copied into the cache: the copy lies in a folder
/// of its own that is named after the reference's key form.
class CopiedResourceHandler : public RemoteResourceHandler
{
public:
    /// The cache is borrowed.
    CopiedResourceHandler(const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
                          CopiedResource resource);

    Result<std::unique_ptr<GetSiblingsTask>> siblings() const override;

protected:
    std::unique_ptr<Task> existsTask() const override;
    std::unique_ptr<Task> metadataTask() const override;
    std::unique_ptr<Task> createRetrieveTask(
        const PathImpl<PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

private:
    ResourceCache *const cache;
    const CopiedResource resource;
};

} // namespace zel
