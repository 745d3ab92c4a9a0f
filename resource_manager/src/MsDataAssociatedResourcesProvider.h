#pragma once

#include "AssociatedResourcesProviderInterface.h"

namespace zel {

QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor")
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")
/// The files that analysis programs leave beside mass-spectrometry data: for a file or folder x of
/// a known format, x.ms1.cache and x.data.cache.
class MsDataAssociatedResourcesProvider final : public AssociatedResourcesProviderInterface
{
public:
    /// The format is told by the name alone; the data itself need not exist. Wildcards in the name
    /// count as such.
    QList<QString> getAssociatedResources(const QString &path) const override;
};
QT_WARNING_POP

} // namespace zel
