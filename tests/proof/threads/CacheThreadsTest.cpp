#include "CacheInvariants.h"
#include "Proof.h"
#include "ResourceRetrieveHandle.h"
#include "SemaphoreLocker.h"
#include "SemaphoreRegistry.h"
#include "Task.h"
#include "Together.h"
#include "support/CacheFixture.h"
#include "support/TestReference.h"

#include <QSystemSemaphore>

#include <atomic>
#include <random>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int resourceCount = 6;
constexpr int addedCount = 8; ///< fewer than there are tries
constexpr qint64 resourceSize = 1000;

/// Several threads of one program at one cache, which is about to purge all the time.
class CacheThreadsTest : public CacheFixture
{
protected:
    using UnknownPath = PathImpl<PathType::Unknown>;
    using Random = std::minstd_rand;

    CacheThreadsTest() { registerTestSchemes(); }

    static QString referenceOf(int number) { return u"test:r%1"_s.arg(number); }
    static QByteArray contentOf(int number) { return QByteArray(resourceSize, char('a' + number)); }
    QString placeOf(int number) const { return dataPath(u"test/r%1/data"_s.arg(number)); }

    /// As a program fetches: it says that it uses the resource, and fetches it or waits for the one
    /// who does. What it uses stays and is whole.
    void fetch(int number)
    {
        const QString reference = referenceOf(number);
        const auto use = cache.useResource(reference);
        ASSERT_TRUE(use.hasValue()) << qPrintable(use.error().description());
        // Of the scheme's version: outdated copies go, whoever uses them.
        ResourceRetrieveHandle handle(reference, UnknownPath(placeOf(number)), &cache,
                                      QVersionNumber(1, 0));
        while (!isReady(handle)) {
            const auto isMine = handle.tryStartRetrieve();
            ASSERT_TRUE(isMine.hasValue()) << qPrintable(isMine.error().description());
            if (isMine.value())
                finish(handle, number);
        }
        EXPECT_EQ(readFile(placeOf(number)), contentOf(number));
        expectSuccess(cache.updateFileSize(reference));
        const auto left = cache.moveLeftoversAside(reference, UnknownPath(placeOf(number)));
        EXPECT_TRUE(left.hasValue() && left.value().isPublished);
    }

    /// One operation, whichever; none of them may fail.
    void operate(Random &random)
    {
        const int number = int(random() % resourceCount);
        const QString reference = referenceOf(number);
        switch (random() % 18) {
        case 0:
        case 1:
        case 2:
            return fetch(number);
        case 3:
            return expectSuccess(cache.saveCleanupPolicy(reference, anyPolicy(random)));
        case 4:
            return expectSuccess(cache.purgeCacheIfNeeded(resourceSize));
        case 5:
            return expectSuccess(cache.updateFileSizes());
        case 6:
            return expectSuccess(cache.rebuildMetadata());
        case 7:
            return purgeOutdated();
        case 8:
            return expectSuccess(cache.inUse(reference));
        case 9:
            return expectSuccess(cache.readStatus(reference));
        case 10:
            EXPECT_GE(cache.readCurrentCacheSize().value(), 0);
            return;
        case 11:
            return addOnce(int(random() % addedCount));
        case 12:
            return expectSuccess(cache.saveStatus(
                fixed, random() % 2 == 0 ? ResourceStatus::Ready : ResourceStatus::Missing));
        case 13:
            return expectSuccess(
                cache.saveLocalPath(fixed, UnknownPath(placeOf(resourceCount)), resourceSize));
        case 14:
            return expectSuccess(cache.updateVersion(fixed, QVersionNumber(1, 0)));
        case 15:
            return countFixed();
        case 16:
            return clearAway(number);
        default:
            return expectSuccess(cache.existsInDb(reference));
        }
    }

