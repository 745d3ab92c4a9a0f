#pragma once

#include "Contestant.h"
#include "Replay.h"
#include "ResourceCache.h"

namespace zel::bench {

/// One operation on an open cache with resources that are Ready. `number` counts the operations of
/// a contestant.
using CacheWork
    = std::function<void(ResourceCache &cache, const QStringList &references, int number)>;

/// Contestants whose round is the same operation for so many resources, one after the other.
namespace CacheSides {

/// By the library.
MakeContestant ours(const CacheWork &work, int operations);
/// The same statements and takes of the semaphore by bare means, on a fresh copy of the same
/// database in each round.
MakeContestant floor(const CacheWork &work, int operations,
                     Replay::Settings settings = Replay::Settings::AsOurs);

/// For processes that work on one cache at once: each goes on for the same time, so that none has
/// the machine to itself at the end. `work` must leave everything as it was.
MakeContestant oursTogether(const CacheWork &work);
MakeContestant floorTogether(const CacheWork &work);

} // namespace CacheSides

} // namespace zel::bench
