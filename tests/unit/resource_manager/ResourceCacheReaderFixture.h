#pragma once

#include "ResourceCacheDaoFixture.h"
#include "ResourceCacheReader.h"

namespace zel::test {

/// A temporary cache that is read while its object is open, or closed.
class ResourceCacheReaderFixture : public ResourceCacheDaoFixture
{
protected:
    void openDao() { ASSERT_TRUE(succeeded(dao.open(path()))); }

    Result<ResourceCacheReader::Snapshot> read() { return ResourceCacheReader(path()).read(); }

    ResourceCacheReader::Snapshot snapshot()
    {
        auto result = read();
        EXPECT_TRUE(succeeded(result));
        return result.hasValue() ? std::move(result).value() : ResourceCacheReader::Snapshot();
    }

    QStringList filesBesideTheData() const { return QDir(cache.baseDir()).entryList(QDir::Files); }
};

} // namespace zel::test
