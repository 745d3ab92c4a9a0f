#include "CacheOperations.h"
#include "DaoOperation.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Context = DaoContext;

namespace {

const QString file = u"test:file"_s;
const QString taken = u"test:taken"_s;

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

} // namespace

QList<FaultOperation> daoOperations()
{
    QList<FaultOperation> operations = questionsOfOne() + questionsOfAll();
    return operations + changesOfResources() + daoOperationsOfClients();
}

} // namespace zel::test
