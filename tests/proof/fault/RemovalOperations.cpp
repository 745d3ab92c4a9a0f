#include "CacheOperations.h"

#include "Task.h"

#include <QCoreApplication>
#include <QFile>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Exception = CacheInvariants::Exception;

namespace {

constexpr auto filesFirst = "Data goes before its row says so: a removal that was interrupted "
                            "leaves a row whose data is gone, never one with a part of it, and "
                            "the next purge or fetch mends the row.";
const QList<Exception> lostData { Exception::LostData };

/// The cache is larger than it may be: only the bystander may stay.
void fill(CacheWorld &world, qint64 maximumSize)
{
    world.sizes = { 10, maximumSize };
    EXPECT_FALSE(world.reopen().hasError());
}

void fillAboveMaximum(CacheWorld &world)
{
    fill(world, 12);
}

/// What is left of those that nobody uses. An interrupted removal can leave data aside, under a
/// hidden name, for the next removal of the resource.
QString rest(CacheWorld &world)
{
    QString left;
    for (const QString &reference : { u"test:file"_s, u"test:tree"_s })
        left += CacheWorld::difference(world.status(reference), u"Missing"_s);
    for (const QString &path : { u"test/file/name"_s, u"test/tree/folder"_s })
        left += CacheWorld::difference(world.exists(path), false);
    return left
        + CacheWorld::difference(world.text(u"SELECT currentSize FROM CacheMetadata"_s), u"9"_s);
}

Error purge(CacheWorld &world)
{
    return world.cache->purgeCacheIfNeeded(0);
}

Error purgeOutdatedByTask(CacheWorld &world)
{
    const auto task = world.cache->purgeOutdatedResourcesTask();
    if (!task.hasValue())
        return task.error();
    if (!task.value())
        return Error();
    task.value()->exec();
    return task.value()->error();
}

QList<FaultOperation> purges()
{
    return {
        { .name = "purgeCacheIfNeeded above the maximum",
          .setUp = fillAboveMaximum,
          .run = purge,
          .missing = rest,
          .exceptions = lostData,
          .whyExcepted = filesFirst },
        { .name = "purgeCacheIfNeeded below the maximum",
          .setUp = [](CacheWorld &world) { fill(world, 1000); },
          .run = purge,
          .missing = rest,
          .silence = "Below the maximum size the cache may stay as it is.",
          .exceptions = lostData,
          .whyExcepted = filesFirst },
        { .name = "purgeCacheIfNeeded of a container with two places",
          .setUp =
              [](CacheWorld &world) {
                  world.addSparseContainer();
                  fillAboveMaximum(world);
              },
          .run = purge,
          .missing =
              [](CacheWorld &world) {
                  return rest(world)
                      + CacheWorld::difference(world.status(u"test:zacq"_s), u"Missing"_s)
                      + CacheWorld::difference(world.exists(u"test/zacq/x.zacq"_s), false);
              },
          .exceptions = lostData,
          .whyExcepted = filesFirst },
        { .name = "setSizes to less",
          .run =
              [](CacheWorld &world) {
                  return world.cache->setSizes({ 10, 12 });
              },
          .missing = rest,
          .repeat =
              [](CacheWorld &world) {
                  // What was set stays set, and is no change any more.
                  EXPECT_FALSE(world.cache->setSizes({}).hasError());
                  return world.cache->setSizes({ 10, 12 });
              },
          .exceptions = lostData,
          .whyExcepted = filesFirst },
        { .name = "add to a full cache",
          .setUp = fillAboveMaximum,
          .run =
              [](CacheWorld &world) {
                  return world.cache->add(u"test:new"_s, ResourceCleanupPolicy::OnDemand);
              },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(world.status(u"test:new"_s), u"Missing"_s);
              },
          .exceptions = lostData,
          .whyExcepted = filesFirst },
    };
}

QList<FaultOperation> outdatedPurges()
{
    return {
        { .name = "purgeOutdatedResources",
          .run = [](CacheWorld &world) { return world.cache->purgeOutdatedResources(); },
          .missing = rest,
          .exceptions = lostData,
          .whyExcepted = filesFirst },
        { .name = "purgeOutdatedResourcesTask",
          .run = purgeOutdatedByTask,
          .missing = rest,
          .exceptions = lostData,
          .whyExcepted = filesFirst },
    };
}

