#pragma once

#include "CacheDatabase.h"
#include "LogCapture.h"
#include "ResourceCache.h"
#include "ResourceCacheDao.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

namespace zel::test {

/// A database access that registers under another process's number, so that one test process can
/// play two clients.
class OtherProcessDao : public ResourceCacheDao
{
public:
    explicit OtherProcessDao(qint64 processId)
        : processId(processId)
    {
    }
    Error open(const QString &path) override { return ResourceCacheDao::open(path, processId); }

private:
    qint64 processId;
};

/// A cache over a database access of the test's choice.
class TestCache : public ResourceCache
{
public:
    TestCache()
        : ResourceCache(nullptr)
    {
    }
    explicit TestCache(std::unique_ptr<ResourceCacheDao> dao)
        : ResourceCache(std::move(dao))
    {
    }
};

/// An open cache on a base directory of the test's own.
class CacheFixture : public testing::Test
{
protected:
    CacheFixture();

    static ResourceCachePath pathOf(const QString &baseDir);
    ResourceCachePath cachePath() const { return pathOf(directory.baseDir()); }
    void openCache(const ResourceCacheSizes &sizes = {});
    /// For the end of the count of all sizes that goes on behind a first opening.
    void waitForScan() { ASSERT_TRUE(cache.readCurrentCacheSize().hasValue()); }
    /// A second client of the same cache, as another process is one.
    std::unique_ptr<TestCache> otherClient(qint64 processId = 4000001) const;

    /// A file in the cache with its row: status Ready, accessed at `lastAccess`.
    void addReady(const QString &reference, const QString &relativePath, qint64 size,
                  qint64 lastAccess = 1000,
                  ResourceCleanupPolicy policy = ResourceCleanupPolicy::OnDemand);
    QString dataPath(const QString &relativePath) const;
    QVariant rowValue(const QString &column, const QString &reference) const;
    CacheDatabase database() const { return CacheDatabase(directory.databasePath()); }

    TemporaryCache directory; // goes last
    TestCache cache;
};

} // namespace zel::test
