#include "commands/Commands.h"

#include "Library.h"
#include "RemovalReport.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SignalWatch.h"

#include <QCoreApplication>
#include <QDateTime>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

using Snapshot = ResourceCacheReader::Snapshot;

/// So many lines tell why a purge did not reach its goal.
constexpr qsizetype shownPins = 20;

struct Outcome
{
    PurgeReport report;
    QList<Pin> pins; ///< only if the goal was not reached
    Error failure;
    int signalNumber = 0;
};

ResourceUsers usersNow(const Snapshot &snapshot)
{
    return usersByReference(snapshot, QDateTime::currentMSecsSinceEpoch());
}

PurgePlan planned(const Context &context, const Snapshot &snapshot)
{
    const ResourceCacheSizes sizes = settingsOf(context.options).sizes;
    return planPurge(snapshot, purgeLimits(sizes, context.options.purgeTarget), usersNow(snapshot));
}

/// The state after a purge that keeps to the plan.
Snapshot without(const ResourceRows &removed, Snapshot snapshot)
{
    QSet<QString> references;
    for (const ResourceCacheReader::Resource &resource : removed)
        references.insert(resource.reference);
    snapshot.resources.removeIf(
        [&references](const auto &resource) { return references.contains(resource.reference); });
    snapshot.currentSize -= sizeOfAll(removed);
    return snapshot;
}

Outcome outcomeOf(const PurgePlan &plan, const ResourceRows &removed, const Snapshot &after)
{
    Outcome outcome;
    outcome.report.removed = removed;
    outcome.report.goal = plan.goal;
    outcome.report.size = after.currentSize;
    if (!outcome.report.isGoalReached())
        outcome.pins = pinsOf(after, usersNow(after), plan.resources);
    return outcome;
}

/// The limits are those of this process alone, for the length of the call.
Error purge(const PurgeLimits &limits)
{
    ResourceCache *cache = ResourceManager::cache();
    const ResourceCacheSizes sizes = cache->sizes();
    Error error;
    ZEL_TRY(error, cache->setSizes(limits.sizes));
    const Error outcome = ZEL_PASS(cache->purgeCacheIfNeeded(limits.extraSize));
    ZEL_TRY(error, cache->setSizes(sizes));
    return outcome;
}

/// The purge is one step: a signal that comes meanwhile is heard after it.
Result<Outcome> run(const Context &context)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    const SignalWatch signalWatch([](int) {});
    ZEL_TRY_LET(const Snapshot before, readCache(settings));
    const PurgePlan plan = planned(context, before);
    const Error failure = purge(purgeLimits(settings.sizes, context.options.purgeTarget));
    ZEL_TRY_LET(const Snapshot after, readCache(settings));

    Outcome outcome = outcomeOf(plan, removedBetween(before, after), after);
    outcome.failure = failure;
    QCoreApplication::processEvents();
    outcome.signalNumber = signalWatch.received();
    return outcome;
}

Result<Outcome> rehearse(const Context &context)
{
    ZEL_TRY_LET(const Snapshot before, readCache(settingsOf(context.options)));
    const PurgePlan plan = planned(context, before);
    Outcome outcome = outcomeOf(plan, plan.resources, without(plan.resources, before));
    outcome.report.isDryRun = true;
    return outcome;
}

ExitCode answer(const Context &context, const Outcome &outcome)
{
    if (context.options.json) {
        QJsonObject answer = context.emptyAnswer();
        const QJsonObject members = purgeJson(outcome.report, outcome.pins);
        for (auto member = members.begin(); member != members.end(); ++member)
            answer.insert(member.key(), member.value());
        if (outcome.failure.hasError())
            answer.insert(u"error"_s, json::error(outcome.failure));
        context.output.answer(answer);
    } else {
        for (const QString &line : purgeLines(outcome.report))
            context.output.answer(line);
    }
    for (const QString &line : pinLines(outcome.pins, shownPins))
        context.output.warning(line);
    if (outcome.failure.hasError())
        context.output.error(outcome.failure.errorMessage());
    if (outcome.signalNumber != 0)
        return exitCodeOfSignal(outcome.signalNumber);
    if (outcome.failure.hasError())
        return exitCodeOf(outcome.failure);
    return outcome.report.isGoalReached() ? ExitCode::Success : ExitCode::AnswerIsNo;
}

} // namespace

ExitCode runPurge(const Context &context)
{
    if (!context.options.dryRun) {
        if (const auto code = openExistingCache(context))
            return *code;
    }
    const auto outcome = context.options.dryRun ? rehearse(context) : run(context);
    if (!outcome.hasValue())
        return context.fail(ExitCode::CacheUnavailable, outcome.error().errorMessage());
    return answer(context, outcome.value());
}

} // namespace zel::cli
