#include "ResourceManager.h"

#include "LogCapture.h"
#include "support/ManagerFixture.h"

#include <QDateTime>
#include <QElapsedTimer>

#include <thread>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceManagerSetupTest : public ManagerFixture
{
protected:
    /// Settings whose base directory nobody can make: a file is in its way.
    ResourceManagerSettings impossibleSettings() const
    {
        writeFile(directory.outside(u"file"_s), "in the way");
        return settingsFor(directory.outside(u"file/base"_s));
    }
    /// A cache that can be opened, but not cleaned up: a dead client cannot be taken out.
    static void leaveDeadClientStuck(const TemporaryCache &other)
    {
        {
            const TestManager manager(settingsFor(other.baseDir()));
        }
        CacheDatabase rows(other.databasePath());
        rows.run(u"INSERT INTO Clients(id, processId, lastPingTime) VALUES (77, 77, 1)"_s);
        rows.run(u"CREATE TRIGGER stuck BEFORE DELETE ON Clients WHEN OLD.id = 77 "
                 "BEGIN SELECT RAISE(ABORT, 'stuck'); END"_s);
    }
};

} // namespace

TEST_F(ResourceManagerSetupTest, instance_firstCall_opensTheCacheOfTheOverride)
{
    EXPECT_TRUE(ResourceManager::cache()->isOpen());
    EXPECT_EQ(ResourceManager::cachePath().baseDirPath().toString(), directory.baseDir());
    EXPECT_EQ(&ResourceManager::instance(), &ResourceManager::instance());
    EXPECT_EQ(database().count(u"Clients"_s), 1);
}

TEST_F(ResourceManagerSetupTest, instance_manyThreadsAtOnce_makeOne)
{
    std::array<ResourceManager *, 8> seen {};
    std::vector<std::thread> threads;
    for (ResourceManager *&manager : seen)
        threads.emplace_back([&manager] { manager = &ResourceManager::instance(); });
    for (std::thread &thread : threads)
        thread.join();
    for (ResourceManager *manager : seen)
        EXPECT_EQ(manager, seen.front());
    EXPECT_EQ(database().count(u"Clients"_s), 1);
}

TEST_F(ResourceManagerSetupTest, overrideDefaultSettings_afterInstance_hasNoEffect)
{
    EXPECT_EQ(ResourceManager::cachePath().baseDirPath().toString(), directory.baseDir());
    const TemporaryCache other;
    ResourceManager::overrideDefaultSettings(settingsFor(other.baseDir()));
    EXPECT_EQ(ResourceManager::cachePath().baseDirPath().toString(), directory.baseDir());
    EXPECT_FALSE(QFileInfo::exists(other.databasePath()));
}

TEST_F(ResourceManagerSetupTest, overrideDefaultSettings_twice_theLastOneCounts)
{
    auto settings = settingsFor(directory.baseDir());
    settings.sizes = { 7, 8 };
    ResourceManager::overrideDefaultSettings(settings);
    EXPECT_EQ(ResourceManager::optimalCacheSize().value(), 7);
    EXPECT_EQ(ResourceManager::cache()->sizes().maximumSize, 8);
}

TEST_F(ResourceManagerSetupTest, instance_baseDirectoryCannotBeMade_livesWithAClosedCache)
{
    ResourceManager::overrideDefaultSettings(impossibleSettings());
    const LogCapture log;
    ASSERT_NE(ResourceManager::cache(), nullptr);
    EXPECT_FALSE(ResourceManager::cache()->isOpen());
    EXPECT_FALSE(log.texts(QtWarningMsg).isEmpty());
    EXPECT_TRUE(succeeds(ResourceManager::getHandler(testReference(u"a"_s))));
}

TEST_F(ResourceManagerSetupTest, constructor_baseDirectoryMissing_isMade)
{
    const QString baseDir = directory.addBaseDir(u"new/base"_s);
    TestManager manager(settingsFor(baseDir));
    EXPECT_TRUE(manager.inside().cache->isOpen());
    EXPECT_TRUE(QFileInfo::exists(baseDir + u"/ResourceCache.db"_s));
}

TEST_F(ResourceManagerSetupTest, constructor_always_startsUnpromptedWithSixPlaces)
{
    TestManager manager(settingsFor(directory.baseDir()));
    EXPECT_EQ(manager.inside().retrieveMode, ResourceHandler::NoPrompt);
    EXPECT_EQ(manager.inside().defaultPromptingInterface, nullptr);
    EXPECT_TRUE(manager.inside().handlersByReference.isEmpty());

    std::array<OpenEndedTask, 8> tasks;
    for (OpenEndedTask &task : tasks)
        manager.inside().tasksQueue.append(&task);
    // Started within the call, on this thread, up to the limit.
    for (size_t i = 0; i < tasks.size(); ++i)
        EXPECT_EQ(tasks.at(i).isRunning(), i < 6) << i;
    tasks.at(2).finish(Error());
    EXPECT_TRUE(tasks.at(6).isRunning());
    EXPECT_FALSE(tasks.at(7).isRunning());
    for (OpenEndedTask &task : tasks)
        task.finish(Error());
}

