#pragma once

#include "ResourceCacheReader.h"
#include "holders/ResourceUsers.h"
#include "output/TextAt.h"

#include <QJsonObject>
#include <QStringList>
#include <QVersionNumber>

namespace zel::cli {

/// A resource whose reference stands for a newer major version than the copy in the cache.
struct OutdatedResource
{
    ResourceCacheReader::Resource resource;
    QVersionNumber declared;
    UserProcesses processes; ///< who uses the copy
};
using OutdatedResources = QList<OutdatedResource>;

/// All of them in the order of their rows. Fails for a Ready resource whose reference cannot be
/// read, as the removal of outdated resources does; the text names it. The schemes must be
/// registered.
Result<OutdatedResources> outdatedOf(const ResourceCacheReader::Snapshot &snapshot,
                                     const ResourceUsers &users);

/// What the command did or would do.
struct OutdatedReport
{
    bool isDryRun = false;
    OutdatedResources removed;
    OutdatedResources left; ///< outdated still
};

/// Tells those that went from those that are outdated still.
OutdatedReport reportOf(const OutdatedResources &before, const OutdatedResources &after);

/// For people: a line for each resource that goes, and behind them one for all. Made one by one, as
/// there may be a great many, from the report, which must outlive it.
TextAt outdatedLines(const OutdatedReport &report);
/// For programs: the members that the answer gets.
QJsonObject outdatedJson(const OutdatedReport &report);

} // namespace zel::cli