/// Begins a use and keeps it.
FaultOperation use(const char *name, const QString &reference,
                   const std::function<void(CacheWorld &)> &setUp)
{
    const auto run = [reference](CacheWorld &world) {
        auto use = world.cache->useResource(reference);
        world.use = use.hasValue() ? std::move(use).value() : nullptr;
        return errorOf(use);
    };
    const auto missing = [reference](CacheWorld &world) {
        return CacheWorld::difference(world.usesOf(reference), 1);
    };
    return { .name = name,
             .setUp = setUp,
             .run = run,
             .missing = missing,
             .exceptions = lostData,
             .whyExcepted = filesFirst };
}

FaultOperation endOfUse(const char *name, const QString &policy, const QString &status)
{
    const auto setUp = [policy](CacheWorld &world) {
        CacheDatabase rows = world.database();
        rows.run(u"UPDATE CachedResources SET cleanupPolicy = ? WHERE reference = 'test:tree'"_s,
                 { policy });
        world.use = world.cache->useResource(u"test:tree"_s).value();
    };
    const auto run = [](CacheWorld &world) {
        world.use.reset();
        return Error();
    };
    const auto missing = [status](CacheWorld &world) {
        return CacheWorld::difference(world.usesOf(u"test:tree"_s), 0)
            + CacheWorld::difference(world.status(u"test:tree"_s), status)
            + CacheWorld::difference(world.exists(u"test/tree/folder"_s), status == u"Ready"_s);
    };
    const auto repeat = [](CacheWorld &world) {
        const Error error = world.reopen();
        auto again = world.cache->useResource(u"test:tree"_s);
        return error.hasError() ? error : errorOf(again);
    };
    return { .name = name,
             .setUp = setUp,
             .run = run,
             .missing = missing,
             .repeat = repeat,
             .silence = "A destructor has nobody to report to; the row goes with this process.",
             .exceptions = lostData,
             .whyExcepted = filesFirst };
}

QList<FaultOperation> uses()
{
    return {
        use("useResource of a new one", u"test:new"_s, {}),
        use("useResource of a Ready one", u"test:file"_s, {}),
        use("useResource of a Missing one in a full cache", u"test:missing"_s, fillAboveMaximum),
        endOfUse("end of a use", u"OnDemand"_s, u"Ready"_s),
        endOfUse("end of a use with removal", u"OnClose"_s, u"Missing"_s),
    };
}

/// Clears the path of a resource that is not there, or not any more.
FaultOperation clearing(const char *name, const QString &reference, const QString &path,
                        const std::function<void(CacheWorld &)> &setUp)
{
    const auto run = [reference, path](CacheWorld &world) {
        return errorOf(world.cache->moveLeftoversAside(reference, world.dataPath(path)));
    };
    const auto missing = [reference, path](CacheWorld &world) {
        return CacheWorld::difference(world.exists(path), false)
            + CacheWorld::difference(world.status(reference), u"Missing"_s);
    };
    return { .name = name,
             .setUp = setUp,
             .run = run,
             .missing = missing,
             .exceptions = lostData,
             .whyExcepted = "Somebody has deleted the data before." };
}

QList<FaultOperation> clearings()
{
    return {
        clearing(
            "moveLeftoversAside of a file", u"test:missing"_s, u"test/missing/name"_s,
            [](CacheWorld &world) { writeFile(world.dataPath(u"test/missing/name"_s), "half"); }),
        clearing("moveLeftoversAside of a folder", u"test:missing"_s, u"test/missing/folder"_s,
                 [](CacheWorld &world) {
                     writeFile(world.dataPath(u"test/missing/folder/a"_s), "half");
                 }),
        clearing("moveLeftoversAside of what is lost", u"test:file"_s, u"test/file/name"_s,
                 [](CacheWorld &world) {
                     EXPECT_TRUE(QFile::remove(world.dataPath(u"test/file/name"_s)));
                 }),
        { .name = "moveLeftoversAside of what is published",
          .run =
              [](CacheWorld &world) {
                  const auto left = world.cache->moveLeftoversAside(
                      u"test:file"_s, world.dataPath(u"test/file/name"_s));
                  world.answer = left.hasValue() && left.value().isPublished;
                  return errorOf(left);
              },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(world.answer, true);
              } },
    };
}

} // namespace

QList<FaultOperation> removalOperations()
{
    return purges() + outdatedPurges() + uses() + clearings();
}

} // namespace zel::test
