#pragma once

#include "Export.h"

#include <QMetaType>
#include <QObject>
#include <QString>

namespace zel {

/// Makes the enumerations known to the meta-object system. Their keys are what the database stores:
/// renaming one makes existing caches unreadable.
class ZEL_RESOURCE_MANAGER_EXPORT ZEL_QEnumsResourceHandlerTypes
{
    Q_GADGET

public:
    /// Whether the data of a resource is here.
    enum class ResourceStatus {
        Invalid = 0, ///< not known
        Missing = 1, ///< no local data
        Ready = 2, ///< local data is complete and at its path
        ScheduledForAcquire = 3, ///< somebody wants it, nobody fetches it yet
        Acquiring = 4, ///< somebody fetches it
    };
    Q_ENUM(ResourceStatus)

    /// Whether the local data of a resource goes with its last usage. It says nothing of the purge
    /// that makes room in a full cache: that one takes the data of every policy.
    enum class ResourceCleanupPolicy {
        Invalid = 0, ///< not known
        Never = 1, ///< stays, whatever restriction a process has
        OnClose = 2, ///< goes with the last usage
        OnDemand = 3, ///< stays, unless a process's restriction makes it OnClose
    };
    Q_ENUM(ResourceCleanupPolicy)
};

/// The name under which everybody uses it.
using ResourceStatus = ZEL_QEnumsResourceHandlerTypes::ResourceStatus;
/// The name under which everybody uses it.
using ResourceCleanupPolicy = ZEL_QEnumsResourceHandlerTypes::ResourceCleanupPolicy;

/// The key of the value, as the database stores it; an empty text for a value without a key.
ZEL_RESOURCE_MANAGER_EXPORT QString toText(ResourceStatus status);
/// See toText() of a status.
ZEL_RESOURCE_MANAGER_EXPORT QString toText(ResourceCleanupPolicy policy);

/// The value with exactly this key; `fallback` if there is none.
ZEL_RESOURCE_MANAGER_EXPORT ResourceStatus toResourceStatus(const QString &text,
                                                            ResourceStatus fallback);
/// See toResourceStatus().
ZEL_RESOURCE_MANAGER_EXPORT ResourceCleanupPolicy
toResourceCleanupPolicy(const QString &text, ResourceCleanupPolicy fallback);

} // namespace zel
