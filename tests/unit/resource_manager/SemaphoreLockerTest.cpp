#include "SemaphoreLocker.h"

#include "SemaphoreLockerFixture.h"
#include "SemaphoreSets.h"
#include "platform/DirectoryLockState.h"
#include "platform/SystemSemaphoreState.h"
#include "support/CacheFixture.h"
#include "threads/LockOrder.h"

#include <QDir>
#include <QUuid>

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using SemaphoreLockerTest = SemaphoreLockerFixture;

/// While it lives, no temporary file can be made.
class WithoutTemporaryFiles
{
public:
    WithoutTemporaryFiles()
    {
        qputenv("TMPDIR", "/proc"); // exists, but nobody makes files there
    }
    ~WithoutTemporaryFiles()
    {
        if (folder.isNull())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", folder);
    }

private:
    const QByteArray folder = qgetenv("TMPDIR");
};

/// Of this process, on this directory itself.
int openDescriptors(const QString &path)
{
    const QDir descriptors(u"/proc/self/fd"_s);
    const QStringList names = descriptors.entryList(QDir::AllEntries | QDir::System);
    return int(std::count_if(names.begin(), names.end(), [&](const QString &name) {
        return QFile::symLinkTarget(descriptors.filePath(name)) == path;
    }));
}

} // namespace

