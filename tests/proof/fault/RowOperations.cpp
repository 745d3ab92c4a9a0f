#include "CacheOperations.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Takes what a query answers for the world's answer.
template<typename T>
Error answered(CacheWorld &world, const Result<T> &result)
{
    world.answer = QVariant();
    if (result.hasValue())
        world.answer = QVariant::fromValue(result.value());
    return errorOf(result);
}

QString rowOf(const CacheWorld &world, const QString &reference)
{
    return world.text(u"SELECT status || ' ' || cleanupPolicy || ' ' || COALESCE(version, '') || "
                      "' ' || COALESCE(fileSize, 0) FROM CachedResources WHERE reference = ?"_s,
                      { reference });
}

FaultOperation query(const char *name, const std::function<Error(CacheWorld &)> &run,
                     const QVariant &expected)
{
    return { .name = name, .run = run, .missing = [expected](CacheWorld &world) {
                return CacheWorld::difference(world.answer, expected);
            } };
}

/// An operation after which the row of a resource reads like this.
FaultOperation change(const char *name, const std::function<Error(CacheWorld &)> &run,
                      const QString &reference, const QString &expected)
{
    return { .name = name, .run = run, .missing = [reference, expected](CacheWorld &world) {
                return CacheWorld::difference(rowOf(world, reference), expected);
            } };
}

QList<FaultOperation> queries()
{
    return {
        query(
            "readStatus",
            [](CacheWorld &world) {
                const auto status = world.cache->readStatus(u"test:file"_s);
                world.answer = status.hasValue() ? QVariant(int(status.value())) : QVariant();
                return errorOf(status);
            },
            int(ResourceStatus::Ready)),
        query(
            "readStatus of an unknown one",
            [](CacheWorld &world) {
                const auto status = world.cache->readStatus(u"test:new"_s);
                world.answer = status.hasValue() ? QVariant(int(status.value())) : QVariant();
                return errorOf(status);
            },
            int(ResourceStatus::Missing)),
        query(
            "readCleanupPolicy",
            [](CacheWorld &world) {
                const auto policy = world.cache->readCleanupPolicy(u"test:file"_s);
                world.answer = policy.hasValue() ? QVariant(int(policy.value())) : QVariant();
                return errorOf(policy);
            },
            int(ResourceCleanupPolicy::OnDemand)),
        { .name = "readLocalPath",
          .run =
              [](CacheWorld &world) {
                  const auto path = world.cache->readLocalPath(u"test:file"_s);
                  world.answer = path.hasValue() ? path.value().toString() : QString();
                  return errorOf(path);
              },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(world.answer, world.dataPath(u"test/file/name"_s));
              } },
        query(
            "existsInDb",
            [](CacheWorld &world) {
                return answered(world, world.cache->existsInDb(u"test:file"_s));
            },
            true),
        query(
            "inUse",
            [](CacheWorld &world) {
                return answered(world, world.cache->inUse(u"test:bystander"_s));
            },
            true),
        query(
            "readCurrentCacheSize",
            [](CacheWorld &world) { return answered(world, world.cache->readCurrentCacheSize()); },
            qint64 { 25 }),
    };
}

QList<FaultOperation> changes()
{
    return {
        change(
            "add",
            [](CacheWorld &world) {
                return world.cache->add(u"test:new"_s, ResourceCleanupPolicy::OnClose);
            },
            u"test:new"_s, u"Missing OnClose  0"_s),
        change(
            "saveStatus",
            [](CacheWorld &world) {
                return world.cache->saveStatus(u"test:file"_s, ResourceStatus::Missing);
            },
            u"test:file"_s, u"Missing OnDemand 1.0 10"_s),
        change(
            "saveCleanupPolicy",
            [](CacheWorld &world) {
                return world.cache->saveCleanupPolicy(u"test:file"_s, ResourceCleanupPolicy::Never);
            },
            u"test:file"_s, u"Ready Never 1.0 10"_s),
        change(
            "saveLocalPath",
            [](CacheWorld &world) {
                return world.cache->saveLocalPath(u"test:missing"_s,
                                                  world.dataPath(u"test/missing/x"_s), 3);
            },
            u"test:missing"_s, u"Missing OnDemand 1.0 3"_s),
        change(
            "updateVersion",
            [](CacheWorld &world) {
                return world.cache->updateVersion(u"test:file"_s, QVersionNumber(2, 3));
            },
            u"test:file"_s, u"Ready OnDemand 2.3 10"_s),
        { .name = "saveStatus refused: Ready without a path",
          .run =
              [](CacheWorld &world) {
                  return world.cache->saveStatus(u"test:missing"_s, ResourceStatus::Ready);
              },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(world.status(u"test:missing"_s), u"Missing"_s);
              },
          .isRefused = true },
    };
}

void spoilSizes(CacheWorld &world)
{
    CacheDatabase rows = world.database();
    rows.run(u"UPDATE CachedResources SET fileSize = fileSize + 100 "
             "WHERE reference = 'test:tree'"_s);
}

QString sizesOf(const CacheWorld &world)
{
    return world.text(u"SELECT GROUP_CONCAT(fileSize) FROM (SELECT fileSize FROM CachedResources "
                      "WHERE fileSize IS NOT NULL ORDER BY fileSize)"_s);
}

constexpr auto uncountable
    = "A size has no failure: what cannot be looked at counts as nothing until the next count.";

QList<FaultOperation> counts()
{
    using Exception = CacheInvariants::Exception;
    const auto sizes = [](const QString &expected) {
        return [expected](CacheWorld &world) {
            return CacheWorld::difference(sizesOf(world), expected);
        };
    };
    return {
        { .name = "updateFileSize",
          .setUp = spoilSizes,
          .run = [](CacheWorld &world) { return world.cache->updateFileSize(u"test:tree"_s); },
          .missing = sizes(u"6,9,10"_s),
          .silence = uncountable,
          .exceptions = { Exception::OtherSizes },
          .whyExcepted = uncountable },
        { .name = "updateFileSizes",
          .setUp = spoilSizes,
          .run = [](CacheWorld &world) { return world.cache->updateFileSizes(); },
          .missing = sizes(u"6,9,10"_s),
          .silence = uncountable,
          .exceptions = { Exception::OtherSizes },
          .whyExcepted = uncountable },
        { .name = "rebuildMetadata",
          .setUp = [](CacheWorld &world) { world.spoilSums(); },
          .run = [](CacheWorld &world) { return world.cache->rebuildMetadata(); },
          .missing =
              [](CacheWorld &world) {
                  return CacheWorld::difference(
                      world.text(u"SELECT GROUP_CONCAT(currentSize) FROM CacheMetadata"_s),
                      u"25"_s);
              },
          .exceptions = { Exception::OtherSums },
          .whyExcepted = "They were wrong before." },
    };
}

} // namespace

QList<FaultOperation> rowOperations()
{
    return queries() + changes() + counts();
}

} // namespace zel::test
