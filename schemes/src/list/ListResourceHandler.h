#pragma once

#include "RemoteResourceHandler.h"
#include "http/HttpSettings.h"
#include "list/ListReference.h"

namespace zel {

/// A folder of a web server that is told by a list of its files, copied into the cache.
class ListResourceHandler : public RemoteResourceHandler
{
    Q_DECLARE_TR_FUNCTIONS(zel::ListResourceHandler)

public:
    /// Code 2 for a reference of another kind. The cache is borrowed.
    static Result<QSharedPointer<ResourceHandler>> make(
        const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
        const HttpSettings &settings);

protected:
    std::unique_ptr<Task> existsTask() const override;
    std::unique_ptr<Task> metadataTask() const override;
    std::unique_ptr<Task> createRetrieveTask(
        const PathImpl<PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

private:
    ListResourceHandler(const QSharedPointer<ListReference> &reference, ResourceCache *cache,
                        const HttpSettings &settings);

    QSharedPointer<ListReference> list;
    ResourceCache *cache;
    HttpSettings settings;
};

} // namespace zel
