#include "Command.h"
#include "CommandOptions.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "cache/CacheWork.h"
#include "platform/SignalWatch.h"
#include "removal/RemovalDanger.h"
#include "removal/RemovalReport.h"

#include <QCoreApplication>
#include <QDateTime>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::PurgeCommand)
};

constexpr auto helpDetails
    = R"(Removes what was fetched longest ago and is not in use, until the cache is small
enough: at nine tenths of its optimal size, if it is above that, or at SIZE. The
last resource that goes may take it below. No setting changes. The exit code is 3
if it could not become small enough; standard error then says what holds the rest.
It is 3, too, and nothing goes, if a removal would take more than what is to go.

Sizes: K, M, G, T and KiB, MiB, ... are powers of 1024, KB, MB, ... of 1000.

Examples:
  zelcache purge --dry-run
  zelcache purge --to 50GiB
  zelcache purge --to 0 --json | jq '.removed[].reference')";

using Snapshot = ResourceCacheReader::Snapshot;

/// Where it lies tells what would go with it.
constexpr auto neededDetails = ResourceCacheReader::Path;

struct Request
{
    std::optional<qint64> target; ///< the size to come down to, in bytes
    bool dryRun = false;
};

/// So many lines tell why a purge did not reach its goal.
constexpr qsizetype shownPins = 20;

struct Outcome
{
    PurgeReport report;
    QList<Pin> pins; ///< only if the goal was not reached
    QString refusal; ///< why nothing was or would be removed at all
    Error failure;
    int signalNumber = 0;
};

ResourceUsers usersNow(const ResourceManagerSettings &settings, const Snapshot &snapshot)
{
    return usersByReference(snapshot, QDateTime::currentMSecsSinceEpoch(),
                            processesOf(settings.cachePath.databasePath()));
}

PurgePlan planned(const ResourceManagerSettings &settings, const Request &request,
                  const Snapshot &snapshot)
{
    return planPurge(snapshot, purgeLimits(settings.sizes, request.target),
                     usersNow(settings, snapshot));
}

QString refusalOf(const ResourceManagerSettings &settings, const PurgePlan &plan)
{
    return dangersText(Texts::tr("Nothing is removed: a purge would take more than what is to go."),
                       plan.resources, DataPlaces(settings.cachePath.cacheDataDir()));
}

Outcome refused(const QString &why)
{
    Outcome outcome;
    outcome.refusal = why;
    return outcome;
}

/// Leaves the state after a purge that keeps to the plan.
void remove(const ResourceRows &removed, Snapshot &snapshot)
{
    QSet<QString> references;
    for (const ResourceCacheReader::Resource &resource : removed)
        references.insert(resource.reference);
    snapshot.resources.removeIf(
        [&references](const auto &resource) { return references.contains(resource.reference); });
}

Outcome outcomeOf(const PurgePlan &plan, const ResourceRows &removed, qint64 size)
{
    Outcome outcome;
    outcome.report.removed = removed;
    outcome.report.goal = plan.goal;
    outcome.report.size = size;
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

Error goThroughWithPurge(const PurgeLimits &limits, Output &output)
{
    UncutWork work;
    work.function = [limits] {
        return purge(limits);
    };
    work.label = Texts::tr("Removing");
    work.warning = Texts::tr("The purge cannot be cut short: the program ends when it is done. "
                             "Another signal ends it at once.");
    return ZEL_PASS(goThroughWith(work, output));
}

Result<Outcome> purged(const Context &context, const Request &request)
{
    // Also of what comes before and after the purge itself.
    SignalWatch signalWatch([](int) {});
    const ResourceManagerSettings settings = settingsOf(context.options);
    ZEL_TRY_LET(const Snapshot before, readCache(settings, neededDetails));
    const PurgePlan plan = planned(settings, request, before);
    if (const QString why = refusalOf(settings, plan); !why.isEmpty())
        return refused(why);
    const Error failure
        = goThroughWithPurge(purgeLimits(settings.sizes, request.target), context.output);
    ZEL_TRY_LET(const Snapshot after, readCache(settings, neededDetails));

    Outcome outcome = outcomeOf(plan, removedBetween(before, after), after.currentSize);
    if (!outcome.report.isGoalReached())
        outcome.pins = pinsOf(after, usersNow(settings, after), plan.resources);
    outcome.failure = failure;
    outcome.signalNumber = signalWatch.receivedNow();
    return outcome;
}

Result<Outcome> rehearse(const Context &context, const Request &request)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    ZEL_TRY_LET(Snapshot snapshot, readCache(settings, neededDetails));
    const PurgePlan plan = planned(settings, request, snapshot);
    if (const QString why = refusalOf(settings, plan); !why.isEmpty())
        return refused(why);
    Outcome outcome
        = outcomeOf(plan, plan.resources, snapshot.currentSize - sizeOfAll(plan.resources));
    if (!outcome.report.isGoalReached()) {
        remove(plan.resources, snapshot);
        outcome.pins = pinsOf(snapshot, usersNow(settings, snapshot), plan.resources);
    }
    outcome.report.isDryRun = true;
    return outcome;
}

void writeAnswer(const Context &context, const Outcome &outcome)
{
    const qsizetype removed = outcome.report.removed.size();
    if (!context.options.json) {
        context.output.answerLines(removed + 1, purgeLines(outcome.report));
        return;
    }
    QJsonObject answer = context.answerWith(purgeJson(outcome.report));
    if (outcome.failure.hasError())
        answer.insert(u"error"_s, json::error(outcome.failure));
    context.output.answer(answer,
                          { { u"pinned"_s, outcome.pins.size(), pinnedJson(outcome.pins) },
                            { u"removed"_s, removed, removedJson(outcome.report) } });
}

ExitCode answer(const Context &context, const Outcome &outcome)
{
    if (!outcome.refusal.isEmpty())
        return context.fail(ExitCode::AnswerIsNo, outcome.refusal);
    writeAnswer(context, outcome);
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

class PurgeCommand : public Command
{
public:
    PurgeCommand()
        : Command("purge", "Make room in the cache", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addValue(app, "--to", "SIZE",
                          "Come down to this size, such as 0, 500M, 1.5GiB or 20GB", sizeText);
        options::addDryRun(app, request.dryRun);
    }

    std::optional<QString> check() override
    {
        return options::readSize(u"--to"_s, sizeText, request.target);
    }

    ExitCode run(const Context &context) override;

private:
    std::optional<QString> sizeText;
    Request request;
};

ExitCode PurgeCommand::run(const Context &context)
{
    if (!request.dryRun) {
        if (const auto code = openExistingCache(context))
            return *code;
    }
    const auto outcome = request.dryRun ? rehearse(context, request) : purged(context, request);
    if (!outcome.hasValue())
        return context.fail(ExitCode::CacheUnavailable, outcome.error().errorMessage());
    return answer(context, outcome.value());
}

} // namespace

std::unique_ptr<Command> makePurgeCommand()
{
    return std::make_unique<PurgeCommand>();
}

} // namespace zel::cli