TEST_F(ResourceManagerSetupTest, constructor_deadProcessOfThisNumberPingedLately_opensAfterItsTime)
{
    const TemporaryCache other;
    {
        const TestManager manager(settingsFor(other.baseDir()));
    }
    QElapsedTimer timer;
    timer.start();
    // As a process leaves it that was killed a good nine seconds ago.
    CacheDatabase rows(other.databasePath());
    rows.run(u"INSERT INTO Clients (processId, lastPingTime) VALUES (?, ?)"_s,
             { QCoreApplication::applicationPid(), QDateTime::currentMSecsSinceEpoch() - 9300 });

    TestManager manager(settingsFor(other.baseDir()));
    EXPECT_TRUE(manager.inside().cache->isOpen());
    EXPECT_GE(timer.elapsed(), 500);
    EXPECT_EQ(rows.count(u"Clients"_s), 1);
}

TEST_F(ResourceManagerSetupTest, constructor_cleanupFails_livesWithAClosedCache)
{
    const TemporaryCache other;
    leaveDeadClientStuck(other);
    const LogCapture log;
    TestManager manager(settingsFor(other.baseDir()));
    EXPECT_FALSE(manager.inside().cache->isOpen());
    EXPECT_TRUE(log.contains(QtWarningMsg, u"stuck"_s));
    EXPECT_EQ(CacheDatabase(other.databasePath()).count(u"Clients"_s), 1);
}

TEST_F(ResourceManagerSetupTest, openCache_openElsewhere_movesThere)
{
    TestManager manager(settingsFor(directory.baseDir()));
    const TemporaryCache other;
    ASSERT_TRUE(succeeds(manager.openCache(settingsFor(other.baseDir()).cachePath, { 1, 2 })));
    EXPECT_EQ(manager.inside().cache->path().baseDirPath().toString(), other.baseDir());
    EXPECT_EQ(database().count(u"Clients"_s), 0);
    manager.inside().cache->close();
}

TEST_F(ResourceManagerSetupTest, openCache_baseDirectoryCannotBeMade_leavesTheCacheClosed)
{
    TestManager manager(settingsFor(directory.baseDir()));
    EXPECT_TRUE(failsWith(manager.openCache(impossibleSettings().cachePath, {}),
                          ErrorCode::OperationFailed));
    EXPECT_FALSE(manager.inside().cache->isOpen());
}

TEST_F(ResourceManagerSetupTest, updateSettings_onlySizes_keepsTheCacheOpenWithoutASignal)
{
    QSignalSpy moved(&ResourceManager::instance(), &ResourceManager::cachePathChanged);
    auto settings = settingsFor(directory.baseDir());
    settings.sizes = { 70, 80 };
    EXPECT_TRUE(succeeds(ResourceManager::updateSettings(settings)));
    EXPECT_EQ(ResourceManager::cache()->sizes().optimalSize, 70);
    EXPECT_EQ(ResourceManager::maxCacheSize().value(), 80);
    EXPECT_EQ(moved.count(), 0);
}

TEST_F(ResourceManagerSetupTest, updateSettings_pathInAnotherSpelling_countsAsUnchanged)
{
    QSignalSpy moved(&ResourceManager::instance(), &ResourceManager::cachePathChanged);
    EXPECT_TRUE(
        succeeds(ResourceManager::updateSettings(settingsFor(directory.baseDir() + u"/."_s))));
    EXPECT_EQ(moved.count(), 0);
    EXPECT_EQ(ResourceManager::cachePath().baseDirPath().toString(), directory.baseDir());
}

TEST_F(ResourceManagerSetupTest, updateSettings_anotherPath_announcesItBeforeTheMove)
{
    ResourceManager &manager = ResourceManager::instance();
    const TemporaryCache other;
    QStringList announced;
    QString pathAtThatTime;
    QObject::connect(&manager, &ResourceManager::cachePathChanged, &manager,
                     [&](const ResourceCachePath &path) {
                         announced.append(path.baseDirPath());
                         pathAtThatTime = ResourceManager::cachePath().baseDirPath();
                         EXPECT_TRUE(QFileInfo::exists(path.cacheDataDir()));
                     });
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(other.baseDir()))));
    EXPECT_EQ(announced, QStringList { other.baseDir() });
    EXPECT_EQ(pathAtThatTime, directory.baseDir());
    EXPECT_EQ(ResourceManager::cachePath().baseDirPath().toString(), other.baseDir());
    EXPECT_TRUE(ResourceManager::cache()->isOpen());
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(directory.baseDir()))));
}

