#pragma once

#include "RemoteResourceHandler.h"
#include "dav/DavReference.h"
#include "http/HttpSettings.h"

namespace zel {

/// One file or folder of a WebDAV server, copied into the cache.
class DavResourceHandler : public RemoteResourceHandler
{
    Q_DECLARE_TR_FUNCTIONS(zel::DavResourceHandler)

public:
    /// Code 2 for a reference of another kind. The cache is borrowed.
    static Result<QSharedPointer<ResourceHandler>> make(
        const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
        const HttpSettings &settings);

    /// What lies in the same folder of the server.
    Result<std::unique_ptr<GetSiblingsTask>> siblings() const override;

protected:
    std::unique_ptr<Task> existsTask() const override;
    std::unique_ptr<Task> metadataTask() const override;
    std::unique_ptr<Task> createRetrieveTask(
        const PathImpl<PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

private:
    DavResourceHandler(const QSharedPointer<DavReference> &reference, ResourceCache *cache,
                       const HttpSettings &settings);

    const QSharedPointer<DavReference> source;
    ResourceCache *const cache;
    const HttpSettings settings;
};

} // namespace zel
