#include "FailingStatement.h"
#include "FileSteps.h"
#include "HeldSteps.h"
#include "Holds.h"
#include "LockCalls.h"
#include "ResourceRetrieveHandle.h"
#include "WalFile.h"
#include "support/CacheFixture.h"

#include <atomic>
#include <climits>
#include <functional>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Cost
{
    int commits = 0; ///< that wrote something
    int holds = 0; ///< of the semaphore
    int steps = 0; ///< of statements
    int syncs = 0; ///< of files
};

class SyncCounter final : public FileStepWatcher
{
public:
    SyncCounter() { watchFileSteps(this); }
    ~SyncCounter() override { watchFileSteps(nullptr); }
    SyncCounter(const SyncCounter &) = delete;
    SyncCounter &operator=(const SyncCounter &) = delete;

    int seen() const { return syncs; }

private:
    int before(const FileStep &step) override
    {
        syncs += step.kind == FileStep::Kind::Sync || step.kind == FileStep::Kind::SyncFileSystem;
        return 0;
    }

    std::atomic<int> syncs = 0;
};

/// Lets something be done once, right before this program takes the semaphore the next time.
class BeforeNextHold
{
public:
    explicit BeforeNextHold(std::function<void()> work)
    {
        pending = std::move(work);
        watchLockCalls(perform);
    }
    BeforeNextHold(const BeforeNextHold &) = delete;
    BeforeNextHold &operator=(const BeforeNextHold &) = delete;
    ~BeforeNextHold() { watchLockCalls(nullptr); }

private:
    static void perform(LockCall call)
    {
        if (call != LockCall::Semaphore)
            return;
        watchLockCalls(nullptr);
        pending();
    }

    inline static std::function<void()> pending;
};

/// What the operations ask of the database and of the other processes, counted: it holds on every
/// machine.
class ResourceCacheCostTest : public CacheFixture
{
protected:
    void openQuietly()
    {
        openCache();
        waitForScan();
    }
    /// "test:0" and so on, Ready.
    void fill(int count)
    {
        openQuietly();
        database().run(
            u"WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < ?) "
            "INSERT INTO CachedResources(reference, cachedPath, fileSize, status, cleanupPolicy, "
            "lastAccessDateTime, lastStatusUpdateClientId, version) SELECT 'test:' || i, "
            "? || '/s/' || i || '/f', 1, 'Ready', 'OnDemand', i, 1, '1' FROM n"_s,
            { count, directory.dataDir() });
    }
    Cost costOf(const std::function<void()> &operation)
    {
        database().value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
        Cost cost;
        startCountingHolds();
        const FailingStatement statements(INT_MAX); // none fails
        const SyncCounter syncs;
        operation();
        cost.steps = statements.seen();
        cost.holds = stopCountingHolds();
        cost.syncs = syncs.seen();
        cost.commits = commitsInJournal(directory.databasePath());
        return cost;
    }
    /// A folder of ten folders with a file each, of ten bytes together.
    QString makeFolder(const QString &name)
    {
        for (int i = 0; i < 10; ++i)
            writeFile(dataPath(u"s/%1/%2/f"_s.arg(name).arg(i)), "x");
        return dataPath(u"s/"_s + name);
    }
    /// One that this process fetches, in its place.
    std::unique_ptr<ResourceRetrieveHandle> fetchOf(const QString &path)
    {
        EXPECT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
        auto handle = std::make_unique<ResourceRetrieveHandle>(
            u"test:a"_s, PathImpl<PathType::Unknown>(path), &cache, QVersionNumber(1));
        EXPECT_TRUE(handle->tryStartRetrieve().value());
        return handle;
    }
    /// The whole bookkeeping of a resource that nobody knew, with so many changes of the percent.
    void retrieve(const QString &reference, int percentChanges)
    {
        const QString path = dataPath(u"s/f"_s);
        const auto use = cache.useResource(reference);
        ASSERT_TRUE(use.hasValue());
        ResourceRetrieveHandle handle(reference, PathImpl<PathType::Unknown>(path), &cache,
                                      QVersionNumber(1));
        ASSERT_TRUE(handle.tryStartRetrieve().value());
        for (int percent = 1; percent <= percentChanges; ++percent)
            ASSERT_FALSE(handle.saveProgress(percent).hasError());
        ASSERT_FALSE(handle.finalizeRetrieve({}).hasError());
        ASSERT_FALSE(handle.removeTaskFromDatabase().hasError());
    }
};

} // namespace

TEST_F(ResourceCacheCostTest, readStatus_oneResource_isOneHoldAndNoCommit)
{
    fill(10);
    const Cost cost = costOf([this] { EXPECT_TRUE(cache.readStatus(u"test:5"_s).hasValue()); });
    EXPECT_EQ(cost.holds, 1);
    EXPECT_EQ(cost.commits, 0);
    EXPECT_EQ(cost.syncs, 0);
}

