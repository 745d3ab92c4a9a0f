#include "removal/EnteringDanger.h"

#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "removal/RemovalDanger.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>
#include <iterator>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::EnteringDanger)
};

using Snapshot = ResourceCacheReader::Snapshot;

ResourceRows goingWithTheirUse(const Snapshot &snapshot)
{
    ResourceRows rows;
    std::copy_if(snapshot.resources.begin(), snapshot.resources.end(), std::back_inserter(rows),
                 [](const auto &row) { return row.policy == ResourceCleanupPolicy::OnClose; });
    return rows;
}

/// Of what is here nothing has to be entered, and no room is made for it.
bool isAllReady(const Snapshot &snapshot, qsizetype count)
{
    return std::count_if(snapshot.resources.begin(), snapshot.resources.end(),
                         [](const auto &row) { return row.status == ResourceStatus::Ready; })
        >= count;
}

ResourceRows goingForRoom(const ResourceManagerSettings &settings, const Snapshot &theirs,
                          qsizetype count)
{
    const PurgeLimits limits = purgeLimits(settings.sizes, {});
    if (isAllReady(theirs, count) || !bytesToFree(theirs.currentSize, limits))
        return {};
    const auto all = readCache(settings, ResourceCacheReader::Path);
    if (!all.hasValue())
        return {};
    const ResourceUsers users = usersByReference(all.value(), QDateTime::currentMSecsSinceEpoch());
    return planPurge(all.value(), limits, users).resources;
}

} // namespace

std::optional<ExitCode> openCacheToEnter(const Context &context, const QStringList &references)
{
    if (const auto code = openCache(context))
        return code;
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto theirRows = readCacheFor(references, settings);
    if (!theirRows.hasValue())
        return {}; // the work on the open cache tells what is wrong with it
    const ResourceRows going = goingWithTheirUse(theirRows.value())
        + goingForRoom(settings, theirRows.value(), references.size());
    const QString why
        = dangersText(Texts::tr("Nothing is done: the cache would then remove what follows by "
                                "itself, and other data with it."),
                      going, DataPlaces(settings.cachePath.cacheDataDir()));
    return why.isEmpty() ? std::nullopt : std::optional(context.fail(ExitCode::AnswerIsNo, why));
}

} // namespace zel::cli
