#pragma once

#include "output/TextAt.h"
#include "removal/PurgePlan.h"

#include <QJsonObject>
#include <QStringList>

namespace zel::cli {

/// "1 resource", "12 resources".
QString countText(qsizetype resources);

/// What a purge did or would do, and with which outcome.
struct PurgeReport
{
    bool isDryRun = false;
    ResourceRows removed;
    qint64 goal = 0; ///< bytes
    qint64 size = 0; ///< of the cache afterwards, in bytes

    bool isGoalReached() const { return size <= goal; }
};

/// Something that keeps a cache above the goal of a purge, or does not count towards its size.
struct Pin
{
    enum class Reason {
        InUse, ///< by the processes
        SizeUnknown, ///< data without a size: a purge does not take it
        NotRemoved, ///< was to go and is still there, unchanged
        Newer, ///< came, or came anew, while the purge ran
    };

    ResourceCacheReader::Resource resource;
    Reason reason = Reason::InUse;
    UserProcesses processes;
};

/// Everything that holds data after a purge that took or was to take these resources.
QList<Pin> pinsOf(const ResourceCacheReader::Snapshot &after, const ResourceUsers &users,
                  const ResourceRows &planned);

/// For people: a line for each resource that goes, and behind them one for all. Made one by one, as
/// there may be a great many, from the report, which must outlive it.
TextAt purgeLines(const PurgeReport &report);
/// Why the goal was not reached: at most so many resources, the largest first, then how many more.
QStringList pinLines(const QList<Pin> &pins, qsizetype atMost);

/// For programs: the members that the answer gets, of which "removed" and "pinned" are empty, and
/// the elements of those, made one by one in the same way.
QJsonObject purgeJson(const PurgeReport &report);
TextAt removedJson(const PurgeReport &report);
TextAt pinnedJson(const QList<Pin> &pins);

} // namespace zel::cli
