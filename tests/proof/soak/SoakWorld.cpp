#include "SoakWorld.h"

#include "ResourceCache.h"
#include "ResourceCacheReader.h"
#include "ResourceHandlerFactory.h"
#include "ResourceManager_p.h"
#include "ResourceRetrieveHandle.h"
#include "support/ManagerFixture.h"
#include "support/TestReference.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QTimer>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

// A third of what the rounds fetch fits, so that what is fetched replaces something.
constexpr ResourceCacheSizes sizes { 40'000, 60'000 };
constexpr int resourceSize = 2'000;
const QByteArray data(resourceSize, 'd');

void registerScriptedScheme()
{
    const auto parser = [](const QString &text) -> Result<QSharedPointer<ResourceReference>> {
        return QSharedPointer<ResourceReference>(
            new TestReference(ResourceReference::Host1, u"test"_s, text.section(u':', 1)));
    };
    ASSERT_TRUE(succeeds(ResourceReference::registerScheme(
        { ResourceReference::Host1, { u"test"_s }, u"test"_s, QVersionNumber(1), parser })));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        ResourceReference::Host1,
        [](const QSharedPointer<ResourceReference> &reference,
           ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
            return QSharedPointer<ResourceHandler>(new RemoteTestHandler(reference, cache));
        });
}

Error writeData(Task *task, const QString &path)
{
    task->setProgress(1, 2);
    writeFile(path, data);
    return {};
}

constexpr int eventsLimitMs = 10; // what a worker does is no event

void addFolder(const QString &path)
{
    for (const QString &name : { u"a"_s, u"b/c"_s, u"b/d"_s })
        writeFile(path + u'/' + name, data);
}

} // namespace

SoakWorld::SoakWorld()
    : otherBaseDir(cache.addBaseDir(u"other"_s))
{
    QLoggingCategory::setFilterRules(u"zel.*=false"_s);
    static const bool isRegistered = (registerScriptedScheme(), true);
    EXPECT_TRUE(isRegistered);
    EXPECT_TRUE(succeeds(ResourceManager::cache()->setSizes(sizes)));
    for (int i = 0; i < names; ++i) {
        writeFile(cache.outside(u"source/%1.raw"_s.arg(i)), data);
        addFolder(cache.outside(u"source/folder%1"_s.arg(i)));
    }
}

SoakWorld::~SoakWorld() = default;

QList<SoakWorld::Kind> SoakWorld::kinds()
{
    return scriptedKinds() + schemeKinds() + managerKinds();
}

QList<SoakWorld::Kind> SoakWorld::scriptedKinds()
{
    const auto scripted = [](const QString &name) -> HandlerScript & {
        HandlerScript &script = scriptOf(u"test:"_s + name);
        script.fetch = writeData;
        return script;
    };
    for (int i = 0; i < 64; ++i)
        scripted(u"many%1"_s.arg(i)).fetchMode
            = i % 2 == 0 ? Task::ExecutionMode::Synchronous : Task::ExecutionMode::Asynchronous;
    scripted(u"failing"_s).fetch = [](Task *, const QString &path) {
        writeFile(path, "half");
        return Error(ErrorCode::OperationFailed, u"The source has gone."_s);
    };
    HandlerScript &endless = scripted(u"endless"_s);
    endless.fetchMode = Task::ExecutionMode::Asynchronous;
    endless.fetch = [](Task *task, const QString &) {
        while (!task->isCanceled())
            QThread::usleep(100);
        return Error(ErrorCode::Canceled, u"As it was asked to."_s);
    };

    return {
        { u"hit"_s, 400, 1,
          [this] {
              retrieve(oneOf(u"test:kept%1"_s, names));
          } },
        { u"missWithEviction"_s, 200, 3,
          [this] {
              retrieve(oneOf(u"test:many%1"_s, 64));
          } },
        { u"removedAtRelease"_s, 100, 4,
          [this] {
              fetchOnce(oneOf(u"test:brief%1"_s, names));
          } },
        { u"failingFetch"_s, 50, 3,
          [this] {
              refuse(u"test:failing"_s);
          } },
        { u"canceledWhileRunning"_s, 20, 4,
          [this, &endless] {
              const int before = endless.fetches;
              cancel(u"test:endless"_s, [&endless, before] { return endless.fetches > before; });
          } },
        { u"canceledAtOnce"_s, 20, 4,
          [this] {
              cancel(u"test:endless"_s, [] { return true; });
          } },
        { u"abandonedTask"_s, 20, 3,
          [this] {
              abandon();
          } },
        { u"group"_s, 15, 16,
          [this] {
              fetchTogether();
          } },
    };
}

