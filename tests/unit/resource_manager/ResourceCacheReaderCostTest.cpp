#include "ResourceCacheReader.h"

#include "ResourceCacheDaoFixture.h"

#include <QElapsedTimer>

using namespace zel;
using namespace zel::test;

namespace {

class ResourceCacheReaderCostTest : public ResourceCacheDaoFixture
{
protected:
    ResourceCacheReader reader() const { return ResourceCacheReader(path()); }
    void openDao() { ASSERT_TRUE(succeeded(dao.open(path()))); }

    void addHundredThousand()
    {
        database().run(
            u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
            "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, cleanupPolicy, "
            "lastAccessDateTime, lastStatusUpdateClientId, version) "
            "SELECT 'https://data.example.org/projects/proteomics/2024/sample-' || i || '.raw', "
            "'/home/user/.local/share/ResourceCache/Cache/http/0123456789abcdef0123456789abcdef/'"
            " || i || '.raw', i, 'Ready', 'OnDemand', i, 1, '1.0' FROM n"_s);
    }
};

} // namespace

TEST_F(ResourceCacheReaderCostTest, read_detailThatNobodyWants_isNotSelected)
{
    openDao();
    insert(u"test:a"_s, ResourceStatus::Ready);
    dao.close();
    // What is not there cannot be selected.
    for (const QString &column : { u"cleanupPolicy"_s, u"lastStatusUpdateClientId"_s })
        database().run(u"ALTER TABLE CachedResources DROP COLUMN "_s + column);
    const auto found = reader().read(ResourceCacheReader::Version);
    ASSERT_TRUE(succeeded(found));
    EXPECT_EQ(found.value().resources.size(), 1);
    EXPECT_FALSE(reader().read().hasValue());
}

TEST_F(ResourceCacheReaderCostTest, read_hundredThousandRows_givesAllOfThem)
{
    openDao();
    addHundredThousand();

    QElapsedTimer clock;
    clock.start();
    const auto found = reader().read();
    RecordProperty("milliseconds", static_cast<int>(clock.elapsed()));
    ASSERT_TRUE(succeeded(found));
    ASSERT_EQ(found.value().resources.size(), 100'000);
    EXPECT_EQ(found.value().resources.last().size, 100'000);
}

TEST_F(ResourceCacheReaderCostTest, readActivity_hundredThousandRows_countsThem)
{
    openDao();
    addHundredThousand();
    QElapsedTimer clock;
    clock.start();
    const auto found = reader().readActivity();
    RecordProperty("milliseconds", static_cast<int>(clock.elapsed()));
    ASSERT_TRUE(succeeded(found));
    EXPECT_EQ(found.value().resourceCounts.value(ResourceStatus::Ready), 100'000);
    EXPECT_EQ(found.value().currentSize, 100'000 * qint64(100'001) / 2);
}

TEST_F(ResourceCacheReaderCostTest, readRowsOf_hundredThousandRows_givesTheOne)
{
    openDao();
    addHundredThousand();
    QElapsedTimer clock;
    clock.start();
    const auto found = reader().readRowsOf(
        { u"https://data.example.org/projects/proteomics/2024/sample-99999.raw"_s });
    RecordProperty("milliseconds", static_cast<int>(clock.elapsed()));
    ASSERT_TRUE(succeeded(found));
    ASSERT_EQ(found.value().resources.size(), 1);
    EXPECT_EQ(found.value().resources[0].size, 99'999);
}
