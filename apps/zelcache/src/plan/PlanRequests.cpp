#include "plan/PlanRequests.h"

#include "ReferenceHandlers.h"
#include "cache/CacheOpening.h"
#include "errors/Propagate.h"
#include "output/Text.h"
#include "plan/FetchPlanning.h"
#include "plan/RecordedRates.h"
#include "plan/SourceSizes.h"

#include <QSet>

#include <algorithm>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Snapshot = ResourceCacheReader::Snapshot;
using Missing = FitPlan::Missing;

/// What is to be planned for, each once.
struct Wanted
{
    QStringList keys;
    QList<QSharedPointer<ResourceHandler>> missing;
};

/// A failure with the argument that it is about.
template<typename Value>
Result<Value> named(const QString &argument, Result<Value> outcome)
{
    if (outcome.hasValue())
        return outcome;
    return ZEL_ERROR(outcome.error().errorCode(),
                     withoutSecrets(argument) + u": "_s + outcome.error().errorMessage());
}

Result<Wanted> wantedOf(const Snapshot &snapshot, const QStringList &arguments,
                        SourceHandlers &sources)
{
    QHash<QString, bool> known;
    for (const ResourceCacheReader::Resource &resource : snapshot.resources)
        known.insert(resource.reference, isHere(resource));

    Wanted wanted;
    QSet<QString> seen;
    for (const QString &argument : arguments) {
        QString key = argument;
        if (!known.contains(argument)) {
            ZEL_TRY_LET(const auto reference,
                        named(argument, ResourceReference::fromString(argument)));
            key = reference->referenceText(false);
        }
        if (seen.contains(key))
            continue;
        seen.insert(key);
        wanted.keys.append(key);
        if (known.value(key))
            continue;
        ZEL_TRY_LET(const auto handler, named(argument, sources.handlerOf(argument)));
        if (takesRoom(*handler) || !handler->isAvailableLocally())
            wanted.missing.append(handler);
    }
    return wanted;
}

void addRates(QList<Missing> &missing, const ManifestStore &store)
{
    QSet<QString> hosts;
    for (const Missing &each : missing)
        hosts.insert(hostOf(each.reference));
    const QHash<QString, qint64> rates = recordedRates(store, hosts);
    for (Missing &each : missing) {
        if (const auto rate = rates.constFind(hostOf(each.reference)); rate != rates.cend())
            each.bytesPerSecond = *rate;
    }
}

ExitCode answer(const Context &context, const FitPlan &plan)
{
    for (const Missing &each : plan.missing) {
        if (!each.size)
            context.output.warning(each.reference + u": "_s + each.reason);
    }
    for (const Missing &each : plan.nowhere)
        context.output.error(each.reference + u": "_s + each.reason);
    if (context.options.json) {
        context.output.answer(context.answerWith(fitPlanJson(plan)));
    } else {
        for (const QString &line : fitPlanLines(plan))
            context.output.answer(line);
    }
    if (!plan.fits())
        return ExitCode::NoSpace;
    return plan.nowhere.isEmpty() ? ExitCode::Success : ExitCode::AnswerIsNo;
}

/// Takes those out that cannot be fetched.
QList<Missing> takeNowhere(QList<Missing> &missing)
{
    const auto isThere = [](const Missing &each) {
        return !each.isNowhere;
    };
    const qsizetype first
        = std::stable_partition(missing.begin(), missing.end(), isThere) - missing.begin();
    const QList<Missing> taken = missing.sliced(first);
    missing.resize(first);
    return taken;
}

/// What the sources tell. Ends early with a signal.
SourceSizes askSources(const QList<QSharedPointer<ResourceHandler>> &handlers, Output &output)
{
    SourceSizes sizes = askForSizes(handlers, output);
    if (sizes.signalNumber == 0)
        askWhatIsNowhere(handlers, sizes);
    return sizes;
}

/// With what the sources have told.
ExitCode planAndAnswer(const Context &context, const ResourceManagerSettings &settings,
                       QList<Missing> missing, const QStringList &wanted)
{
    const QList<Missing> nowhere = takeNowhere(missing);
    addRates(missing, ManifestStore::forCache(settings.cachePath.cacheDataDir()));
    auto plan = planFetch(settings, missing, wanted);
    if (!plan.hasValue())
        return context.fail(ExitCode::CacheUnavailable, plan.error().errorMessage());
    if (const QString why = whyNotToMakeRoom(settings, plan.value()); !why.isEmpty())
        return context.fail(ExitCode::AnswerIsNo, why);
    plan.value().nowhere = nowhere;
    return answer(context, plan.value());
}

} // namespace

ExitCode planRequests(const Context &context, const QStringList &arguments)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    registerSourcesOnly(context);
    const auto snapshot = rowsToPlanWith(settings, arguments);
    if (!snapshot.hasValue())
        return context.fail(ExitCode::CacheUnavailable, snapshot.error().errorMessage());
    SourceHandlers handlers;
    const auto wanted = wantedOf(snapshot.value(), arguments, handlers);
    if (!wanted.hasValue())
        return context.fail(wanted.error());
    const SourceSizes sizes = askSources(wanted.value().missing, context.output);
    if (sizes.signalNumber != 0)
        return context.cancel(sizes.signalNumber);
    return planAndAnswer(context, settings, sizes.missing, wanted.value().keys);
}

} // namespace zel::cli