QList<SoakWorld::Kind> SoakWorld::schemeKinds()
{
    server = std::make_unique<NginxServer>();
    server->addFile(u"file.raw"_s, data);
    addFolder(server->root() + u"/folder"_s);
    const QByteArray sum = QCryptographicHash::hash(data, QCryptographicHash::Sha256).toHex();
    server->addFile(u"folder/SUMS"_s, sum + "  a\n" + sum + "  b/c\n" + sum + "  b/d\n");

    const auto url = [this](const QString &path) {
        return server->url(path);
    };
    const QString sources = u"share:"_s + cache.outside(u"source"_s);
    return {
        { u"shareFile"_s, 10, 16,
          [=, this] {
              fetchOnce(oneOf(sources + u"/%1.raw"_s, names));
          } },
        { u"shareFolder"_s, 5, 24,
          [=, this] {
              fetchOnce(oneOf(sources + u"/folder%1"_s, names));
          } },
        { u"shareMissing"_s, 15, 4,
          [=, this] {
              refuse(sources + u"/nothing"_s);
          } },
        { u"webFile"_s, 10, 16,
          [=, this] {
              fetchOnce(url(u"file.raw"_s));
          } },
        { u"webFolder"_s, 4, 32,
          [=, this] {
              fetchOnce(u"list+"_s + url(u"folder/SUMS"_s));
          } },
        { u"newResource"_s, 0, 16,
          [=, this] { fetchOnce(url(u"file.raw?number=%1"_s.arg(next()))); }, true },
        { u"signedAddress"_s, 100, 1,
          [this] {
              followSignedAddress();
          } },
        { u"webMissing"_s, 10, 4,
          [=, this] {
              refuse(url(u"nothing"_s));
          } },
    };
}

QList<SoakWorld::Kind> SoakWorld::managerKinds()
{
    return {
        { u"fetchedByAnother"_s, 1, 40,
          [this] {
              followAnother();
          } },
        { u"closeAndOpen"_s, 5, 12,
          [this] {
              closeAndOpen();
          } },
        { u"moveAndReturn"_s, 3, 24,
          [this] {
              moveAndReturn();
          } },
        { u"questions"_s, 20, 2,
          [this] {
              ask();
          } },
        { u"reader"_s, 10, 3,
          [this] {
              lookAtRows();
          } },
        { u"maintenance"_s, 10, 4,
          [this] {
              maintain();
          } },
    };
}

void SoakWorld::run(int rounds, const std::function<void()> &round)
{
    QEventLoop loop;
    std::function<void()> step = [&] {
        if (rounds-- == 0 || HasFatalFailure())
            return loop.quit();
        round();
        QTimer::singleShot(0, &loop, step);
    };
    QTimer::singleShot(0, &loop, step);
    loop.exec();
}

ProcessUse SoakWorld::useAtRest()
{
    ResourceCache *all = ResourceManager::cache();
    EXPECT_TRUE(succeeds(all->setSizes({ 1, 1 })));
    EXPECT_TRUE(succeeds(all->purgeCacheIfNeeded(0)));
    EXPECT_TRUE(succeeds(all->setSizes(sizes)));

    const auto objectsBelow = [](const QObject &object) {
        return object.findChildren<QObject *>().size();
    };
    ResourceManager &manager = ResourceManager::instance();
    ProcessUse use = ProcessUse::now(cache.outside(QString()), cache.databasePath());
    use.amounts[ProcessUse::Objects] = objectsBelow(manager)
        + objectsBelow(TestManager::insideOf(manager).tasksQueue) + objectsBelow(*qApp);
    return use;
}

QStringList SoakWorld::violationsAtRest() const
{
    return CacheInvariants(cache.databasePath(), cache.dataDir()).violations();
}

ResourceCachePath SoakWorld::mainPath() const
{
    ResourceCachePath path;
    path.setBaseDirPath(cache.baseDir());
    return path;
}

/// Its data goes with the release, so that the next one fetches again.
void SoakWorld::fetchOnce(const QString &text)
{
    EXPECT_TRUE(succeeds(handler(text)->setCleanupPolicy(ResourceCleanupPolicy::OnClose)));
    retrieve(text);
}

void SoakWorld::refuse(const QString &text)
{
    const auto wanted = handler(text);
    EXPECT_TRUE(wanted->retrieve().hasError());
    EXPECT_FALSE(wanted->isAvailableLocally());
}

