#pragma once

#include "ResourceCache.h"

namespace zel::bench {

/// Ready resources of one small file each, in folders side by side.
class StoredFiles
{
public:
    static constexpr qint64 fileSize = 4096;

    /// The cache is borrowed, and open at `path`.
    StoredFiles(ResourceCache *cache, const ResourceCachePath &path, int count);

    /// Brings those that are missing, in their order, as the ones used last.
    void fill();

private:
    void add(const QString &reference, const QString &filePath);

    ResourceCache *const cache;
    const QString folder;
    const int count;
};

} // namespace zel::bench
