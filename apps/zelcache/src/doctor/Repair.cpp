#include "doctor/Repair.h"

#include "ResourceCache.h"
#include "ResourceCacheReader.h"
#include "ResourceRetrieveHandle.h"
#include "doctor/AsideName.h"
#include "doctor/UnclaimedData.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"
#include "platform/TreeRemoval.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::Repair)
};

using UnknownPath = PathImpl<PathType::Unknown>;

Error failed(const QString &text)
{
    return Error(ErrorCode::OperationFailed, text);
}

} // namespace

RepairPlan planOf(const Findings &findings)
{
    RepairPlan plan;
    Findings mendable = findings;
    withdrawForbiddenRepairs(mendable);
    for (const Finding &finding : std::as_const(mendable)) {
        if (finding.repair)
            plan.append(*finding.repair);
        if (finding.consequence)
            plan.append(*finding.consequence);
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
    case Kind::PutBack:
        return Texts::tr("Move \"%1\" back to where it was: \"%2\" lies there.")
            .arg(step.path, step.reference);
    case Kind::FollowMove:
        return Texts::tr("Set the path of \"%1\" to \"%2\": its data lies there.")
            .arg(step.reference, step.path);
    case Kind::ForgetData:
        return Texts::tr("Set \"%1\" to Missing: its data is gone.").arg(step.reference);
    case Kind::ClearMissing:
        return Texts::tr("Remove \"%1\": its resource is Missing.").arg(step.path);
    case Kind::ForgetSize:
        return Texts::tr("Clear path and size of \"%1\": it is Missing.").arg(step.reference);
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
               std::chrono::milliseconds minimumAge, IsInterrupted isInterrupted)
    : cache(cache)
    , settings(settings)
    , minimumAge(minimumAge)
    , isInterrupted(std::move(isInterrupted))
{
}

QList<RepairOutcome> Repair::run(const RepairPlan &plan)
{
    QList<RepairOutcome> outcomes;
    QStringList unclaimed;
    for (const RepairStep &step : plan) {
        if (isInterrupted())
            break;
        outcomes.append({ step, run(step) });
        if (step.kind == RepairStep::Kind::RemoveData)
            unclaimed.append(step.path);
    }
    if (unclaimed.isEmpty())
        return outcomes;
    // They are the last ones of the plan.
    const QList<Error> removals = removeUnclaimed(unclaimed, settings, minimumAge, isInterrupted);
    const qsizetype first = outcomes.size() - unclaimed.size();
    for (qsizetype i = 0; i < removals.size(); ++i)
        outcomes[first + i].failure = removals.at(i);
    // They lie where they were.
    outcomes.removeIf([](const RepairOutcome &outcome) {
        return outcome.step.kind == RepairStep::Kind::RemoveData
            && outcome.failure.errorCode() == ErrorCode::Canceled;
    });
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
    case Kind::PutBack:
        return ZEL_PASS(putBack(step));
    case Kind::FollowMove:
        return ZEL_PASS(followMove(step));
    case Kind::ForgetData:
        return ZEL_PASS(forgetData(step));
    case Kind::ClearMissing:
        return ZEL_PASS(clearMissing(step));
    case Kind::ForgetSize:
        return ZEL_PASS(forgetSize(step));
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
Error Repair::insteadOfAFetch(const RepairStep &step, const std::function<Error()> &change)
{
    ResourceRetrieveHandle fetch(step.reference, step.path, cache, QVersionNumber());
    ZEL_TRY_LET(const bool isFetcher, fetch.tryStartRetrieve());
    if (!isFetcher)
        return {};
    const Error outcome = change();
    Error error;
    ZEL_TRY(error,
            fetch.finalizeRetrieve(Error(ErrorCode::Canceled, Texts::tr("nobody fetches it"))));
    return outcome;
}

Error Repair::endFetch(const RepairStep &step)
{
    ZEL_TRY_LET(const ResourceStatus status, cache->readStatus(step.reference));
    if (status != ResourceStatus::Acquiring && status != ResourceStatus::ScheduledForAcquire)
        return {};
    return ZEL_PASS(insteadOfAFetch(step, [] { return Error(); }));
}

/// Several resources can have been in one folder: the first one's step brings it back for all.
Error Repair::putBack(const RepairStep &step)
{
    const QString former = AsideName::formerPath(step.path);
    if (QFileInfo::exists(former) || QDir().rename(step.path, former))
        return {};
    return failed(Texts::tr("\"%1\" cannot be moved back.").arg(step.path));
}

/// Only for a resource that leads to nothing still; the lock is not held in between, but whoever
/// fetches it meanwhile puts it at this very path. Its size stays: what was moved in part is told
/// by that.
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
    const ResourceCacheReader reader(settings.cachePath.databasePath());
    ZEL_TRY_LET(const auto rows, reader.readRowsOf({ step.reference }));
    const qint64 size = rows.resources.value(0).size;
    return ZEL_PASS(cache->saveLocalPath(step.reference, UnknownPath(step.path), size));
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
    Error error;
    ZEL_TRY_LET(const auto leftovers, cache->moveLeftoversAside(step.reference, step.path));
    if (leftovers.isPublished)
        return error;
    ZEL_TRY(error, forgetSize(step));
    return leftovers.movedTo.isEmpty() ? error : ZEL_PASS(TreeRemoval::remove(leftovers.movedTo));
}

/// A purge believes the size of whatever row: it would take this one for room that it has made.
Error Repair::forgetSize(const RepairStep &step)
{
    ZEL_TRY_LET(const ResourceStatus status, cache->readStatus(step.reference));
    if (status != ResourceStatus::Missing)
        return {};
    return ZEL_PASS(insteadOfAFetch(
        step, [&] { return cache->saveLocalPath(step.reference, UnknownPath(QString()), 0); }));
}

void Repair::cleanStaging()
{
    StagingPlace::removeStale(settings.cachePath.cacheDataDir(), [this](const QString &key) {
        const auto status = cache->readStatus(key);
        return status.hasValue() && status.value() == ResourceStatus::Ready;
    });
}

} // namespace zel::cli
