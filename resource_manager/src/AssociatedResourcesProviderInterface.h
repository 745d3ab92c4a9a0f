#pragma once

#include <QList>
#include <QString>

namespace zel {

/// Names the files that belong to a resource without being inside it, so that the cache counts
/// their sizes. See ResourceCache::registerAssociatedResourcesProvider().
///
/// Called on any thread, the scan's worker included. There is no virtual destructor and the cache
/// destroys providers through this class: derived classes have no members.
QT_WARNING_PUSH
QT_WARNING_DISABLE_GCC("-Wnon-virtual-dtor")
QT_WARNING_DISABLE_CLANG("-Wnon-virtual-dtor")
class AssociatedResourcesProviderInterface
{
public:
    /// Full paths of what exists beside the data at the path. Never throws and never calls the
    /// cache, which holds its semaphore meanwhile.
    virtual QList<QString> getAssociatedResources(const QString &path) const = 0;
};
QT_WARNING_POP

} // namespace zel