TEST_F(ResourceCacheCostTest, saveStatus_oneResource_isOneHoldAndOneCommitWithoutSync)
{
    fill(10);
    const Cost cost = costOf(
        [this] { EXPECT_FALSE(cache.saveStatus(u"test:5"_s, ResourceStatus::Ready).hasError()); });
    EXPECT_EQ(cost.holds, 1);
    EXPECT_EQ(cost.commits, 1);
    EXPECT_LE(cost.syncs, 1); // of a journal that begins anew
}

TEST_F(ResourceCacheCostTest, useResource_toItsRelease_isTwoHoldsAndTwoCommits)
{
    fill(10);
    const Cost cost = costOf([this] { EXPECT_TRUE(cache.useResource(u"test:5"_s).hasValue()); });
    EXPECT_EQ(cost.holds, 2);
    EXPECT_EQ(cost.commits, 2);
}

TEST_F(ResourceCacheCostTest, operations_hundredTimesTheResources_makeNoMoreSteps)
{
    const auto steps = [this](int count) {
        fill(count);
        const Cost cost = costOf([this] {
            EXPECT_TRUE(cache.readStatus(u"test:5"_s).hasValue());
            EXPECT_FALSE(cache.saveStatus(u"test:5"_s, ResourceStatus::Ready).hasError());
            EXPECT_TRUE(cache.useResource(u"test:5"_s).hasValue());
        });
        cache.close();
        database().run(u"DELETE FROM CachedResources"_s);
        return cost.steps;
    };
    const int few = steps(10);
    EXPECT_GT(few, 0);
    EXPECT_EQ(steps(1000), few);
}

TEST_F(ResourceCacheCostTest, retrieval_withPercents_commitsAtMostElevenTimesAndForEachOfThem)
{
    openQuietly();
    writeFile(dataPath(u"s/f"_s), "content");
    const Cost none = costOf([this] { retrieve(u"test:a"_s, 0); });
    EXPECT_GT(none.commits, 0);
    EXPECT_LE(none.commits, 11);
    const Cost hundred = costOf([this] { retrieve(u"test:b"_s, 100); });
    EXPECT_EQ(hundred.commits, none.commits + 100);
    EXPECT_EQ(hundred.holds, none.holds + 100);
}

TEST_F(ResourceCacheCostTest, retrievals_many_syncOnceForFive)
{
    openQuietly();
    writeFile(dataPath(u"s/f"_s), "content");
    constexpr int count = 100;
    const Cost cost = costOf([this] {
        for (int i = 0; i < count; ++i)
            retrieve(u"test:%1"_s.arg(i), 2);
    });
    EXPECT_GT(cost.syncs, 0); // the journal was copied back at least once
    EXPECT_LE(cost.syncs, count / 5);
}

TEST_F(ResourceCacheCostTest, finalizeRetrieve_folder_touchesNoneOfItUnderTheHold)
{
    openQuietly();
    const auto fetch = fetchOf(makeFolder(u"a"_s));
    const HeldSteps steps(directory.dataDir().toStdString());
    EXPECT_FALSE(fetch->finalizeRetrieve({}).hasError());
    EXPECT_EQ(steps.count(), 0);
    EXPECT_EQ(rowValue(u"fileSize"_s, u"test:a"_s).toInt(), 10);
}

TEST_F(ResourceCacheCostTest, finalizeRetrieve_replacedBeforeTheHold_countsWhatIsThere)
{
    openQuietly();
    const QString path = makeFolder(u"a"_s);
    const QString replacement = makeFolder(u"b"_s);
    writeFile(replacement + u"/more"_s, "12345");
    const auto fetch = fetchOf(path);
    const BeforeNextHold exchange([&] {
        EXPECT_TRUE(QDir().rename(path, path + u".old"_s));
        EXPECT_TRUE(QDir().rename(replacement, path));
    });
    EXPECT_FALSE(fetch->finalizeRetrieve({}).hasError());
    EXPECT_FALSE(QFileInfo::exists(replacement));
    EXPECT_EQ(rowValue(u"fileSize"_s, u"test:a"_s).toInt(), 15);
}

TEST_F(ResourceCacheCostTest, updateFileSizes_folder_isReadUnderTheHold)
{
    openQuietly();
    EXPECT_FALSE(fetchOf(makeFolder(u"a"_s))->finalizeRetrieve({}).hasError());
    const HeldSteps steps(directory.dataDir().toStdString());
    EXPECT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(steps.folders(), 11);
}
