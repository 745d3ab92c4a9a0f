#include "Command.h"
#include "CommandOptions.h"
#include "ResourceManager.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "doctor/DoctorReport.h"
#include "errors/Propagate.h"
#include "platform/SignalWatch.h"

#include "ResourceCache.h"

#include <QCoreApplication>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::DoctorCommand)
};

constexpr auto helpDetails
    = R"(Examines a cache: its database, its data and its lock. Tells what is wrong, each
with an id, and what helps. Without --repair it waits for nobody and changes
nothing. --repair shows its plan first and then lets the library do it; what a row
or a process claims is never removed.

Examples:
  zelcache doctor
  zelcache doctor --repair --dry-run
  zelcache doctor --json | jq -r '.findings[] | .id + " " + .subject')";

constexpr auto ownExitCodes = R"(Exit codes:
  0 nothing is wrong   2 usage                  8 there is no cache, or it cannot be opened,
  1 all is repaired    4 something is left        or the answer or trace cannot be written
                                              129, 130, 143 ended by a signal)";

struct Request
{
    bool repair = false;
    bool dryRun = false;
    std::chrono::seconds minimumAge { 3600 };
};

class DoctorCommand : public Command
{
public:
    DoctorCommand()
        : Command("doctor", "Find and repair damages of the cache", helpDetails)
    {
    }

    const char *exitCodes() const override { return ownExitCodes; }
    ExitCode failureCode() const override { return ExitCode::CacheUnavailable; }

    void addOptions(CLI::App &app) override
    {
        options::addSwitch(app, "--repair", "Repair what can be repaired", request.repair);
        options::addSwitch(app, "-n,--dry-run", "Only tell what a repair would do", request.dryRun);
        options::addValue(app, "--min-age", "SECONDS",
                          "Leave data alone that changed within this time (3600)", ageText);
    }

    std::optional<QString> check() override
    {
        if (!ageText)
            return {};
        bool isNumber = false;
        const int seconds = ageText->toInt(&isNumber);
        if (!isNumber || seconds < 0)
            return u"--min-age: \"%1\" is not a number of seconds"_s.arg(*ageText);
        request.minimumAge = std::chrono::seconds(seconds);
        return {};
    }

    ExitCode run(const Context &context) override;

private:
    std::optional<QString> ageText;
    Request request;
};

/// What there is to be found, without what only seems so because somebody changed it meanwhile.
Result<Findings> lookedAt(const ResourceManagerSettings &settings, const Request &request)
{
    ZEL_TRY_LET(const Examination examination, examine(settings, request.minimumAge));
    Findings findings = findingsOf(examination);
    if (findings.isEmpty() || examination.databaseFailure.hasError())
        return findings;
    ZEL_TRY_LET(const auto after, readCache(settings, ResourceCacheReader::Path));
    keepUnchanged(findings, examination.snapshot, after);
    return findings;
}

void write(const Context &context, const QStringList &lines)
{
    if (context.options.json)
        return;
    for (const QString &line : lines)
        context.output.answer(line);
}

std::optional<ExitCode> openedAgain(const Context &context)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    const Error failure = ResourceManager::cache()->open(settings.cachePath, settings.sizes);
    return failure.hasError()
        ? std::optional(context.fail(ExitCode::CacheUnavailable, failure.errorMessage()))
        : std::nullopt;
}

/// Does the plan on the open cache, and closes it. The code to end with if a signal came.
std::optional<ExitCode> doPlan(const Context &context, const Request &request,
                               const RepairPlan &plan, DoctorReport &report)
{
    // While it waits for the others, and while it looks, a signal ends it at once.
    SignalWatch signalWatch([](int) {});
    const auto isInterrupted = [&signalWatch] {
        return signalWatch.receivedNow() != 0;
    };
    Repair repair(ResourceManager::cache(), settingsOf(context.options), request.minimumAge,
                  isInterrupted);
    const auto outcomes = repair.run(plan);
    // Not to be found by the next look itself.
    ResourceManager::cache()->close();
    for (const RepairOutcome &outcome : outcomes) {
        if (outcome.failure.hasError())
            context.output.error(outcome.failure.errorMessage());
    }
    report.repairs->append(outcomes);
    report.isInterrupted = isInterrupted();
    return report.isInterrupted ? std::optional(exitCodeOfSignal(signalWatch.received()))
                                : std::nullopt;
}

std::optional<ExitCode> lookAgain(const Context &context, const Request &request,
                                  DoctorReport &report)
{
    const auto left = lookedAt(settingsOf(context.options), request);
    if (!left.hasValue())
        return context.fail(ExitCode::CacheUnavailable, left.error().errorMessage());
    report.left = left.value();
    return {};
}

/// Only what is new.
RepairPlan planForWhatIsLeft(const DoctorReport &report)
{
    RepairPlan plan = planOf(report.left);
    plan.removeIf([&report](const RepairStep &step) { return report.hasTried(step); });
    return plan;
}

/// Does the plan, looks again, and goes on while there is something new to do. The code to end with
/// if the cache cannot be opened or read, or a signal came.
std::optional<ExitCode> repair(const Context &context, const Request &request, DoctorReport &report)
{
    report.repairs.emplace();
    RepairPlan plan = report.plan;
    for (int further = DoctorReport::mostPlans - 1; !plan.isEmpty(); --further) {
        const bool isFirst = report.repairs->isEmpty();
        if (const auto code = isFirst ? openExistingCache(context) : openedAgain(context))
            return code;
        if (const auto code = doPlan(context, request, plan, report))
            return code;
        if (const auto code = lookAgain(context, request, report))
            return code;
        if (further == 0)
            break;
        plan = planForWhatIsLeft(report);
        write(context, planLines(plan, further - 1));
    }
    return {};
}

void tellLeft(const Context &context, const DoctorReport &report)
{
    if (const Findings left = damagesOf(report.left); !left.isEmpty())
        write(context, QStringList { Texts::tr("Left:") } + findingLines(left));
}

void answer(const Context &context, const DoctorReport &report)
{
    if (context.options.json)
        context.output.answer(context.answerWith(doctorJson(report)));
    write(context, { verdictText(report) });
}

ExitCode DoctorCommand::run(const Context &context)
{
    const auto findings = lookedAt(settingsOf(context.options), request);
    if (!findings.hasValue())
        return context.fail(ExitCode::CacheUnavailable, findings.error().errorMessage());
    DoctorReport report;
    report.findings = findings.value();
    report.plan = planOf(report.findings);
    report.isDryRun = request.dryRun;
    write(context, findingLines(report.findings));
    if (request.repair || request.dryRun)
        write(context, planLines(report.plan, DoctorReport::mostPlans - 1));

    std::optional<ExitCode> code;
    if (request.repair && !request.dryRun && !report.plan.isEmpty())
        code = repair(context, request, report);
    if (code && !report.isInterrupted)
        return *code;
    tellLeft(context, report);
    answer(context, report);
    return code.value_or(exitCodeOf(report));
}

} // namespace

std::unique_ptr<Command> makeDoctorCommand()
{
    return std::make_unique<DoctorCommand>();
}

} // namespace zel::cli
