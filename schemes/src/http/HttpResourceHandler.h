#pragma once

#include "RemoteResourceHandler.h"
#include "http/HttpSettings.h"
#include "references/UrlReference.h"

namespace zel {

/// One file of a web server, copied into the cache.
class HttpResourceHandler : public RemoteResourceHandler
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpResourceHandler)

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
    HttpResourceHandler(const QSharedPointer<UrlReference> &reference, ResourceCache *cache,
                        const HttpSettings &settings);

    QSharedPointer<UrlReference> url;
    ResourceCache *cache;
    HttpSettings settings;
};

} // namespace zel
