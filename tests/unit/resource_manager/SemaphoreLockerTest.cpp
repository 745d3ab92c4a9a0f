#include "SemaphoreLocker.h"

#include "SemaphoreRegistry.h"
#include "TaskWithSemaphore.h"
#include "UnfinishedMaker.h"
#include "platform/DirectoryLockState.h"
#include "platform/SystemSemaphoreState.h"
#include "support/CacheFixture.h"
#include "threads/LockOrder.h"

#include <QDir>
#include <QSystemSemaphore>
#include <QUuid>

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

class SemaphoreLockerTest : public testing::Test
{
protected:
    SemaphoreLockerTest()
        : key(TemporaryCache::semaphoreKey(directory.baseDir()))
    {
        SemaphoreRegistry::keepForDirectory(key, directory.baseDir());
        semaphore = std::make_unique<QSystemSemaphore>(key, 1, QSystemSemaphore::Open);
    }
    /// Whether somebody else gets the lock while the caller may hold it.
    bool isFree()
    {
        const auto taken = std::make_shared<std::promise<void>>();
        std::future<void> done = taken->get_future();
        waiters.emplace_back([this, taken] {
            const SemaphoreLocker lock(semaphore.get(), 1);
            taken->set_value();
        });
        return done.wait_for(300ms) == std::future_status::ready;
    }
    void joinWaiters()
    {
        for (std::thread &waiter : waiters)
            waiter.join();
        waiters.clear();
    }
    void TearDown() override { joinWaiters(); }

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
    static int openDescriptors(const QString &path)
    {
        const QDir descriptors(u"/proc/self/fd"_s);
        const QStringList names = descriptors.entryList(QDir::AllEntries | QDir::System);
        return int(std::count_if(names.begin(), names.end(), [&](const QString &name) {
            return QFile::symLinkTarget(descriptors.filePath(name)) == path;
        }));
    }

    TemporaryCache directory;
    QString key;
    std::unique_ptr<QSystemSemaphore> semaphore;
    std::vector<std::thread> waiters;
};

} // namespace

TEST_F(SemaphoreLockerTest, construct_countOne_holdsUntilDestroyed)
{
    {
        const SemaphoreLocker lock(semaphore.get(), 1);
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, construct_countZero_neitherTakesNorReleases)
{
    const SemaphoreLocker holder(semaphore.get(), 1);
    {
        const SemaphoreLocker nothing(semaphore.get(), 0);
    }
    EXPECT_FALSE(isFree());
}

TEST_F(SemaphoreLockerTest, release_thenDestroy_leavesTheInitialCount)
{
    {
        SemaphoreLocker lock(semaphore.get(), 1);
        lock.release(1);
        EXPECT_TRUE(isFree());
    }
    const SemaphoreLocker holder(semaphore.get(), 1);
    EXPECT_FALSE(isFree()); // a second release would have let one more in
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
        EXPECT_FALSE(isFree());
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
    EXPECT_FALSE(isFree());
}

TEST_F(SemaphoreLockerTest, semaphoreOfAnotherTemporaryFolder_sameDirectory_stillExcludes)
{
    // Another key stands for what another folder of temporary files would make of this one.
    const QString twinKey = key + u"-twin"_s;
    SemaphoreRegistry::keepForDirectory(twinKey, directory.baseDir());
    QSystemSemaphore twin(twinKey, 1, QSystemSemaphore::Open);
    {
        const SemaphoreLocker holder(&twin, 1);
        EXPECT_FALSE(isFree());
    }
    EXPECT_TRUE(isFree());
    removeSystemSemaphore(twinKey);
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

TEST_F(SemaphoreLockerTest, task_withTheLock_freesItBeforeAnybodyHearsOfTheEnd)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    bool wasHeld = false;
    bool wasFreeAtTheEnd = false;
    task.setFunction([&] {
        wasHeld = !isFree();
        return Error(0);
    });
    QObject::connect(
        &task, &BaseTask::finished, &task, [&] { wasFreeAtTheEnd = isFree(); },
        Qt::DirectConnection);
    task.exec();
    EXPECT_TRUE(wasHeld);
    EXPECT_TRUE(wasFreeAtTheEnd);
}

TEST_F(SemaphoreLockerTest, task_onAWorker_carriesTheLockThere)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    std::atomic<bool> heldByWorker = false;
    task.setFunction(
        [&] {
            heldByWorker = SemaphoreLocker::isHeldByThisThread(*semaphore);
            return Error(0);
        },
        Task::ExecutionMode::Asynchronous);
    task.exec();
    EXPECT_FALSE(task.waitForAllFinished(-1).hasError());
    EXPECT_TRUE(heldByWorker);
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, task_onAWorker_leavesItsMakersThreadToWaitLikeAnyOther)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    std::promise<void> mayEnd;
    task.setFunction(
        [&] {
            mayEnd.get_future().wait();
            return Error(0);
        },
        Task::ExecutionMode::Asynchronous);
    EXPECT_TRUE(SemaphoreLocker::isHeldByThisThread(*semaphore));
    // Before the worker is there, which says itself that it holds it.
    bool isHeldAtTheStart = true;
    QObject::connect(&task, &BaseTask::started, &task,
                     [&] { isHeldAtTheStart = SemaphoreLocker::isHeldByThisThread(*semaphore); });
    task.exec();
    EXPECT_FALSE(isHeldAtTheStart);
    mayEnd.set_value();
    EXPECT_FALSE(task.waitForAllFinished(-1).hasError());
}

TEST_F(SemaphoreLockerTest, task_destroyedWhileItRuns_waitsForItsWork)
{
    std::promise<void> started;
    bool ended = false;
    {
        TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
        task.setFunction([&](Task *running) {
            started.set_value();
            while (!running->isCanceled())
                std::this_thread::yield();
            ended = !isFree();
            return Error(0);
        });
        task.setExecutionMode(Task::ExecutionMode::Asynchronous);
        task.exec();
        started.get_future().wait();
    }
    EXPECT_TRUE(ended);
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, task_destroyedUnrun_freesTheLock)
{
    {
        const TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    }
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, task_canceledUnrun_freesTheLock)
{
    TaskWithSemaphore task(std::make_unique<SemaphoreLocker>(semaphore.get(), 1));
    task.cancel();
    EXPECT_TRUE(task.isFinished());
    EXPECT_TRUE(isFree());
}

TEST_F(SemaphoreLockerTest, task_withoutALock_runsItsFunction)
{
    TaskWithSemaphore task(nullptr);
    task.setFunction([] { return Error(4, u"x"_s); });
    task.exec();
    EXPECT_EQ(task.error().errorCode(), ErrorCode::BadData);
    EXPECT_TRUE(isFree());
}
