#include "CacheOperations.h"

#include <QCoreApplication>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Exception = CacheInvariants::Exception;

namespace {

using Handle = std::unique_ptr<ResourceRetrieveHandle>;

const QString missingPath = u"test/missing/name"_s;
constexpr auto fetchedContent = "fetched";

/// The status of test:missing and this process's tasks for it, with their progresses.
QString stateOf(const CacheWorld &world)
{
    return world.text(
        u"SELECT cr.status || ':' || COALESCE((SELECT GROUP_CONCAT(COALESCE(at.progress, 'wish')) "
        "FROM AcquiringTasks at, Clients c WHERE at.resourceId = cr.id AND at.clientId = c.id "
        "AND c.processId = ?), '') FROM CachedResources cr WHERE cr.reference = 'test:missing'"_s,
        { QCoreApplication::applicationPid() });
}

auto leaves(const QString &state)
{
    return [state](CacheWorld &world) {
        return CacheWorld::difference(stateOf(world), state);
    };
}

auto answers(const QVariant &expected)
{
    return [expected](CacheWorld &world) {
        return CacheWorld::difference(world.answer, expected);
    };
}

Error start(CacheWorld &world, const QString &reference)
{
    if (!world.fetch)
        world.fetch = world.newFetch(reference, missingPath);
    const auto started = world.fetch->tryStartRetrieve();
    world.answer = started.hasValue() ? QVariant(started.value()) : QVariant();
    return errorOf(started);
}

void startFetch(CacheWorld &world)
{
    world.startFetch();
}

QList<FaultOperation> starts()
{
    return {
        { .name = "tryStartRetrieve",
          .run = [](CacheWorld &world) { return start(world, u"test:missing"_s); },
          .missing =
              [](CacheWorld &world) {
                  return answers(true)(world) + leaves(u"Acquiring:0"_s)(world);
              } },
        { .name = "tryStartRetrieve of what another fetches",
          .run = [](CacheWorld &world) { return start(world, u"test:taken"_s); },
          .missing = answers(false) },
        { .name = "tryStartRetrieve of what is Ready",
          .run = [](CacheWorld &world) { return start(world, u"test:file"_s); },
          .missing = answers(false) },
        { .name = "addTaskToDatabase",
          .setUp
          = [](CacheWorld &world) { world.fetch = world.newFetch(u"test:missing"_s, missingPath); },
          .run = [](CacheWorld &world) { return world.fetch->addTaskToDatabase(); },
          .missing = leaves(u"ScheduledForAcquire:wish"_s) },
        { .name = "removeTaskFromDatabase",
          .setUp = startFetch,
          .run = [](CacheWorld &world) { return world.fetch->removeTaskFromDatabase(); },
          .missing = leaves(u"Missing:"_s) },
        { .name = "removeTaskFromDatabase with another handle that watches",
          .setUp =
              [](CacheWorld &world) {
                  world.startFetch();
                  world.secondFetch = world.newFetch(u"test:missing"_s, missingPath);
                  EXPECT_FALSE(world.secondFetch->tryStartRetrieve().value());
              },
          .run = [](CacheWorld &world) { return world.fetch->removeTaskFromDatabase(); },
          .missing = leaves(u"Acquiring:wish,wish"_s) },
        { .name = "end of a handle",
          .setUp = startFetch,
          .run =
              [](CacheWorld &world) {
                  world.fetch.reset();
                  return Error();
              },
          .missing = leaves(u"Missing:"_s),
          .repeat = [](CacheWorld &world) { return world.reopen(); },
          .silence = "A destructor has nobody to report to; the row goes with this process." },
    };
}

QList<FaultOperation> progresses()
{
    return {
        { .name = "saveProgress",
          .setUp = startFetch,
          .run = [](CacheWorld &world) { return world.fetch->saveProgress(55); },
          .missing = leaves(u"Acquiring:55"_s) },
        { .name = "readProgress",
          .run =
              [](CacheWorld &world) {
                  const Handle watcher = world.newFetch(u"test:taken"_s, missingPath);
                  const auto progress = watcher->readProgress();
                  world.answer
                      = progress.hasValue() ? QVariant(*progress.value().progress) : QVariant();
                  return errorOf(progress);
              },
          .missing = answers(10) },
        { .name = "isReady",
          .run =
              [](CacheWorld &world) {
                  const Handle watcher = world.newFetch(u"test:file"_s, missingPath);
                  const auto ready = watcher->isReady();
                  world.answer = ready.hasValue() ? QVariant(ready.value()) : QVariant();
                  return errorOf(ready);
              },
          .missing = answers(true) },
    };
}

/// Writes the data as a fetch does; success only if all of it is there.
Error writeData(const CacheWorld &world)
{
    const QString path = world.dataPath(missingPath);
    QFile file(path);
    const QByteArray content(fetchedContent);
    if (QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly)
        && file.write(content) == content.size() && file.flush())
        return Error();
    return Error(ErrorCode::OperationFailed, u"The data cannot be written."_s)
        .ecatch(Q_FUNC_INFO, __FILE__, __LINE__);
}

