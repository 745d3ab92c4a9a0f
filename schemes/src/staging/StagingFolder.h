#pragma once

#include "errors/Error.h"
#include "platform/FileLock.h"

#include <QString>
#include <QStringList>

/// The folders below a staging directory, one for each staging place, and the road on which they
/// go.
///
///   <key>-<state>-<n>/lock         locked by the program that writes
///                    /record.json  what it tells of itself
///                    /content/     what is collected
///
/// A folder that is to go is first renamed, so that nobody who opens the place anew gets into it.
namespace zel::StagingFolder {

/// Where all resources of a cache with this data directory are staged: beside it, so that both are
/// on one volume.
QString stagingDirectoryFor(const QString &cacheDataDirectory);
/// Absolute paths of all places, without those that are on their way out.
QStringList all(const QString &stagingDirectory);
/// Absolute paths of those that are: an interrupted removal has left them.
QStringList remains(const QString &stagingDirectory);
/// "<key>-", with which the names of all places of a resource start.
QString prefixFor(const QString &referenceKey);
/// "<key>-<state>-", followed by a number.
QString prefixFor(const QString &referenceKey, const QString &validator);

QString lockPath(const QString &folder);
QString recordPath(const QString &folder);
QString contentPath(const QString &folder);

/// Removes a place that nobody writes to; one that somebody does stays. Failures are logged.
void removeIfUnused(const QString &folder);
/// Removes a place of which the caller has the lock.
Error remove(const QString &folder);
/// Ends removals that were interrupted.
void removeRemains(const QString &stagingDirectory);

} // namespace zel::StagingFolder
