#pragma once

#include "ResourceCacheReader.h"
#include "ResourceManagerSettings.h"
#include "doctor/DataInventory.h"
#include "doctor/Finding.h"
#include "holders/ClientLife.h"
#include "platform/DirectoryLockState.h"
#include "platform/ProcessFacts.h"
#include "platform/SystemSemaphoreState.h"
#include "staging/StagingPlace.h"

#include <QHash>
#include <QMap>
#include <QSet>

#include <chrono>

namespace zel::cli {

/// What was to be seen of the cache's lock.
struct LockFacts
{
    SystemSemaphoreState before; ///< right before the directory was looked at
    DirectoryLockState directory;
    SystemSemaphoreState after; ///< right after it
    QString otherSpelling; ///< the base directory with all links resolved; empty if it is the same
    SystemSemaphoreState otherSemaphore; ///< of that one
    QString temporaryFolder; ///< of this process
    QString user;
};

/// All that the checks go by, collected once. Collecting it takes no semaphore, changes nothing and
/// waits for nobody.
struct Examination
{
    ResourceManagerSettings settings;
    qint64 now = 0; ///< milliseconds since the epoch
    std::chrono::milliseconds minimumAge {}; ///< what nobody claims is left alone until it has it

    Error databaseFailure; ///< if there is one, the next two are empty and `data` was not looked at
    ResourceCacheReader::Snapshot snapshot;
    ResourceCacheReader::Condition condition;

    DataInventory data;
    QList<StagingPlace> staging;
    QSet<QString> foldersBeingFilled; ///< of resources that living processes fetch, by name
    QMap<QString, Error> manifestFailures; ///< of what should be manifests, by path
    QHash<qint64, ProcessFacts> processes; ///< of the clients and of the lock, by number
    QHash<qint64, bool> hasCacheOpen; ///< of the clients, by number, as far as that can be seen

    QString fileSystem; ///< its type, such as "ext4"
    qint64 partitionSize = -1; ///< bytes; negative if it is not known
    LockFacts lock;

    /// What became of a client of the snapshot.
    Liveness livenessOf(const ResourceCacheReader::Client &client) const;
    /// Whether the client has pinged lately.
    bool isAlive(qint64 clientId) const;
    /// Whether it may belong to a fetch that runs, or is too new to tell: then it is to be left
    /// alone. The path of the entry is below the data directory.
    bool mayBeClaimed(const TreeSurvey::Entry &entry) const;
    /// Whether it lies where a process brings data to that lives, also if that stands still and so
    /// counts no more.
    bool isOfStagedFetch(const TreeSurvey::Entry &entry) const;
};

/// Fails only if there is no cache.
Result<Examination> examine(const ResourceManagerSettings &settings,
                            std::chrono::milliseconds minimumAge);

/// The same without a look at the data, at the file's pages and at the lock.
Result<Examination> examineRows(const ResourceManagerSettings &settings,
                                std::chrono::milliseconds minimumAge);

/// What reading the cache in parts may have got wrong because somebody changed it meanwhile goes:
/// of the rows only those are left that are the same in both.
void keepUnchanged(Findings &findings, const ResourceCacheReader::Snapshot &before,
                   const ResourceCacheReader::Snapshot &after);

/// Everything that is to be told, in the order of the checks.
Findings findingsOf(const Examination &examination);

} // namespace zel::cli
