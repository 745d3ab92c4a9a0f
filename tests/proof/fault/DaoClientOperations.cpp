#include "CacheOperations.h"
#include "DaoOperation.h"

#include <chrono>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Context = DaoContext;

namespace {

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
                return errorOf(Dao::insertResourceUsage(context, u"test:file"_s));
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

QList<FaultOperation> daoOperationsOfClients()
{
    return changesOfUses() + changesOfClients() + changesOfTasks();
}

} // namespace zel::test
