#include "plan/FetchPlanning.h"

#include "ResourceCache.h"
#include "ResourceManager.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "errors/Propagate.h"
#include "output/Format.h"
#include "plan/SourceSizes.h"
#include "removal/RemovalDanger.h"
#include "removal/RemovalReport.h"
#include "staging/StagingRecord.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>

#include <algorithm>
#include <iterator>

namespace zel::cli {

using namespace std::chrono_literals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::FetchPlanning)
};

using Snapshot = ResourceCacheReader::Snapshot;
using Handlers = QList<QSharedPointer<ResourceHandler>>;

/// A source that is silent for so long may still be fetched from.
constexpr auto patience = 10s;

void addStagedBytes(QList<FitPlan::Missing> &missing, const ResourceCachePath &path)
{
    QHash<QString, qint64> staged;
    // Also of former states of a source: a fetch of the present one removes them first.
    for (const StagingRecord &record : StagingRecord::readAll(path.cacheDataDir()))
        staged[record.referenceKey] += record.bytes;
    for (FitPlan::Missing &each : missing)
        each.stagedBytes = staged.value(each.reference);
}

/// Without what has come while the sources were asked: the cache's size has it already.
/// `theirRows`: of the missing ones.
QList<FitPlan::Missing> stillMissing(QList<FitPlan::Missing> missing, const Snapshot &theirRows)
{
    const QSet<QString> here = keysOfWhatIsHere(theirRows);
    missing.removeIf([&here](const auto &each) { return here.contains(each.reference); });
    return missing;
}

/// Whether there is nothing where the cache would be made. What cannot be looked into may be there.
bool isNotMadeYet(const ResourceManagerSettings &settings)
{
    QFileInfo place(settings.cachePath.databasePath());
    if (place.exists() || place.isSymLink())
        return false;
    while (!place.exists() && !place.isRoot())
        place = QFileInfo(place.absolutePath());
    return place.isDir() && place.isExecutable();
}

ExitCode refuse(const Context &context, const QString &why)
{
    return context.fail(ExitCode::NoSpace,
                        Texts::tr("%1; --force fetches nevertheless, \"zelcache why\" tells what "
                                  "fills the cache")
                            .arg(why));
}

std::optional<ExitCode> purgeFor(const Context &context, const FitPlan &plan)
{
    const Error error = ZEL_PASS(ResourceManager::cache()->purgeCacheIfNeeded(plan.purgeBytes()));
    if (error.hasError())
        return refuse(context,
                      Texts::tr("%1. Room for it cannot be made: %2")
                          .arg(fitPlanSummary(plan), error.errorMessage()));
    context.output.note(
        Texts::tr("Made room: %1, %2")
            .arg(countText(plan.evicted.size()), sizeText(sizeOfAll(plan.evicted))));
    return {};
}

} // namespace

QString whyNotToMakeRoom(const ResourceManagerSettings &settings, const FitPlan &plan)
{
    return dangersText(
        Texts::tr("Nothing is fetched: to make room for it would take more than what "
                  "is to go."),
        plan.evicted, DataPlaces(settings.cachePath.cacheDataDir()));
}

bool takesRoom(const ResourceHandler &handler)
{
    return handler.reference()->scheme() != ResourceReference::File;
}

Result<Snapshot> rowsToPlanWith(const ResourceManagerSettings &settings,
                                const QStringList &references)
{
    if (isNotMadeYet(settings))
        return Snapshot();
    return ZEL_PASS(readCacheFor(references, settings));
}

Result<FitPlan> planFetch(const ResourceManagerSettings &settings, QList<FitPlan::Missing> missing,
                          const QStringList &wanted)
{
    addStagedBytes(missing, settings.cachePath);
    const auto plannedFor = [&](const Snapshot &snapshot) {
        return fitPlan(snapshot, settings.sizes, missing, wanted, freeBytesOf(settings),
                       QDateTime::currentMSecsSinceEpoch());
    };
    QStringList keys;
    for (const FitPlan::Missing &each : missing)
        keys.append(each.reference);
    ZEL_TRY_LET(const auto theirRows, rowsToPlanWith(settings, keys));
    missing = stillMissing(missing, theirRows);
    const FitPlan plan = plannedFor(theirRows);
    if (!plan.needsPurge())
        return plan;
    if (isNotMadeYet(settings))
        return plan;
    // What has come since the first reading counts as data that its fetch replaces.
    ZEL_TRY_LET(const auto allRows, readCache(settings, ResourceCacheReader::Path));
    return plannedFor(allRows);
}

std::optional<ExitCode> makeRoomFor(const Context &context, const Handlers &missing)
{
    Handlers asked;
    std::copy_if(missing.begin(), missing.end(), std::back_inserter(asked),
                 [](const auto &handler) { return takesRoom(*handler); });
    if (asked.isEmpty())
        return {};
    const SourceSizes sizes = askForSizes(asked, context.output, patience);
    if (sizes.signalNumber != 0)
        return context.fail(exitCodeOfSignal(sizes.signalNumber), Texts::tr("canceled"));
    // What is asked for and here already is in use by this process, as everybody can see.
    const auto plan = planFetch(settingsOf(context.options), sizes.missing, {});
    if (!plan.hasValue()) {
        context.output.warning(plan.error().errorMessage());
        return {};
    }
    if (plan.value().missingBytes() == 0)
        return {};
    if (!plan.value().fits())
        return refuse(context, fitPlanSummary(plan.value()));
    const QString why = whyNotToMakeRoom(settingsOf(context.options), plan.value());
    if (!why.isEmpty())
        return context.fail(ExitCode::AnswerIsNo, why);
    return plan.value().evicted.isEmpty() ? std::nullopt : purgeFor(context, plan.value());
}

} // namespace zel::cli
