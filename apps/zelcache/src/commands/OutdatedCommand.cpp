#include "Command.h"
#include "CommandOptions.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "Task.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "cache/CacheWork.h"
#include "removal/OutdatedResources.h"
#include "removal/RemovalDanger.h"
#include "removal/RemovalReport.h"

#include <QCoreApplication>
#include <QDateTime>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::OutdatedCommand)
};

constexpr auto helpDetails
    = R"(Lists and removes the resources whose reference stands for a newer major version
than the copy in the cache, in use or not: the next program that wants one fetches
it anew. Ctrl-C stops after the resource that is just being removed. If a removal would
take more than its own data, nothing goes, and the exit code is 3.

Examples:
  zelcache outdated --dry-run
  zelcache outdated --json | jq '.removed[].reference')";

/// Where it lies tells what would go with it.
constexpr auto neededDetails = ResourceCacheReader::Version | ResourceCacheReader::Path;

struct Outcome
{
    OutdatedReport report;
    QString refusal; ///< why nothing was or would be removed at all
    Error failure;
    int signalNumber = 0;
};

Result<OutdatedResources> outdatedNow(const Context &context)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    ZEL_TRY_LET(const auto snapshot, readCache(settings, neededDetails));
    const ResourceUsers users = usersByReference(snapshot, QDateTime::currentMSecsSinceEpoch(),
                                                 processesOf(settings.cachePath.databasePath()));
    return ZEL_PASS(outdatedOf(snapshot, users));
}

QString refusalOf(const Context &context, const OutdatedResources &outdated)
{
    ResourceRows rows;
    for (const OutdatedResource &each : outdated)
        rows.append(each.resource);
    return dangersText(Texts::tr("Nothing is removed: that would take more than what is outdated."),
                       rows, DataPlaces(settingsOf(context.options).cachePath.cacheDataDir()));
}

Outcome refused(const QString &why)
{
    Outcome outcome;
    outcome.refusal = why;
    return outcome;
}

void warnOfUsers(const Context &context, const OutdatedResources &outdated)
{
    for (const OutdatedResource &each : outdated) {
        if (!each.processes.isEmpty())
            context.output.warning(
                Texts::tr("%1 is in use by %2")
                    .arg(each.resource.reference, processesText(each.processes)));
    }
}

void showProgress(const Context &context, const Task &task)
{
    if (task.progressMaximum() <= 0)
        return;
    ProgressState state;
    state.label = Texts::tr("Removing");
    state.fraction = double(task.progressValue()) / task.progressMaximum();
    state.finishedCount = task.progressValue();
    state.overallCount = task.progressMaximum();
    context.output.showProgress(state);
}

Result<Outcome> purged(const Context &context)
{
    // A reference that cannot be read is named here; the cache's own failure would not name it.
    if (const auto outdated = outdatedNow(context); !outdated.hasValue())
        return outdated.error();
    // Who is made to wait for the cache here can be interrupted at once.
    ZEL_TRY_LET(const auto task, ResourceManager::purgeOutdatedResourcesTask());
    ZEL_TRY_LET(const OutdatedResources before, outdatedNow(context));
    if (const QString why = refusalOf(context, before); !why.isEmpty())
        return refused(why);
    warnOfUsers(context, before);

    Outcome outcome;
    if (task) {
        task->setExecutionMode(Task::ExecutionMode::Asynchronous);
        outcome.signalNumber = runHoldingCache(task.get(), context.output,
                                               [&](int) { showProgress(context, *task); });
        outcome.failure = task->error();
    }
    ZEL_TRY_LET(const OutdatedResources after, outdatedNow(context));
    outcome.report = reportOf(before, after);
    return outcome;
}

Result<Outcome> rehearse(const Context &context)
{
    ZEL_TRY_LET(const OutdatedResources outdated, outdatedNow(context));
    if (const QString why = refusalOf(context, outdated); !why.isEmpty())
        return refused(why);
    warnOfUsers(context, outdated);
    Outcome outcome;
    outcome.report = reportOf(outdated, {});
    outcome.report.isDryRun = true;
    return outcome;
}

void writeAnswer(const Context &context, const Outcome &outcome)
{
    if (!context.options.json) {
        context.output.answerLines(outcome.report.removed.size() + 1,
                                   outdatedLines(outcome.report));
        return;
    }
    QJsonObject answer = context.answerWith(outdatedJson(outcome.report));
    if (outcome.failure.hasError())
        answer.insert(u"error"_s, json::error(outcome.failure));
    context.output.answer(answer);
}

ExitCode answer(const Context &context, const Outcome &outcome)
{
    if (!outcome.refusal.isEmpty())
        return context.fail(ExitCode::AnswerIsNo, outcome.refusal);
    writeAnswer(context, outcome);
    if (!outcome.report.left.isEmpty())
        context.output.warning(
            Texts::tr("Still outdated: %1.").arg(countText(outcome.report.left.size())));
    if (outcome.signalNumber != 0)
        return exitCodeOfSignal(outcome.signalNumber);
    if (!outcome.failure.hasError())
        return ExitCode::Success;
    context.output.error(outcome.failure.errorMessage());
    return exitCodeOf(outcome.failure);
}

class OutdatedCommand : public Command
{
public:
    OutdatedCommand()
        : Command("outdated", "Remove what is outdated", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override { options::addDryRun(app, dryRun); }

    ExitCode run(const Context &context) override;

private:
    bool dryRun = false;
};

ExitCode OutdatedCommand::run(const Context &context)
{
    registerResourceSchemes();
    if (const auto nothing = readCacheFor({}, settingsOf(context.options)); !nothing.hasValue())
        return context.fail(ExitCode::CacheUnavailable, nothing.error().errorMessage());
    if (!dryRun) {
        if (const auto code = openExistingCache(context))
            return *code;
    }
    const auto outcome = dryRun ? rehearse(context) : purged(context);
    return outcome.hasValue() ? answer(context, outcome.value()) : context.fail(outcome.error());
}

} // namespace

std::unique_ptr<Command> makeOutdatedCommand()
{
    return std::make_unique<OutdatedCommand>();
}

} // namespace zel::cli
