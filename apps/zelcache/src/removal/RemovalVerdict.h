#pragma once

#include "ResourceCacheReader.h"
#include "doctor/DataPlaces.h"
#include "holders/ResourceUsers.h"

#include <optional>

namespace zel::cli {

/// Why a resource is not removed, for people, and the processes that are the reason, if any.
struct Refusal
{
    QString reason;
    UserProcesses processes;
};

/// Whether the resource may be removed as the cache stands; empty if it may. `key`: also of one
/// that the cache does not know. `force`: the policy Never is no reason, nor is a status that this
/// program does not know. What lies where its removal takes more than itself stays in any case.
/// Without `look` the reason names no programs but those of the users.
std::optional<Refusal> refusalOf(const ResourceCacheReader::Snapshot &snapshot,
                                 const ResourceUsers &users, const DataPlaces &places,
                                 const QString &key, bool force, const ProcessLookup &look = {});

} // namespace zel::cli