TEST_F(ResourceManagerSetupTest, updateSettings_cleanupFailsElsewhere_leavesTheCacheClosed)
{
    ASSERT_TRUE(ResourceManager::cache()->isOpen());
    const TemporaryCache other;
    leaveDeadClientStuck(other);
    EXPECT_TRUE(ResourceManager::updateSettings(settingsFor(other.baseDir())).hasError());
    EXPECT_FALSE(ResourceManager::cache()->isOpen());
    EXPECT_EQ(CacheDatabase(other.databasePath()).count(u"Clients"_s), 1);
}

TEST_F(ResourceManagerSetupTest, updateSettings_closedCache_announcesAndLeavesItClosed)
{
    QSignalSpy moved(&ResourceManager::instance(), &ResourceManager::cachePathChanged);
    ResourceManager::cache()->close();
    const TemporaryCache other;
    EXPECT_TRUE(succeeds(ResourceManager::updateSettings(settingsFor(other.baseDir()))));
    EXPECT_EQ(moved.count(), 1);
    EXPECT_FALSE(ResourceManager::cache()->isOpen());
    EXPECT_FALSE(QFileInfo::exists(other.databasePath()));
}

TEST_F(ResourceManagerSetupTest, updateSettings_dataDirectoryCannotBeMade_keepsSettingsAndCache)
{
    QSignalSpy moved(&ResourceManager::instance(), &ResourceManager::cachePathChanged);
    auto settings = impossibleSettings();
    settings.sizes = { 70, 80 };
    EXPECT_TRUE(failsWith(ResourceManager::updateSettings(settings), ErrorCode::OperationFailed,
                          u"Failed to create cache directory %1"_s.arg(
                              settings.cachePath.cacheDataDir().toString())));
    EXPECT_EQ(moved.count(), 0);
    EXPECT_EQ(ResourceManager::maxCacheSize().value(), 80);
    EXPECT_EQ(ResourceManager::optimalCacheSize().value(), 70);
    EXPECT_EQ(ResourceManager::cachePath().baseDirPath().toString(), directory.baseDir());
    EXPECT_TRUE(ResourceManager::cache()->isOpen());
    EXPECT_EQ(ResourceManager::cache()->sizes().maximumSize,
              ResourceCacheSizes::DEFAULT_MAXIMUM_SIZE);
}

TEST_F(ResourceManagerSetupTest, updateSettings_newCacheCannotBeOpened_failsAndStaysClosed)
{
    const TemporaryCache other;
    ASSERT_TRUE(QDir().mkpath(other.databasePath())); // a folder where the file should be
    EXPECT_FALSE(succeeds(ResourceManager::updateSettings(settingsFor(other.baseDir()))));
    EXPECT_FALSE(ResourceManager::cache()->isOpen());
}

TEST_F(ResourceManagerSetupTest, retrieveMode_afterSetting_isTheNewOne)
{
    EXPECT_EQ(ResourceManager::retrieveMode(), ResourceHandler::NoPrompt);
    ResourceManager::setRetrieveMode(ResourceHandler::Prompt);
    EXPECT_EQ(ResourceManager::retrieveMode(), ResourceHandler::Prompt);
}

TEST_F(ResourceManagerSetupTest, setDefaultResourcePromptingInterface_again_deletesTheFormer)
{
    struct Counting : FakePrompting
    {
        explicit Counting(int *alive)
            : alive(alive)
        {
            ++*alive;
        }
        ~Counting() override { --*alive; }
        int *alive;
    };
    int alive = 0;
    ResourceManager::setDefaultResourcePromptingInterface(std::make_unique<Counting>(&alive));
    EXPECT_EQ(alive, 1);
    ResourceManager::setDefaultResourcePromptingInterface(nullptr);
    EXPECT_EQ(alive, 0);
}

TEST_F(ResourceManagerSetupTest, destructor_tasksStillWaiting_endsCanceledBeforeTheCacheGoes)
{
    std::vector<std::unique_ptr<OpenEndedTask>> tasks;
    {
        TestManager manager(settingsFor(directory.baseDir()));
        for (int i = 0; i < 7; ++i) {
            tasks.push_back(std::make_unique<OpenEndedTask>());
            manager.inside().tasksQueue.append(tasks.back().get());
        }
    }
    EXPECT_EQ(tasks.back()->error().errorCode(), ErrorCode::Canceled);
    EXPECT_TRUE(tasks.front()->isRunning());
    tasks.front()->finish(Error());
    EXPECT_EQ(database().count(u"Clients"_s), 0);
}
