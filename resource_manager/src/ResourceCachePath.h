#pragma once

#include "Export.h"
#include "files/PathImpl.h"

namespace zel {

/// Where a cache lies: a base directory, with the data and the database below it.
///
/// A value. A subclass may place data and database elsewhere; the semaphore stays that of the base
/// directory as it is spelled here, so that all programs should spell it alike.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceCachePath
{
public:
    /// The default base directory of this user.
    ResourceCachePath();
    ResourceCachePath(const ResourceCachePath &) = default;
    ResourceCachePath &operator=(const ResourceCachePath &) = default;
    virtual ~ResourceCachePath();

    /// The folder that resources are copied into, without a slash at its end.
    virtual PathImpl<PathType::Dir> cacheDataDir() const;
    /// The database's file, whether or not it is there.
    virtual PathImpl<PathType::File> databasePath() const;

    /// A folder beside the application's own data folder, the same for all programs of a user that
    /// have the same organization.
    static QString defaultBaseDirectoryPath();

    /// The name of the system semaphore that all operations on the cache in this base directory
    /// take. The spelling counts: another one of the same directory has another semaphore.
    static QString semaphoreKeyFor(const QString &baseDirectory);

    PathImpl<PathType::Dir> baseDirPath() const; ///< as it was given
    void setBaseDirPath(const PathImpl<PathType::Dir> &path); ///< kept as it is spelled

private:
    PathImpl<PathType::Dir> baseDir;
};

} // namespace zel
