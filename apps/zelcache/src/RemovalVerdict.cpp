#include "RemovalVerdict.h"

#include "ResourceLookup.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Resource = ResourceCacheReader::Resource;

QString withProcesses(const QString &text, const QList<qint64> &processes)
{
    return processes.isEmpty() ? text + u'.' : text + u" by "_s + processesText(processes) + u'.';
}

/// The reason that lies in the status, if any.
std::optional<Refusal> refusalOfStatus(const ResourceCacheReader::Snapshot &snapshot,
                                       const Resource &resource)
{
    const QList<qint64> fetchers = fetchersOf(snapshot, resource.reference);
    switch (resource.status) {
    case ResourceStatus::Ready:
        return {};
    case ResourceStatus::Missing:
        return Refusal { u"Nothing is there to remove."_s, {} };
    case ResourceStatus::ScheduledForAcquire:
        return Refusal { withProcesses(u"It is wanted"_s, fetchers), fetchers };
    case ResourceStatus::Acquiring:
        return Refusal { withProcesses(u"It is being fetched"_s, fetchers), fetchers };
    case ResourceStatus::Invalid:
        break;
    }
    return Refusal { u"Its status is none that this program knows."_s, {} };
}

std::optional<Refusal> refusalOfPolicy(ResourceCleanupPolicy policy, bool force)
{
    // It could not be stored again as it was.
    if (policy == ResourceCleanupPolicy::Invalid)
        return Refusal { u"Its cleanup policy is none that this program knows."_s, {} };
    if (policy == ResourceCleanupPolicy::Never && !force)
        return Refusal { u"Its cleanup policy is Never; --force removes it all the same."_s, {} };
    return {};
}

} // namespace

std::optional<Refusal> refusalOf(const ResourceCacheReader::Snapshot &snapshot,
                                 const ResourceUsers &users, const QString &key, bool force)
{
    const auto resource = resourceOf(snapshot, key);
    if (!resource)
        return Refusal { u"The cache does not know it."_s, {} };
    if (const auto refusal = refusalOfStatus(snapshot, *resource))
        return refusal;
    const QList<qint64> processes = users.value(key);
    if (!processes.isEmpty())
        return Refusal { withProcesses(u"It is in use"_s, processes), processes };
    return refusalOfPolicy(resource->policy, force);
}

} // namespace zel::cli
