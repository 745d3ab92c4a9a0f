#include "Holds.h"
#include "HeldSteps.h"
#include "ResourceRetrieveHandle.h"
#include "support/ManagerFixture.h"

#include <functional>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// How often the semaphore is taken: each time may be a wait for all other programs.
class HoldsTest : public ManagerFixture
{
protected:
    ResourceCache &cache() const { return *ResourceManager::cache(); }

    static int holdsOf(const std::function<void()> &work)
    {
        startCountingHolds();
        work();
        return stopCountingHolds();
    }
    /// Files side by side, each with a row, "test:0" unused for longest.
    void addReady(int count)
    {
        for (int i = 0; i < count; ++i) {
            const QString name = QString::number(i);
            writeFile(pathOf(name), QByteArray(10, 'x'));
            const auto handle = cache().useResource(key(name));
            ASSERT_TRUE(handle.hasValue());
            ASSERT_FALSE(
                cache().saveLocalPath(key(name), UnknownPath(pathOf(name)), 10).hasError());
            ASSERT_FALSE(cache().saveStatus(key(name), ResourceStatus::Ready).hasError());
        }
    }

    using UnknownPath = PathImpl<PathType::Unknown>;
};

} // namespace

TEST_F(HoldsTest, cache_anyOperation_isOneHold)
{
    addReady(1);
    const QString reference = key(u"0"_s);
    std::unique_ptr<ResourceCache::InUseHandle> handle;
    const QList<std::function<void()>> operations {
        [&] { EXPECT_TRUE(succeeds(cache().readStatus(reference))); },
        [&] { EXPECT_TRUE(succeeds(cache().readLocalPath(reference))); },
        [&] { EXPECT_TRUE(succeeds(cache().existsInDb(reference))); },
        [&] { EXPECT_TRUE(succeeds(cache().inUse(reference))); },
        [&] { EXPECT_TRUE(succeeds(cache().readCurrentCacheSize())); },
        [&] { EXPECT_TRUE(succeeds(cache().saveStatus(reference, ResourceStatus::Ready))); },
        [&] { EXPECT_TRUE(succeeds(cache().updateVersion(reference, QVersionNumber(2)))); },
        [&] { EXPECT_TRUE(succeeds(cache().updateFileSize(reference))); },
        [&] { handle = std::move(cache().useResource(reference).value()); },
        [&] { handle.reset(); },
    };
    for (qsizetype i = 0; i < operations.size(); ++i)
        EXPECT_EQ(holdsOf(operations.at(i)), 1) << i;
}

TEST_F(HoldsTest, cache_manyResources_areCountedAndPurgedInOneHold)
{
    addReady(50);
    EXPECT_EQ(holdsOf([&] { EXPECT_TRUE(succeeds(cache().updateFileSizes())); }), 1);
    EXPECT_EQ(holdsOf([&] { EXPECT_TRUE(succeeds(cache().setSizes({ 100, 200 }))); }), 1);
    // 410 bytes above nine tenths of the optimal size: one more than fits into them.
    EXPECT_EQ(database()
                  .value(u"SELECT COUNT(*) FROM CachedResources WHERE status = 'Missing'"_s)
                  .toInt(),
              42);
}

TEST_F(HoldsTest, retrieveHandle_progress_isOneHoldEach)
{
    const auto use = cache().useResource(key(u"a"_s));
    const UnknownPath path(pathOf(u"a"_s));
    writeFile(path.toString(), "data");
    const auto fetch = [&](int steps) {
        ResourceRetrieveHandle handle(key(u"a"_s), path, &cache(), QVersionNumber(1));
        EXPECT_TRUE(handle.tryStartRetrieve().value());
        for (int percent = 1; percent <= steps; ++percent)
            EXPECT_TRUE(succeeds(handle.saveProgress(percent)));
        EXPECT_TRUE(succeeds(handle.finalizeRetrieve(Error(1, u"No."_s))));
        EXPECT_TRUE(succeeds(handle.removeTaskFromDatabase()));
    };
    const int without = holdsOf([&] { fetch(0); });
    EXPECT_EQ(holdsOf([&] { fetch(100); }), without + 100);
}

TEST_F(HoldsTest, retrieveHandle_look_isOneHold)
{
    const auto use = cache().useResource(key(u"a"_s));
    ResourceRetrieveHandle fetcher(key(u"a"_s), UnknownPath(pathOf(u"a"_s)), &cache(), {});
    EXPECT_TRUE(fetcher.tryStartRetrieve().value());
    const ResourceRetrieveHandle watcher(key(u"a"_s), UnknownPath(pathOf(u"a"_s)), &cache(), {});
    EXPECT_EQ(holdsOf([&] { EXPECT_TRUE(succeeds(watcher.readProgress())); }), 1);
}

TEST_F(HoldsTest, retrieve_hit_isUseLookAndRelease)
{
    addReady(1);
    const auto path = [&] {
        const auto handle = this->handler(u"0"_s);
        EXPECT_TRUE(succeeds(ResourceManager::retrieve(handle)));
        EXPECT_EQ(handle->localPath().value().toString(), pathOf(u"0"_s));
    };
    EXPECT_EQ(holdsOf(path), 3);
}

TEST_F(HoldsTest, retrieve_transfer_holdsNothingMeanwhile)
{
    int holdsMeanwhile = -1;
    script(u"a"_s).fetch = [&](Task *, const QString &path) {
        // Waits for ever if anybody holds it.
        holdsMeanwhile = holdsOf([&] { EXPECT_TRUE(succeeds(cache().readStatus(key(u"a"_s)))); });
        writeFile(path, "data");
        return Error();
    };
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handler(u"a"_s))));
    EXPECT_EQ(holdsMeanwhile, 1);
}

TEST_F(HoldsTest, retrieve_folder_touchesNoneOfItUnderAHold)
{
    script(u"a"_s).fetch = [](Task *, const QString &path) {
        for (int i = 0; i < 10; ++i)
            writeFile(u"%1/%2/f"_s.arg(path).arg(i), "data");
        return Error();
    };
    const auto handle = handler(u"a"_s);
    const HeldSteps steps(directory.dataDir().toStdString());
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handle)));
    EXPECT_EQ(steps.count(), 0);
}
