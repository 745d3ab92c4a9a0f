#pragma once

#include "AssociatedResourcesProviderInterface.h"

namespace archive {

/// Where a fetch puts the report of a run whose copy has this path: beside the copy.
QString reportPathFor(const QString &runPath);

// The interface has no virtual destructor, by agreement: providers have no members.
QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor")
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")
/// Tells the cache of the reports, so that it counts their sizes with those of the runs.
class ArchiveReports final : public zel::AssociatedResourcesProviderInterface
{
public:
    QList<QString> getAssociatedResources(const QString &path) const override;
};
QT_WARNING_POP

} // namespace archive
