#include "removal/RemovalVerdict.h"

#include "ResourceLookup.h"
#include "removal/RemovalDanger.h"

#include <QCoreApplication>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::RemovalVerdict)
};

using Resource = ResourceCacheReader::Resource;

Refusal refusalOfWanted(const UserProcesses &processes)
{
    if (processes.isEmpty())
        return { Texts::tr("It is wanted."), {} };
    return { Texts::tr("It is wanted by %1.").arg(processesText(processes)), processes };
}

Refusal refusalOfFetched(const UserProcesses &processes)
{
    if (processes.isEmpty())
        return { Texts::tr("It is being fetched."), {} };
    return { Texts::tr("It is being fetched by %1.").arg(processesText(processes)), processes };
}

/// Somebody may know what it means, and fetch it or use it.
std::optional<Refusal> refusalOfUnknownStatus(const UserProcesses &fetchers, bool force)
{
    if (!fetchers.isEmpty())
        return refusalOfFetched(fetchers);
    if (force)
        return {};
    return Refusal { Texts::tr("Its status is none that this program knows; --force removes it "
                               "all the same."),
                     {} };
}

/// The reason that lies in the status, if any.
std::optional<Refusal> refusalOfStatus(const ResourceCacheReader::Snapshot &snapshot,
                                       const Resource &resource, bool force,
                                       const ProcessLookup &look)
{
    switch (resource.status) {
    case ResourceStatus::Ready:
        return {};
    case ResourceStatus::Missing:
        return Refusal { Texts::tr("Nothing is there to remove."), {} };
    case ResourceStatus::ScheduledForAcquire:
        return refusalOfWanted(waitersOf(snapshot, resource.reference, look));
    case ResourceStatus::Acquiring:
        return refusalOfFetched(fetchersOf(snapshot, resource.reference, look));
    case ResourceStatus::Invalid:
        break;
    }
    return refusalOfUnknownStatus(fetchersOf(snapshot, resource.reference, look)
                                      + waitersOf(snapshot, resource.reference, look),
                                  force);
}

std::optional<Refusal> refusalOfPolicy(ResourceCleanupPolicy policy, bool force)
{
    // It could not be stored again as it was.
    if (policy == ResourceCleanupPolicy::Invalid)
        return Refusal { Texts::tr("Its cleanup policy is none that this program knows."), {} };
    if (policy == ResourceCleanupPolicy::Never && !force)
        return Refusal { Texts::tr("Its cleanup policy is Never; --force removes it all the same."),
                         {} };
    return {};
}

} // namespace

std::optional<Refusal> refusalOf(const ResourceCacheReader::Snapshot &snapshot,
                                 const ResourceUsers &users, const DataPlaces &places,
                                 const QString &key, bool force, const ProcessLookup &look)
{
    const auto resource = resourceOf(snapshot, key);
    if (!resource)
        return Refusal { Texts::tr("The cache does not know it."), {} };
    if (const auto refusal = refusalOfStatus(snapshot, *resource, force, look))
        return refusal;
    const UserProcesses processes = users.value(key);
    if (!processes.isEmpty())
        return Refusal { Texts::tr("It is in use by %1.").arg(processesText(processes)),
                         processes };
    if (const QString danger = dangerOf(*resource, places); !danger.isEmpty())
        return Refusal { danger, {} };
    return refusalOfPolicy(resource->policy, force);
}

} // namespace zel::cli
