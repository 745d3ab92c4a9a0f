#pragma once

#include "ArchiveReference.h"
#include "tasks/GetSiblingsTask.h"

namespace archive {

/// Finds the other runs of the same batch.
class ArchiveSiblings : public zel::GetSiblingsTask
{
public:
    explicit ArchiveSiblings(const QSharedPointer<const ArchiveReference> &run);
    ~ArchiveSiblings() override;

protected:
    zel::Result<References> readSiblings() override;

private:
    const QSharedPointer<const ArchiveReference> run;
};

} // namespace archive