    /// A resource whose data stays, while all write what its row says.
    std::unique_ptr<ResourceCache::InUseHandle> makeFixed()
    {
        writeFile(placeOf(resourceCount), contentOf(resourceCount));
        auto use = cache.useResource(fixed);
        expectSuccess(use);
        expectSuccess(
            cache.saveLocalPath(fixed, UnknownPath(placeOf(resourceCount)), resourceSize));
        expectSuccess(cache.updateVersion(fixed, QVersionNumber(1, 0)));
        return std::move(use).value();
    }

    /// Whatever the threads have said last.
    void expectFixedIsThere()
    {
        expectSuccess(cache.saveStatus(fixed, ResourceStatus::Ready));
        expectSuccess(cache.updateFileSize(fixed));
        EXPECT_EQ(readFile(placeOf(resourceCount)), contentOf(resourceCount));
    }

    QStringList violations()
    {
        CacheInvariants invariants(directory.databasePath(), directory.dataDir());
        for (int number = 0; number <= resourceCount; ++number)
            invariants.expectContent(referenceOf(number), contentOf(number));
        return invariants.violations();
    }

    int rowsOf(const QString &reference) const
    {
        return database()
            .value(u"SELECT COUNT(*) FROM CachedResources WHERE reference = ?"_s, { reference })
            .toInt();
    }

    static void expectSuccess(const Error &error)
    {
        EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
    }
    template<typename T>
    static void expectSuccess(const Result<T> &result)
    {
        expectSuccess(result.hasValue() ? Error() : result.error());
    }

    const QString fixed = referenceOf(resourceCount);
    std::atomic<int> fetches = 0;
    std::array<std::atomic<int>, addedCount> added {}; ///< how often each has been

private:
    static bool isReady(const ResourceRetrieveHandle &handle)
    {
        const auto ready = handle.isReady();
        expectSuccess(ready);
        return !ready.hasValue() || ready.value();
    }

    void finish(ResourceRetrieveHandle &handle, int number)
    {
        EXPECT_FALSE(isFetched[size_t(number)].exchange(true)) << "two fetch one resource";
        writeFile(placeOf(number), contentOf(number));
        expectSuccess(handle.saveProgress(50));
        ++fetches;
        isFetched[size_t(number)] = false;
        expectSuccess(handle.finalizeRetrieve(Error()));
        expectSuccess(handle.removeTaskFromDatabase());
    }

    /// Of all that try, one.
    void addOnce(int number)
    {
        const QString reference = u"test:added%1"_s.arg(number);
        if (!cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError())
            ++added[size_t(number)];
        const auto isThere = cache.existsInDb(reference);
        EXPECT_TRUE(isThere.hasValue() && isThere.value());
    }

    /// It is Ready or it is not.
    void countFixed()
    {
        const Error error = cache.updateFileSize(fixed);
        EXPECT_TRUE(!error.hasError() || error.errorCode() == ErrorCode::OperationFailed);
    }

    /// Nothing is left over where all fetches end well.
    void clearAway(int number)
    {
        const auto left
            = cache.moveLeftoversAside(referenceOf(number), UnknownPath(placeOf(number)));
        expectSuccess(left);
        EXPECT_EQ(left.hasValue() ? left.value().movedTo : QString(), QString());
    }

    static ResourceCleanupPolicy anyPolicy(Random &random)
    {
        return random() % 2 == 0 ? ResourceCleanupPolicy::OnClose : ResourceCleanupPolicy::OnDemand;
    }

    void purgeOutdated()
    {
        const auto task = cache.purgeOutdatedResourcesTask();
        ASSERT_TRUE(task.hasValue()) << qPrintable(task.error().description());
        if (task.value()) {
            task.value()->exec();
            expectSuccess(task.value()->error());
        }
    }

    std::array<std::atomic<bool>, resourceCount> isFetched {};
};

} // namespace

TEST_F(CacheThreadsTest, semaphore_severalThreads_oneAtATime)
{
    const QString key = TemporaryCache::semaphoreKey(directory.baseDir());
    SemaphoreRegistry::keepForDirectory(key, directory.baseDir());
    QSystemSemaphore semaphore(key, 1, QSystemSemaphore::Open);
    const int rounds = forProof(200, 2000);
    int counter = 0; // of no kind that threads may share
    together([&](int) {
        for (int round = 0; round < rounds; ++round) {
            const SemaphoreLocker lock(&semaphore, 1);
            ++counter;
        }
    });
    EXPECT_EQ(counter, threadCount * rounds);
    recordFigure(u"holds"_s, counter);
}

