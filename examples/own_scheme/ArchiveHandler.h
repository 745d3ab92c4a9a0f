#pragma once

#include "ArchiveReference.h"
#include "RemoteResourceHandler.h"

namespace archive {

/// What programs hold of an archived run. The base class does all that has to do with the cache;
/// here stands only what is peculiar to archives.
///
/// Archives lie on shares, which may be slow or gone, so that every task works on a thread of its
/// own. A task can outlive the handler that made it: it gets a share of the reference and nothing
/// of the handler.
class ArchiveHandler : public zel::RemoteResourceHandler
{
public:
    ArchiveHandler(const QSharedPointer<ArchiveReference> &run, zel::ResourceCache *cache);

    zel::Result<std::unique_ptr<zel::GetSiblingsTask>> siblings() const override;

protected:
    std::unique_ptr<zel::Task> existsTask() const override;
    std::unique_ptr<zel::Task> metadataTask() const override;
    std::unique_ptr<zel::Task> createRetrieveTask(
        const zel::PathImpl<zel::PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

private:
    QString fileName() const;

    const QSharedPointer<const ArchiveReference> run;
};

} // namespace archive
