#include "doctor/Repair.h"

#include "ResourceCache.h"
#include "ResourceRetrieveHandle.h"
#include "doctor/UnclaimedData.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/TreeRemoval.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Repair)
};

bool forbidsRepair(const Finding &finding)
{
    switch (finding.kind) {
    case FindingKind::DatabaseUnreadable:
    case FindingKind::DatabaseDamaged:
    case FindingKind::LockStuck:
        return true;
    default:
        return false;
    }
}

Error failed(const QString &text)
{
    return Error(ErrorCode::OperationFailed, text);
}

} // namespace

RepairPlan planOf(const Findings &findings)
{
    if (std::any_of(findings.begin(), findings.end(), forbidsRepair))
        return {};
    RepairPlan plan;
    for (const Finding &finding : findings) {
        if (finding.repair)
            plan.append(*finding.repair);
    }
    std::stable_sort(plan.begin(), plan.end(), [](const RepairStep &left, const RepairStep &right) {
        return left.kind < right.kind;
    });
    // Equal ones stand together: those without a subject of their own.
    plan.resize(std::unique(plan.begin(), plan.end()) - plan.begin());
    return plan;
}

QString stepText(const RepairStep &step)
{
    using Kind = RepairStep::Kind;
    switch (step.kind) {
    case Kind::OpenCache:
        return Texts::tr("Open the cache, which takes out the dead and what they left.");
    case Kind::EndFetch:
        return Texts::tr("Set \"%1\" to Missing: nobody fetches it.").arg(step.reference);
    case Kind::FollowMove:
        return Texts::tr("Set the path of \"%1\" to \"%2\": its data lies there.")
            .arg(step.reference, step.path);
    case Kind::ForgetData:
        return Texts::tr("Set \"%1\" to Missing: its data is gone.").arg(step.reference);
    case Kind::ClearMissing:
        return Texts::tr("Remove \"%1\": its resource is Missing.").arg(step.path);
    case Kind::CountSize:
        return Texts::tr("Count the size of \"%1\" anew.").arg(step.reference);
    case Kind::CountAll:
        return Texts::tr("Count all sizes anew.");
    case Kind::SumUp:
        return Texts::tr("Sum up the sizes of all resources anew, in the one row of sums.");
    case Kind::CleanStaging:
        return Texts::tr("Remove what fetches have left and nobody will go on with.");
    case Kind::RemoveData:
        break;
    }
    return Texts::tr("Remove \"%1\": nobody claims it.").arg(step.path);
}

Repair::Repair(ResourceCache *cache, const ResourceManagerSettings &settings,
               std::chrono::milliseconds minimumAge)
    : cache(cache)
    , settings(settings)
    , minimumAge(minimumAge)
{
}

QList<RepairOutcome> Repair::run(const RepairPlan &plan)
{
    QList<RepairOutcome> outcomes;
    QStringList unclaimed;
    for (const RepairStep &step : plan) {
        outcomes.append({ step, run(step) });
        if (step.kind == RepairStep::Kind::RemoveData)
            unclaimed.append(step.path);
    }
    if (unclaimed.isEmpty())
        return outcomes;
    // They are the last ones of the plan.
    const QList<Error> removals = removeUnclaimed(unclaimed, settings, minimumAge);
    const qsizetype first = outcomes.size() - unclaimed.size();
    for (qsizetype i = 0; i < removals.size(); ++i)
        outcomes[first + i].failure = removals.at(i);
    return outcomes;
}

Error Repair::run(const RepairStep &step)
{
    using Kind = RepairStep::Kind;
    switch (step.kind) {
    case Kind::OpenCache:
        break;
    case Kind::EndFetch:
        return ZEL_PASS(endFetch(step));
    case Kind::FollowMove:
        return ZEL_PASS(followMove(step));
    case Kind::ForgetData:
        return ZEL_PASS(forgetData(step));
    case Kind::ClearMissing:
        return ZEL_PASS(clearMissing(step));
    case Kind::CountSize:
        return ZEL_PASS(cache->updateFileSize(step.reference));
    case Kind::CountAll:
        return ZEL_PASS(cache->updateFileSizes());
    case Kind::SumUp:
        return ZEL_PASS(cache->rebuildMetadata());
    case Kind::CleanStaging:
        cleanStaging();
        break;
    case Kind::RemoveData: // all at once, by run()
        break;
    }
    return {};
}

/// By taking part: whoever fetches by now is left alone, and nobody starts meanwhile.
Error Repair::endFetch(const RepairStep &step)
{
    ZEL_TRY_LET(const ResourceStatus status, cache->readStatus(step.reference));
    if (status != ResourceStatus::Acquiring && status != ResourceStatus::ScheduledForAcquire)
        return {};
    ResourceRetrieveHandle fetch(step.reference, step.path, cache, QVersionNumber());
    ZEL_TRY_LET(const bool isFetcher, fetch.tryStartRetrieve());
    if (!isFetcher)
        return {};
    return ZEL_PASS(
        fetch.finalizeRetrieve(Error(ErrorCode::Canceled, Texts::tr("nobody fetches it"))));
}

/// Only for a resource that leads to nothing still; the lock is not held in between, but whoever
/// fetches it meanwhile puts it at this very path.
Error Repair::followMove(const RepairStep &step)
{
    ZEL_TRY_LET(const ResourceStatus status, cache->readStatus(step.reference));
    if (status != ResourceStatus::Ready)
        return {};
    ZEL_TRY_LET(const auto former, cache->readLocalPath(step.reference));
    if (QFileInfo::exists(former.toString()))
        return {};
    if (!QFileInfo::exists(step.path))
        return failed(Texts::tr("\"%1\" is gone.").arg(step.path));
    return ZEL_PASS(cache->saveLocalPath(step.reference, PathImpl<PathType::Unknown>(step.path),
                                         FileUtilsGeneric::contentSize(step.path)));
}

/// The library's own clean-up before a fetch, which makes a Ready resource without data Missing.
Error Repair::forgetData(const RepairStep &step)
{
    if (QFileInfo::exists(step.path))
        return failed(Texts::tr("\"%1\" is there again.").arg(step.path));
    ZEL_TRY_LET([[maybe_unused]] const auto leftovers,
                cache->moveLeftoversAside(step.reference, step.path));
    return {};
}

Error Repair::clearMissing(const RepairStep &step)
{
    ZEL_TRY_LET(const auto leftovers, cache->moveLeftoversAside(step.reference, step.path));
    if (leftovers.isPublished || leftovers.movedTo.isEmpty())
        return {};
    return ZEL_PASS(TreeRemoval::remove(leftovers.movedTo));
}

void Repair::cleanStaging()
{
    StagingPlace::removeStale(settings.cachePath.cacheDataDir(), [this](const QString &key) {
        const auto status = cache->readStatus(key);
        return status.hasValue() && status.value() == ResourceStatus::Ready;
    });
}

} // namespace zel::cli