TEST_F(SemaphoreLockerTest, construct_countOne_holdsUntilDestroyed)
{
    {
        const SemaphoreLocker lock(semaphore.get(), 1);
        EXPECT_TRUE(isHeld());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, construct_countZero_neitherTakesNorReleases)
{
    const SemaphoreLocker holder(semaphore.get(), 1);
    {
        const SemaphoreLocker nothing(semaphore.get(), 0);
    }
    EXPECT_TRUE(isHeld());
}

TEST_F(SemaphoreLockerTest, release_thenDestroy_leavesTheInitialCount)
{
    {
        SemaphoreLocker lock(semaphore.get(), 1);
        lock.release(1);
        EXPECT_TRUE(isFree());
    }
    const SemaphoreLocker holder(semaphore.get(), 1);
    EXPECT_TRUE(isHeld()); // a second release would have let one more in
}

TEST_F(SemaphoreLockerTest, release_nothingTaken_leavesTheHolderOfThisThreadAlone)
{
    const SemaphoreLocker holder(semaphore.get(), 1);
    SemaphoreLocker nothing(semaphore.get(), 0);
    for (const int count : { 0, -1 }) {
        nothing.release(count);
        EXPECT_TRUE(SemaphoreLocker::isHeldByThisThread(*semaphore)) << count;
    }
    EXPECT_TRUE(isHeld());
}

TEST_F(SemaphoreLockerTest, acquire_belowOne_isTrueAndDoesNothing)
{
    SemaphoreLocker lock(semaphore.get(), 0);
    EXPECT_TRUE(lock.acquire(0));
    EXPECT_TRUE(lock.acquire(-1));
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, acquire_systemRefuses_countsWithoutCallingTheObject)
{
    SemaphoreRegistry::find(key)->usable = false;
    SemaphoreLocker lock(semaphore.get(), 0);
    EXPECT_FALSE(lock.acquire(1));
    lock.release(1);
    SemaphoreRegistry::find(key)->usable = true;
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, keepForDirectory_systemRefusedBefore_excludesFromThenOn)
{
    const TemporaryCache other;
    const QString otherKey = TemporaryCache::semaphoreKey(other.baseDir());
    std::unique_ptr<SemaphoreLocker> early;
    {
        const WithoutTemporaryFiles nowhere; // where the file of the key would lie
        EXPECT_FALSE(SemaphoreRegistry::keepForDirectory(otherKey, other.baseDir())->usable);
        semaphore->setKey(otherKey, 1, QSystemSemaphore::Open);
        early = std::make_unique<SemaphoreLocker>(semaphore.get(), 1);
    }
    RegisteredSemaphore *entry = SemaphoreRegistry::keepForDirectory(otherKey, other.baseDir());
    EXPECT_TRUE(entry->usable);
    early.reset(); // took nothing, and gives nothing back
    {
        const SemaphoreLocker holder(semaphore.get(), 1);
        EXPECT_TRUE(isHeld());
    }
    joinWaiters(); // before the semaphore goes
}

// Killed between the two calls by which a semaphore is made: without the look at it, each program
// would wait for ever from then on.
TEST_F(SemaphoreLockerTest, keep_makerOfTheSemaphoreDied_excludesFromThenOn)
{
    const TemporaryCache other;
    const QString otherKey = TemporaryCache::semaphoreKey(other.baseDir());
    ASSERT_GE(makeUnfinishedSemaphore(SystemSemaphoreState::of(otherKey).keyFile), 0);
    const RegisteredSemaphore *const entry = SemaphoreRegistry::keep(otherKey);
    EXPECT_TRUE(entry->usable);
    EXPECT_EQ(SystemSemaphoreState::of(otherKey).value, 1);
    QSystemSemaphore handle(otherKey, 1, QSystemSemaphore::Open);
    {
        const SemaphoreLocker lock(&handle, 1);
        EXPECT_EQ(SystemSemaphoreState::of(otherKey).value, 0);
    }
    EXPECT_EQ(SystemSemaphoreState::of(otherKey).value, 1);
}

TEST_F(SemaphoreLockerTest, construct_keyOfNoCache_takesTheObjectItself)
{
    const QString foreign = key + u"-foreign"_s;
    QSystemSemaphore own(foreign, 1, QSystemSemaphore::Create); // removes it, too
    {
        const SemaphoreLocker lock(&own, 1);
        EXPECT_FALSE(SemaphoreRegistry::find(foreign));
        EXPECT_EQ(SystemSemaphoreState::of(foreign).value, 0);
    }
    EXPECT_EQ(SystemSemaphoreState::of(foreign).value, 1);
}

TEST_F(SemaphoreLockerTest, destroy_semaphoreGotAnotherKey_releasesTheOneThatWasTaken)
{
    const TemporaryCache other;
    {
        const SemaphoreLocker lock(semaphore.get(), 1);
        const QString otherKey = TemporaryCache::semaphoreKey(other.baseDir());
        SemaphoreRegistry::keepForDirectory(otherKey, other.baseDir());
        semaphore->setKey(otherKey, 1, QSystemSemaphore::Open);
    }
    semaphore->setKey(key, 1, QSystemSemaphore::Open);
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, otherObjectsOfTheKey_dieWhileOneHolds_neverTwoHolders)
{
    const SemaphoreLocker holder(semaphore.get(), 1);
    {
        const QSystemSemaphore passing(key, 1, QSystemSemaphore::Open);
    }
    auto second = std::make_unique<QSystemSemaphore>(key, 1, QSystemSemaphore::Open);
    second->setKey(u"zel::other"_s + QUuid::createUuid().toString(), 1, QSystemSemaphore::Create);
    EXPECT_TRUE(isHeld());
}

TEST_F(SemaphoreLockerTest, semaphoreOfAnotherTemporaryFolder_sameDirectory_stillExcludes)
{
    // Another key stands for what another folder of temporary files would make of this one.
    const QString twinKey = key + u"-twin"_s;
    removeSystemSemaphoreAtEnd(twinKey);
    SemaphoreRegistry::keepForDirectory(twinKey, directory.baseDir());
    QSystemSemaphore twin(twinKey, 1, QSystemSemaphore::Open);
    {
        const SemaphoreLocker holder(&twin, 1);
        EXPECT_TRUE(isHeld());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, openCache_betweenTwoTakes_keepsTheDirectoryOpenUntilItCloses)
{
    ResourceCachePath path;
    path.setBaseDirPath(PathImpl<PathType::Dir>(directory.baseDir()));
    TestCache cache;
    ASSERT_FALSE(cache.open(path, {}).hasError());
    ASSERT_TRUE(cache.isOpen());
    EXPECT_EQ(openDescriptors(directory.baseDir()), 1);
    {
        const SemaphoreLocker holder(semaphore.get(), 1);
        EXPECT_EQ(openDescriptors(directory.baseDir()), 1);
    }
    cache.close();
    EXPECT_FALSE(cache.isOpen());
    // It could not be unmounted.
    EXPECT_EQ(openDescriptors(directory.baseDir()), 0);
}

TEST_F(SemaphoreLockerTest, keepForDirectory_directoryWasMadeAnew_locksTheNewOne)
{
    SemaphoreRegistry::find(key)->keptDirectory.hold();
    {
        const SemaphoreLocker before(semaphore.get(), 1);
    }
    ASSERT_TRUE(QDir().rename(directory.baseDir(), directory.outside(u"former"_s)));
    ASSERT_TRUE(QDir().mkpath(directory.baseDir()));
    SemaphoreRegistry::keepForDirectory(key, directory.baseDir());
    {
        const SemaphoreLocker holder(semaphore.get(), 1);
        EXPECT_TRUE(DirectoryLockState::of(directory.baseDir()).isHeld);
    }
    SemaphoreRegistry::find(key)->keptDirectory.letGo();
}

TEST_F(SemaphoreLockerTest, find_severalKeys_eachHasItsOwnEntry)
{
    const TemporaryCache other;
    const QString otherKey = TemporaryCache::semaphoreKey(other.baseDir());
    RegisteredSemaphore *own = SemaphoreRegistry::find(key);
    RegisteredSemaphore *others = SemaphoreRegistry::keep(otherKey);
    EXPECT_NE(own, others);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(SemaphoreRegistry::find(otherKey), others);
        EXPECT_EQ(SemaphoreRegistry::find(key), own);
        EXPECT_EQ(SemaphoreRegistry::find(key.left(key.size() - 1)), nullptr);
    }
}

TEST_F(SemaphoreLockerTest, find_keyIsATextOfTheProgram_leavesItWhereOthersReadIt)
{
    const RegisteredSemaphore *entry = SemaphoreRegistry::keep(u"zel::ResourceCache"_s);
    const QChar *place = entry->key.constData();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(SemaphoreRegistry::find(u"zel::ResourceCache"_s), entry);
    EXPECT_EQ(entry->key.constData(), place);
}

TEST_F(SemaphoreLockerTest, isHeldByThisThread_holderAndOthers_tellsThemApart)
{
    EXPECT_FALSE(SemaphoreLocker::isHeldByThisThread(*semaphore));
    {
        const SemaphoreLocker lock(semaphore.get(), 1);
        EXPECT_TRUE(SemaphoreLocker::isHeldByThisThread(*semaphore));
        std::thread([this] {
            EXPECT_FALSE(SemaphoreLocker::isHeldByThisThread(*semaphore));
        }).join();
    }
    EXPECT_FALSE(SemaphoreLocker::isHeldByThisThread(*semaphore));
}

TEST_F(SemaphoreLockerTest, secondTakeOfOneThread_isLoggedFirst)
{
    EXPECT_EXIT(
        {
            qInstallMessageHandler(
                [](QtMsgType type, const QMessageLogContext &, const QString &text) {
                    if (type == QtCriticalMsg && text.contains(u"will wait for ever"_s))
                        std::_Exit(0);
                });
            const SemaphoreLocker first(semaphore.get(), 1);
            const SemaphoreLocker second(semaphore.get(), 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SemaphoreLockerTest, secondTakeOfOneThread_debugBuild_endsWithBothStacks)
{
    if (!LockOrder::isChecked())
        GTEST_SKIP() << "Only debug builds look at the takes of locks; this one waits for ever.";
    EXPECT_EXIT(
        {
            const SemaphoreLocker first(semaphore.get(), 1);
            const SemaphoreLocker second(semaphore.get(), 1);
        },
        testing::KilledBySignal(SIGABRT),
        testing::AllOf(testing::HasSubstr("holds the semaphore of a cache and takes it once more"),
                       testing::ContainsRegex("taken here:(.|\n)*SemaphoreLocker::SemaphoreLocker"
                                              "(.|\n)*taken here:(.|\n)*SemaphoreLocker")));
}

TEST_F(SemaphoreLockerTest, semaphoreBehindATransaction_debugBuild_endsWithBothStacks)
{
    if (!LockOrder::isChecked())
        GTEST_SKIP() << "Only debug builds look at the takes of locks.";
    EXPECT_EXIT(
        {
            ResourceCacheDao dao;
            dao.open(directory.databasePath()).hasError();
            {
                const SemaphoreLocker lock(semaphore.get(), 1);
                const auto transaction = dao.createTransaction();
            }
            const auto transaction = dao.createTransaction();
            const SemaphoreLocker lock(semaphore.get(), 1);
        },
        testing::KilledBySignal(SIGABRT),
        testing::ContainsRegex("holds the transaction of a connection and takes the semaphore of a "
                               "cache, which are taken the other way round(.|\n)*"
                               "Elsewhere, the semaphore of a cache was taken here:(.|\n)*"
                               "the transaction of a connection here:(.|\n)*createTransaction"));
}