void SoakWorld::cancel(const QString &text, const std::function<bool()> &mayCancel)
{
    const auto wanted = handler(text);
    const auto task = wanted->retrieveAsync(ResourceHandler::Queued);
    ASSERT_TRUE(succeeds(task));
    while (!mayCancel() && !task.value()->isFinished())
        QCoreApplication::processEvents(QEventLoop::AllEvents, eventsLimitMs);
    task.value()->cancel();
    EXPECT_TRUE(failsWith(task.value()->waitForAllFinished(-1), ErrorCode::Canceled));
}

/// Asks for a fetch that then nobody starts.
void SoakWorld::abandon()
{
    EXPECT_TRUE(succeeds(handler(u"test:abandoned"_s)->retrieveAsync(ResourceHandler::Manual)));
}

void SoakWorld::fetchTogether()
{
    ResourceManager::References together;
    for (int i = 0; i < 4; ++i)
        together.append(reference(oneOf(u"test:many%1"_s, 64)));
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(together)));
}

/// Waits for a fetch that is under way elsewhere in this program.
void SoakWorld::followAnother()
{
    const auto wanted = handler(u"test:theirs"_s);
    EXPECT_TRUE(succeeds(wanted->setCleanupPolicy(ResourceCleanupPolicy::OnClose)));
    const QString path = cache.dataDir() + u"/test/theirs/theirs.dat"_s;
    ResourceRetrieveHandle fetch(u"test:theirs"_s, path, ResourceManager::cache(),
                                 QVersionNumber(1));
    const auto isStarted = fetch.tryStartRetrieve();
    ASSERT_TRUE(isStarted.hasValue() && isStarted.value());

    const auto task = wanted->retrieveAsync(ResourceHandler::Queued);
    ASSERT_TRUE(succeeds(task));
    writeFile(path, data);
    EXPECT_TRUE(succeeds(fetch.finalizeRetrieve(Error())));
    EXPECT_TRUE(succeeds(task.value()->waitForAllFinished(-1)));
}

void SoakWorld::closeAndOpen()
{
    ResourceManager::cache()->close();
    ASSERT_TRUE(succeeds(ResourceManager::cache()->open(mainPath(), sizes)));
    retrieve(oneOf(u"test:kept%1"_s, names));
}

void SoakWorld::moveAndReturn()
{
    ResourceManagerSettings elsewhere;
    elsewhere.sizes = sizes;
    ResourceManagerSettings here = elsewhere;
    elsewhere.cachePath.setBaseDirPath(otherBaseDir);
    here.cachePath = mainPath();
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(elsewhere)));
    fetchOnce(oneOf(u"test:brief%1"_s, names));
    ASSERT_TRUE(succeeds(ResourceManager::updateSettings(here)));
    fetchOnce(oneOf(u"test:brief%1"_s, names));
}

void SoakWorld::ask()
{
    const auto asked = handler(oneOf(u"test:kept%1"_s, names));
    EXPECT_TRUE(succeeds(asked->exists()));
    EXPECT_TRUE(succeeds(asked->exists()));
    ResourceManager::invalidateCachedRequestsValues(ResourceReference::Host1);
    const auto metadata = asked->existsAsync(ResourceHandler::Manual);
    EXPECT_TRUE(succeeds(metadata));
    EXPECT_TRUE(succeeds(asked->grab()));
}

/// One resource under an address that is signed anew each time.
void SoakWorld::followSignedAddress()
{
    const auto signedAnew
        = ResourceManager::getHandler(server->url(u"file.raw?token=%1"_s.arg(next())));
    ASSERT_TRUE(succeeds(signedAnew));
    EXPECT_TRUE(succeeds(signedAnew.value()->retrieve()));
}

void SoakWorld::lookAtRows()
{
    const ResourceCacheReader reader(cache.databasePath());
    EXPECT_TRUE(succeeds(reader.read()));
    EXPECT_TRUE(succeeds(reader.readActivity()));
    EXPECT_TRUE(succeeds(reader.readCondition()));
    retrieve(oneOf(u"test:kept%1"_s, names));
}

void SoakWorld::maintain()
{
    retrieve(oneOf(u"test:kept%1"_s, names));
    EXPECT_TRUE(succeeds(ResourceManager::purgeOutdatedResources()));
    EXPECT_TRUE(succeeds(ResourceManager::purgeOutdatedResourcesTask()));
    EXPECT_TRUE(succeeds(ResourceManager::cache()->updateFileSizes()));
    EXPECT_TRUE(succeeds(ResourceManager::cache()->rebuildMetadata()));
}

} // namespace zel::test
