#include "CacheOperations.h"

#include <chrono>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Context = ResourceCacheDao::TransactionContext;

namespace {

const QString file = u"test:file"_s;
const QString taken = u"test:taken"_s;

/// The cache's file is open by a database access alone.
void openDao(CacheWorld &world)
{
    world.cache->close();
    EXPECT_FALSE(world.dao.open(world.files.databasePath()).hasError());
}

/// A question, and what the value that it gives is to be.
template<typename Ask, typename Read>
FaultOperation question(const char *name, Ask ask, Read read, const QVariant &expected)
{
    const auto run = [ask, read](CacheWorld &world) {
        const auto result = ask(world.dao);
        world.answer = result.hasValue() ? QVariant(read(result.value())) : QVariant();
        return errorOf(result);
    };
    const auto missing = [expected](CacheWorld &world) {
        return CacheWorld::difference(world.answer, expected);
    };
    return { .name = name, .setUp = openDao, .run = run, .missing = missing };
}

/// A question inside a transaction of the caller's.
template<typename Ask, typename Read>
FaultOperation questionInside(const char *name, Ask ask, Read read, const QVariant &expected)
{
    const auto run = [ask, read](CacheWorld &world) {
        world.answer = QVariant();
        const auto context = world.dao.createTransaction();
        if (!context.hasValue())
            return context.error();
        const auto result = ask(world.dao, context.value().get());
        if (!result.hasValue())
            return result.error();
        world.answer = QVariant(read(result.value()));
        return context.value()->commit();
    };
    const auto missing = [expected](CacheWorld &world) {
        return CacheWorld::difference(world.answer, expected);
    };
    return { .name = name, .setUp = openDao, .run = run, .missing = missing };
}

/// A change, and what a statement gives after it.
FaultOperation change(const char *name, const std::function<Error(ResourceCacheDao &)> &run,
                      const QString &sql, const QString &expected)
{
    const auto missing = [sql, expected](CacheWorld &world) {
        return CacheWorld::difference(world.text(sql), expected);
    };
    return { .name = name,
             .setUp = openDao,
             .run = [run](CacheWorld &world) { return run(world.dao); },
             .missing = missing };
}

/// The same inside a transaction of the caller's.
FaultOperation changeInside(const char *name,
                            const std::function<Error(ResourceCacheDao &, Context *)> &run,
                            const QString &sql, const QString &expected)
{
    const auto whole = [run](ResourceCacheDao &dao) {
        const auto context = dao.createTransaction();
        if (!context.hasValue())
            return context.error();
        const Error error = run(dao, context.value().get());
        return error.hasError() ? error : context.value()->commit();
    };
    return change(name, whole, sql, expected);
}

/// The operation in a world that has become another one before.
FaultOperation in(const std::function<void(CacheWorld &)> &setUp, FaultOperation operation)
{
    operation.setUp = setUp;
    return operation;
}

/// The cache's file is open beside a client that has died.
void openBesideTheDead(CacheWorld &world)
{
    world.addDeadClient();
    openDao(world);
}

/// This process wants a resource.
void openWithTask(CacheWorld &world)
{
    openDao(world);
    EXPECT_FALSE(world.dao.addRetrievingTask(u"test:missing"_s).hasError());
}

/// This process fetches a resource.
void openWithFetch(CacheWorld &world)
{
    openWithTask(world);
    EXPECT_FALSE(world.dao.updateProgress(u"test:missing"_s, 20).hasError());
}

/// All that a list holds, in its order.
template<typename T, typename ToText>
QString joined(const QList<T> &list, ToText toText)
{
    QStringList texts;
    for (const T &entry : list)
        texts.append(toText(entry));
    return texts.join(u' ');
}

QString namesOf(const QList<ResourceCacheDao::Resource> &resources)
{
    return joined(resources, [](const auto &resource) { return resource.reference; });
}

QString rowOf(const QString &column)
{
    return u"SELECT %1 FROM CachedResources WHERE reference = 'test:file'"_s.arg(column);
}

QList<FaultOperation> questionsOfOne()
{
    const auto same = [](const auto &value) {
        return QVariant::fromValue(value);
    };
    const auto number = [](const auto &value) {
        return QVariant(int(value));
    };
    using Dao = ResourceCacheDao;
    return {
        question(
            "dao: containsResourceInDb", [](Dao &dao) { return dao.containsResourceInDb(file); },
            same, true),
        question(
            "dao: selectStatus", [](Dao &dao) { return dao.selectStatus(file); }, number,
            int(ResourceStatus::Ready)),
        question(
            "dao: selectCleanupPolicy", [](Dao &dao) { return dao.selectCleanupPolicy(file); },
            number, int(ResourceCleanupPolicy::OnDemand)),
        question(
            "dao: selectLocalPath", [](Dao &dao) { return dao.selectLocalPath(file); },
            [](const QString &path) { return path.section(u'/', -2); }, u"file/name"_s),
        question(
            "dao: selectResourceWithStatus",
            [](Dao &dao) { return dao.selectResourceWithStatus(file, ResourceStatus::Ready); },
            [](const Dao::Resource &resource) { return resource.fileSize; }, qint64 { 10 }),
        question(
            "dao: containsResourceUsage",
            [](Dao &dao) { return dao.containsResourceUsage(u"test:bystander"_s); }, same, true),
        question(
            "dao: retrieveInProgress", [](Dao &dao) { return dao.retrieveInProgress(taken); }, same,
            true),
        question(
            "dao: retrieveInProgressElsewhere",
            [](Dao &dao) { return dao.retrieveInProgressElsewhere(taken); }, same, true),
        in(openWithFetch,
           question(
               "dao: retrieveInProgressElsewhere of what is fetched here",
               [](Dao &dao) { return dao.retrieveInProgressElsewhere(u"test:missing"_s); }, same,
               false)),
        question(
            "dao: readProgress", [](Dao &dao) { return dao.readProgress(taken); },
            [](const std::optional<int> &progress) { return progress.value_or(-1); }, 10),
    };
}

QList<FaultOperation> questionsOfAll()
{
    const auto same = [](const auto &value) {
        return QVariant::fromValue(value);
    };
    using Dao = ResourceCacheDao;
    const QString ready = u"test:file test:tree test:bystander"_s;
    return {
        question(
            "dao: selectResources",
            [](Dao &dao) { return dao.selectResources(ResourceStatus::Ready); },
            [](const QList<Dao::VersionableResource> &resources) {
                return joined(resources, [](const auto &resource) {
                    return resource.reference + u'@' + resource.version.toString();
                });
            },
            u"test:file@1.0 test:tree@1.0 test:bystander@3.0"_s),
        question(
            "dao: selectResourcesWithStatus",
            [](Dao &dao) { return dao.selectResourcesWithStatus(ResourceStatus::Ready); }, namesOf,
            ready),
        question(
            "dao: selectAllResources", [](Dao &dao) { return dao.selectAllResources(); }, namesOf,
            u"test:file test:tree test:missing test:bystander test:taken"_s),
        question(
            "dao: selectCurrentSize", [](Dao &dao) { return dao.selectCurrentSize(); }, same,
            qint64 { 25 }),
        question(
            "dao: lastScanTimestamp", [](Dao &dao) { return dao.lastScanTimestamp(); },
            [](qint64 timestamp) { return timestamp > 0; }, true),
        question(
            "dao: selectPinnedSize", [](Dao &dao) { return dao.selectPinnedSize(); },
            [](const Dao::PinnedSize &pinned) { return pinned.size; }, qint64 { 9 }),
        in(openBesideTheDead,
           question(
               "dao: selectPinningClients", [](Dao &dao) { return dao.selectPinningClients(3); },
               [](const QList<Dao::PinningClient> &clients) {
                   return joined(clients, [](const Dao::PinningClient &client) {
                       return u"%1:%2"_s.arg(client.clientId).arg(client.size);
                   });
               },
               u"1002:10 1001:9"_s)),
    };
}

FaultOperation rebuilding()
{
    FaultOperation operation = changeInside(
        "dao: rebuildMetadata",
        [](ResourceCacheDao &dao, Context *context) { return dao.rebuildMetadata(context); },
        u"SELECT GROUP_CONCAT(currentSize) FROM CacheMetadata"_s, u"25"_s);
    operation.setUp = [](CacheWorld &world) {
        openDao(world);
        world.spoilSums();
    };
    operation.exceptions = { CacheInvariants::Exception::OtherSums };
    operation.whyExcepted = "They were wrong before.";
    return operation;
}

QList<FaultOperation> changesOfResources()
{
    using Dao = ResourceCacheDao;
    const auto insert = [](Dao &dao) {
        return dao.insertResource(u"test:new"_s, ResourceStatus::Missing,
                                  ResourceCleanupPolicy::OnClose, 1);
    };
    return {
        change("dao: insertResource", insert,
               u"SELECT COUNT(*) FROM CachedResources WHERE reference = 'test:new'"_s, u"1"_s),
        changeInside(
            "dao: updateResourceStatus",
            [](Dao &, Context *context) {
                return Dao::updateResourceStatus(context, file, ResourceStatus::Missing, 77);
            },
            rowOf(u"status || lastAccessDateTime"_s), u"Missing77"_s),
        changeInside(
            "dao: updateResourceVersion",
            [](Dao &, Context *context) {
                return Dao::updateResourceVersion(context, file, QVersionNumber(7, 1));
            },
            rowOf(u"version"_s), u"7.1"_s),
        changeInside(
            "dao: updateResourceLocalPath",
            [](Dao &, Context *context) {
                return Dao::updateResourceLocalPath(context, u"test:missing"_s, u"/x"_s,
                                                    qint64 { 7 });
            },
            u"SELECT currentSize FROM CacheMetadata"_s, u"32"_s),
        change(
            "dao: updateResourceSize", [](Dao &dao) { return dao.updateResourceSize(3, 0); },
            u"SELECT fileSize FROM CachedResources WHERE id = 3"_s, u"0"_s),
        changeInside(
            "dao: updateResourceSize inside",
            [](Dao &dao, Context *context) { return dao.updateResourceSize(context, 3, 0); },
            u"SELECT fileSize FROM CachedResources WHERE id = 3"_s, u"0"_s),
        change(
            "dao: updateResourceCleanupPolicy",
            [](Dao &dao) {
                return dao.updateResourceCleanupPolicy(file, ResourceCleanupPolicy::Never);
            },
            rowOf(u"cleanupPolicy"_s), u"Never"_s),
        changeInside(
            "dao: updateLastScanTimestamp",
            [](Dao &dao, Context *context) { return dao.updateLastScanTimestamp(context, 1234); },
            u"SELECT lastScanTimestamp FROM CacheMetadata"_s, u"1234"_s),
        rebuilding(),
        questionInside(
            "dao: selectOldestReferencesWithCombinedSize",
            [](Dao &dao, Context *context) {
                return dao.selectOldestReferencesWithCombinedSize(context, 100);
            },
            [](const QList<Dao::ReferenceAndPath> &oldest) {
                return joined(oldest, [](const Dao::ReferenceAndPath &one) {
                    return one.reference + u'@' + one.cachedPath.section(u'/', -2);
                });
            },
            u"test:file@file/name test:tree@tree/folder"_s),
    };
}

/// A client of which nothing hangs on anything.
FaultOperation deletionOfClient()
{
    constexpr qint64 idle = 1003;
    FaultOperation operation = change(
        "dao: deleteClientById", [](ResourceCacheDao &dao) { return dao.deleteClientById(idle); },
        u"SELECT COUNT(*) FROM Clients WHERE id = 1003"_s, u"0"_s);
    operation.setUp = [](CacheWorld &world) {
        world.addClient(idle);
        openDao(world);
    };
    return operation;
}

/// With two of them, so that a list that ends too early is another one.
FaultOperation selectionOfInactive()
{
    FaultOperation operation = questionInside(
        "dao: selectInactiveClients",
        [](ResourceCacheDao &dao, Context *context) {
            return dao.selectInactiveClients(context, 30s);
        },
        [](const QList<qint64> &clients) {
            return joined(clients, [](qint64 id) { return QString::number(id); });
        },
        u"1002 1003"_s);
    operation.setUp = [](CacheWorld &world) {
        world.addDeadClient();
        world.addClient(1003);
        openDao(world);
    };
    return operation;
}

/// Of the two that there are, by the other client and by the dead one.
QList<FaultOperation> changesOfUses()
{
    using Dao = ResourceCacheDao;
    const QString uses = u"SELECT COALESCE(GROUP_CONCAT(clientId), '') FROM ResourceUsages"_s;
    constexpr qint64 useOfOther = 1;
    constexpr qint64 useOfDead = 2;
    const auto deleteOne = [](Dao &, Context *context) {
        const auto removed = Dao::deleteResourceUsage(context, useOfDead);
        if (removed.hasValue() && removed.value() != 1)
            return Error(ErrorCode::OperationFailed, u"It was another number of rows."_s);
        return errorOf(removed);
    };
    return {
        changeInside(
            "dao: insertResourceUsage",
            [](Dao &, Context *context) {
                return errorOf(Dao::insertResourceUsage(context, file));
            },
            u"SELECT COUNT(*) FROM ResourceUsages"_s, u"2"_s),
        in(openBesideTheDead, changeInside("dao: deleteResourceUsage", deleteOne, uses, u"1001"_s)),
        in(openBesideTheDead,
           changeInside(
               "dao: deleteUsages",
               [](Dao &, Context *context) {
                   return Dao::deleteUsages(context, { useOfOther, useOfDead });
               },
               uses, QString())),
        // Always empty, also for one that uses something.
        in(openBesideTheDead,
           questionInside(
               "dao: selectResourceUsagesForClient",
               [](Dao &, Context *context) {
                   return Dao::selectResourceUsagesForClient(context, 1002);
               },
               [](const QList<Dao::ResourceUsage> &list) {
                   return joined(list, [](const Dao::ResourceUsage &use) { return use.reference; });
               },
               QString())),
    };
}

QList<FaultOperation> changesOfClients()
{
    return {
        change(
            "dao: updateClientLastPingTime",
            [](ResourceCacheDao &dao) { return dao.updateClientLastPingTime(4321); },
            u"SELECT COUNT(*) FROM Clients WHERE lastPingTime = 4321"_s, u"1"_s),
        selectionOfInactive(),
        deletionOfClient(),
    };
}

/// How many tasks there are, those of this resource, and its status.
QString tasksOf(const QString &reference)
{
    return u"SELECT (SELECT COUNT(*) FROM AcquiringTasks) || ' ' || "
           "COALESCE((SELECT COALESCE(progress, 'wish') FROM AcquiringTasks "
           "WHERE resourceId = cr.id), '-') || ' ' || status FROM CachedResources cr "
           "WHERE reference = '%1'"_s.arg(reference);
}

QList<FaultOperation> changesOfTasks()
{
    using Dao = ResourceCacheDao;
    const QString ofDead = tasksOf(u"test:dead"_s);
    const QString own = tasksOf(u"test:missing"_s);
    const auto report = [](std::optional<int> progress) {
        return [progress](Dao &dao) {
            return dao.updateProgress(u"test:missing"_s, progress);
        };
    };
    return {
        in(openBesideTheDead,
           changeInside(
               "dao: deleteRetrievingTasksForClient",
               [](Dao &, Context *context) {
                   return Dao::deleteRetrievingTasksForClient(context, 1002);
               },
               ofDead, u"1 - Missing"_s)),
        in(openBesideTheDead,
           changeInside(
               "dao: updateIntermediateStatusesForClient",
               [](Dao &, Context *context) {
                   return Dao::updateIntermediateStatusesForClient(context, 1002);
               },
               ofDead, u"2 10 ScheduledForAcquire"_s)),
        change(
            "dao: addRetrievingTask",
            [](Dao &dao) { return dao.addRetrievingTask(u"test:missing"_s); }, own,
            u"2 wish ScheduledForAcquire"_s),
        in(openWithTask,
           change(
               "dao: deleteRetrievingTask",
               [](Dao &dao) { return dao.deleteRetrievingTask(u"test:missing"_s); }, own,
               u"1 - Missing"_s)),
        in(openWithTask,
           change("dao: updateProgress", report(5), own, u"2 5 ScheduledForAcquire"_s)),
        in(openWithFetch,
           change("dao: updateProgress to none", report(std::nullopt), own,
                  u"2 wish ScheduledForAcquire"_s)),
    };
}

} // namespace

QList<FaultOperation> daoOperations()
{
    QList<FaultOperation> operations = questionsOfOne() + questionsOfAll();
    operations += changesOfResources() + changesOfUses();
    return operations + changesOfClients() + changesOfTasks();
}

} // namespace zel::test
