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
            "dao: readProgress", [](Dao &dao) { return dao.readProgress(taken); },
            [](const std::optional<int> &progress) { return progress.value_or(-1); }, 10),
    };
}

QList<FaultOperation> questionsOfAll()
{
    const auto same = [](const auto &value) {
        return QVariant::fromValue(value);
    };
    const auto count = [](const auto &list) {
        return QVariant(int(list.size()));
    };
    using Dao = ResourceCacheDao;
    return {
        question(
            "dao: selectResources",
            [](Dao &dao) { return dao.selectResources(ResourceStatus::Ready); }, count, 3),
        question(
            "dao: selectResourcesWithStatus",
            [](Dao &dao) { return dao.selectResourcesWithStatus(ResourceStatus::Ready); }, count,
            3),
        question(
            "dao: selectAllResources", [](Dao &dao) { return dao.selectAllResources(); }, count, 5),
        question(
            "dao: selectCurrentSize", [](Dao &dao) { return dao.selectCurrentSize(); }, same,
            qint64 { 25 }),
        question(
            "dao: lastScanTimestamp", [](Dao &dao) { return dao.lastScanTimestamp(); },
            [](qint64 timestamp) { return timestamp > 0; }, true),
        question(
            "dao: selectPinnedSize", [](Dao &dao) { return dao.selectPinnedSize(); },
            [](const Dao::PinnedSize &pinned) { return pinned.size; }, qint64 { 9 }),
        question(
            "dao: selectPinningClients", [](Dao &dao) { return dao.selectPinningClients(3); },
            count, 1),
    };
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
        changeInside(
            "dao: rebuildMetadata",
            [](Dao &dao, Context *context) { return dao.rebuildMetadata(context); },
            u"SELECT currentSize FROM CacheMetadata"_s, u"25"_s),
        changeInside(
            "dao: selectOldestReferencesWithCombinedSize",
            [](Dao &dao, Context *context) {
                return errorOf(dao.selectOldestReferencesWithCombinedSize(context, 100));
            },
            u"SELECT COUNT(*) FROM CachedResources"_s, u"5"_s),
    };
}

QList<FaultOperation> changesOfClients()
{
    using Dao = ResourceCacheDao;
    const QString uses = u"SELECT COUNT(*) FROM ResourceUsages"_s;
    const QString clients = u"SELECT COUNT(*) FROM Clients"_s;
    return {
        changeInside(
            "dao: insertResourceUsage",
            [](Dao &, Context *context) {
                return errorOf(Dao::insertResourceUsage(context, file));
            },
            uses, u"2"_s),
        changeInside(
            "dao: deleteResourceUsage",
            [](Dao &, Context *context) { return errorOf(Dao::deleteResourceUsage(context, 99)); },
            uses, u"1"_s),
        changeInside(
            "dao: deleteUsages",
            [](Dao &, Context *context) {
                return Dao::deleteUsages(context, { 98, 99 });
            },
            uses, u"1"_s),
        changeInside(
            "dao: selectResourceUsagesForClient",
            [](Dao &, Context *context) {
                return errorOf(Dao::selectResourceUsagesForClient(context, 1001));
            },
            uses, u"1"_s),
        change(
            "dao: updateClientLastPingTime",
            [](Dao &dao) { return dao.updateClientLastPingTime(4321); },
            u"SELECT COUNT(*) FROM Clients WHERE lastPingTime = 4321"_s, u"1"_s),
        changeInside(
            "dao: selectInactiveClients",
            [](Dao &dao, Context *context) {
                return errorOf(dao.selectInactiveClients(context, 30s));
            },
            clients, u"2"_s),
        change(
            "dao: deleteClientById", [](Dao &dao) { return dao.deleteClientById(99); }, clients,
            u"2"_s),
    };
}

QList<FaultOperation> changesOfTasks()
{
    using Dao = ResourceCacheDao;
    const QString tasks = u"SELECT COUNT(*) FROM AcquiringTasks"_s;
    return {
        changeInside(
            "dao: deleteRetrievingTasksForClient",
            [](Dao &, Context *context) {
                return Dao::deleteRetrievingTasksForClient(context, 99);
            },
            tasks, u"1"_s),
        changeInside(
            "dao: updateIntermediateStatusesForClient",
            [](Dao &, Context *context) {
                return Dao::updateIntermediateStatusesForClient(context, 99);
            },
            tasks, u"1"_s),
        change(
            "dao: addRetrievingTask",
            [](Dao &dao) { return dao.addRetrievingTask(u"test:missing"_s); }, tasks, u"2"_s),
        change(
            "dao: deleteRetrievingTask",
            [](Dao &dao) { return dao.deleteRetrievingTask(u"test:missing"_s); }, tasks, u"1"_s),
        change(
            "dao: updateProgress",
            [](Dao &dao) { return dao.updateProgress(u"test:missing"_s, 5); }, tasks, u"1"_s),
    };
}

} // namespace

QList<FaultOperation> daoOperations()
{
    QList<FaultOperation> operations = questionsOfOne() + questionsOfAll();
    return operations + changesOfResources() + changesOfClients() + changesOfTasks();
}

} // namespace zel::test
