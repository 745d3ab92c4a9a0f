#include "CacheFixture.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

CacheFixture::CacheFixture() = default;

ResourceCachePath CacheFixture::pathOf(const QString &baseDir)
{
    ResourceCachePath path;
    path.setBaseDirPath(baseDir);
    return path;
}

void CacheFixture::openCache(const ResourceCacheSizes &sizes)
{
    const Error error = cache.open(cachePath(), sizes);
    ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
}

std::unique_ptr<TestCache> CacheFixture::otherClient(qint64 processId) const
{
    auto other = std::make_unique<TestCache>(std::make_unique<OtherProcessDao>(processId));
    const Error error = other->open(cachePath(), {});
    EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
    return other;
}

void CacheFixture::addReady(const QString &reference, const QString &relativePath, qint64 size,
                            qint64 lastAccess, ResourceCleanupPolicy policy)
{
    writeFile(dataPath(relativePath), QByteArray(size, 'x'));
    ASSERT_FALSE(cache.add(reference, policy).hasError());
    ASSERT_FALSE(cache.saveLocalPath(reference, dataPath(relativePath), size).hasError());
    ASSERT_FALSE(cache.saveStatus(reference, ResourceStatus::Ready).hasError());
    database().run(u"UPDATE CachedResources SET lastAccessDateTime = ? WHERE reference = ?"_s,
                   { lastAccess, reference });
}

QString CacheFixture::dataPath(const QString &relativePath) const
{
    return directory.dataDir() + u'/' + relativePath;
}

QVariant CacheFixture::rowValue(const QString &column, const QString &reference) const
{
    return database().value(u"SELECT %1 FROM CachedResources WHERE reference = ?"_s.arg(column),
                            { reference });
}

} // namespace zel::test