TEST_F(CacheThreadsTest, connectionOfEachThread_writes_waitForEachOther)
{
    const int rounds = forProof(20, 200);
    openCache();
    together([&](int thread) {
        OtherProcessDao dao(1'000'000 + thread);
        expectSuccess(dao.open(directory.databasePath()));
        for (int round = 0; round < rounds; ++round) {
            const QString reference = u"test:%1/%2"_s.arg(thread).arg(round);
            const auto context = dao.createTransaction();
            expectSuccess(context);
            expectSuccess(dao.insertResource(reference, ResourceStatus::Missing,
                                             ResourceCleanupPolicy::Never, round));
            const auto usage
                = ResourceCacheDao::insertResourceUsage(context.value().get(), reference);
            expectSuccess(usage);
            expectSuccess(context.value()->commit());
            expectSuccess(dao.containsResourceUsage(reference));
        }
    });
    EXPECT_EQ(database().count(u"CachedResources"_s), threadCount * rounds);
    cache.close();
    EXPECT_EQ(violations(), QStringList());
    recordFigure(u"transactions"_s, threadCount * rounds);
}

TEST_F(CacheThreadsTest, allOperations_severalThreads_agreeInTheEnd)
{
    const std::uint32_t seed = proofSeed();
    SCOPED_TRACE("ZEL_SEED=" + std::to_string(seed));
    const int rounds = forProof(60, 600);
    cache.setFullScanInterval(std::chrono::days(0)); // one count runs from the start
    openCache({ 4 * resourceSize, 1000 * resourceSize });
    auto use = makeFixed();
    together([&](int thread) {
        Random random(seed + std::uint32_t(thread));
        for (int round = 0; round < rounds; ++round)
            operate(random);
    });
    expectFixedIsThere();
    use.reset();
    cache.close();
    EXPECT_EQ(violations(), QStringList());
    EXPECT_GT(fetches, 0);
    for (int number = 0; number < addedCount; ++number)
        EXPECT_EQ(added[size_t(number)], rowsOf(u"test:added%1"_s.arg(number))) << number;
    EXPECT_EQ(database().count(u"ResourceUsages"_s), 0);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database().count(u"Clients"_s), 0);
    recordFigure(u"operations"_s, threadCount * rounds);
    recordFigure(u"fetches"_s, fetches);
    recordFigure(u"violations"_s, violations().size());
}

TEST_F(CacheThreadsTest, cacheMovesWhileThreadsWork_theyFailOrNotAndNothingIsMixed)
{
    const TemporaryCache elsewhere;
    const int moves = forProof(40, 400);
    cache.setFullScanInterval(std::chrono::days(1'000'000)); // none runs
    openCache();
    std::atomic<bool> hasMoved = false;
    std::thread mover([&] {
        for (int move = 0; move < moves; ++move) {
            const QString target = move % 2 == 0 ? elsewhere.baseDir() : directory.baseDir();
            expectSuccess(cache.open(pathOf(target), {}));
        }
        hasMoved = true;
    });
    std::atomic<int> asked = 0;
    together([&](int thread) {
        while (!hasMoved) {
            // In whichever cache it is, or between the two. Either may fail, and the end of the use
            // may come after the next move.
            const auto use = cache.useResource(u"test:moved%1"_s.arg(thread));
            ZEL_IGNORE(cache.readStatus(u"test:moved%1"_s.arg(thread)));
            ++asked;
        }
    });
    mover.join();
    cache.close();
    EXPECT_EQ(violations(), QStringList());
    CacheInvariants others(elsewhere.databasePath(), elsewhere.dataDir());
    EXPECT_EQ(others.violations(), QStringList());
    recordFigure(u"moves"_s, moves);
    recordFigure(u"operations"_s, asked);
}