/// All that a program does to fetch a resource, from the beginning.
Error fetchWhole(CacheWorld &world)
{
    world.fetch.reset();
    Error error = start(world, u"test:missing"_s);
    if (error.hasError() || !world.answer.toBool())
        return error;
    const Error written = writeData(world);
    error = world.fetch->finalizeRetrieve(written);
    if (!error.hasError() && !written.hasError())
        error = world.fetch->removeTaskFromDatabase();
    return written.hasError() ? written : error;
}

QString lackOfFetched(CacheWorld &world)
{
    return CacheWorld::difference(world.status(u"test:missing"_s), u"Ready"_s)
        + CacheWorld::difference(QString::fromUtf8(readFile(world.dataPath(missingPath))),
                                 QString::fromUtf8(fetchedContent))
        + CacheWorld::difference(world.text(u"SELECT version FROM CachedResources "
                                            "WHERE reference = 'test:missing'"_s),
                                 u"2.5"_s);
}

constexpr auto uncountable
    = "A size has no failure: what cannot be looked at counts as nothing until the next count.";

QList<FaultOperation> endings()
{
    return {
        { .name = "finalizeRetrieve",
          .setUp =
              [](CacheWorld &world) {
                  world.startFetch();
                  EXPECT_FALSE(writeData(world).hasError());
              },
          .run = [](CacheWorld &world) { return world.fetch->finalizeRetrieve(Error()); },
          .missing = lackOfFetched },
        { .name = "finalizeRetrieve of a container whose paths are too long",
          .setUp =
              [](CacheWorld &world) {
                  world.makeContainer(u"test/zacq/x.zacq"_s);
                  world.startFetch(u"test:zacq"_s, u"test/zacq/x.zacq"_s);
              },
          .run = [](CacheWorld &world) { return world.fetch->finalizeRetrieve(Error()); },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(world.status(u"test:zacq"_s), u"Ready"_s);
              },
          .exceptions = { Exception::OtherSizes },
          .whyExcepted = uncountable },
        { .name = "finalizeRetrieve of a fetch that has failed",
          .setUp = startFetch,
          .run =
              [](CacheWorld &world) {
                  return world.fetch->finalizeRetrieve(
                      Error(ErrorCode::OperationFailed, u"No network."_s));
              },
          .missing = leaves(u"Missing:0"_s) },
        { .name = "finalizeRetrieve refused: nothing was fetched",
          .setUp = startFetch,
          .run = [](CacheWorld &world) { return world.fetch->finalizeRetrieve(Error()); },
          .missing = leaves(u"Acquiring:0"_s),
          .isRefused = true },
        { .name = "a whole fetch", .run = fetchWhole, .missing = lackOfFetched },
    };
}

/// As it is mended: who takes part knows that nobody else does.
Error endAbandoned(CacheWorld &world)
{
    const Handle handle = world.newFetch(u"test:missing"_s, missingPath);
    const auto started = handle->tryStartRetrieve();
    if (!started.hasValue() || !started.value())
        return errorOf(started);
    const Error error
        = handle->finalizeRetrieve(Error(ErrorCode::Canceled, u"Nobody fetches it."_s));
    return error.hasError() ? error : handle->removeTaskFromDatabase();
}

/// What others can mend by the operations of the cache.
QList<FaultOperation> repairs()
{
    return {
        { .name = "end of a fetch that nobody runs",
          .setUp =
              [](CacheWorld &world) {
                  CacheDatabase rows = world.database();
                  rows.run(u"UPDATE CachedResources SET status = 'ScheduledForAcquire' "
                           "WHERE reference = 'test:missing'"_s);
              },
          .run = endAbandoned,
          .missing = leaves(u"Missing:"_s),
          .exceptions = { Exception::WishWithoutTask },
          .whyExcepted = "It was so before." },
        { .name = "saveLocalPath of data that was moved",
          .setUp =
              [](CacheWorld &world) {
                  EXPECT_TRUE(QFile::rename(world.dataPath(u"test/file/name"_s),
                                            world.dataPath(u"test/file/moved"_s)));
              },
          .run =
              [](CacheWorld &world) {
                  return world.cache->saveLocalPath(u"test:file"_s,
                                                    world.dataPath(u"test/file/moved"_s), 10);
              },
          .missing =
              [](CacheWorld &world) {
                  const QString path = world.text(
                      u"SELECT cachedPath FROM CachedResources WHERE reference = 'test:file'"_s);
                  return CacheWorld::difference(path, world.dataPath(u"test/file/moved"_s));
              },
          .exceptions = { Exception::LostData },
          .whyExcepted = "It was so before." },
    };
}

} // namespace

QList<FaultOperation> fetchOperations()
{
    return starts() + progresses() + endings() + repairs();
}

} // namespace zel::test
