#include "ArchiveSiblings.h"

#include "ArchiveIndex.h"
#include "errors/Propagate.h"

using namespace zel;

namespace archive {

ArchiveSiblings::ArchiveSiblings(const QSharedPointer<const ArchiveReference> &run)
    : GetSiblingsTask(nullptr)
    , run(run)
{
}

ArchiveSiblings::~ArchiveSiblings()
{
    // The search uses members of this class, which would be gone when the base waits for it.
    waitForWork();
}

Result<GetSiblingsTask::References> ArchiveSiblings::readSiblings()
{
    ZEL_TRY_LET(const ArchiveIndex index, ArchiveIndex::read(run->folder()));
    const auto described = index.find(run->id());
    if (!described)
        return References();

    References siblings;
    const QList<ArchivedRun> batch = index.batch(described->batch);
    for (const ArchivedRun &other : batch) {
        if (other.id == run->id())
            continue;
        ZEL_TRY_LET(const auto sibling, ArchiveReference::inFolder(run->folder(), other.id));
        siblings.append(sibling);
    }
    return siblings;
}

} // namespace archive
