#include "Command.h"
#include "CommandOptions.h"
#include "board/BoardSource.h"
#include "board/BoardWatch.h"
#include "cache/CacheOpening.h"
#include "cache/CacheReading.h"
#include "reports/CacheReport.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto helpDetails
    = R"(Shows where the cache lies, how full it is, who uses it and what is being
fetched. Waits for nobody and changes nothing.

With --watch it goes on showing that, in place at a terminal, until q or Ctrl-C is
pressed: each fetch with its rate and the time left, who waits for it, and which
programs live. With --json that is one object a line.

Examples:
  zelcache status
  zelcache status --watch
  zelcache status --watch --interval 5 --json | jq '.fetches[].percent'
  zelcache --cache /data/cache status --json)";

StatusReport reportOf(const ResourceManagerSettings &settings, const BoardLook &look)
{
    StatusReport report;
    report.path = settings.cachePath;
    report.board = BoardModel(settings.cachePath.baseDirPath(), settings.sizes).update(look);
    report.lastScanTimestamp = look.activity.lastScanTimestamp;
    return report;
}

ExitCode showOnce(const Context &context)
{
    const ResourceManagerSettings settings = settingsOf(context.options);
    const auto activity = readActivity(settings);
    if (!activity.hasValue())
        return context.fail(ExitCode::CacheUnavailable, activity.error().errorMessage());
    const StatusReport report = reportOf(settings, lookAt(settings, activity.value()));

    if (context.options.json) {
        context.output.answer(context.answerWith(statusJson(report)));
        return ExitCode::Success;
    }
    for (const QString &line : statusLines(report))
        context.output.answer(line);
    return ExitCode::Success;
}

class StatusCommand : public Command
{
public:
    StatusCommand()
        : Command("status", "Show the state of the cache", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override;
    std::optional<QString> check() override;
    ExitCode run(const Context &context) override;

private:
    bool isWatching = false;
    std::optional<QString> intervalText;
    std::chrono::milliseconds interval = 1s;
};

void StatusCommand::addOptions(CLI::App &app)
{
    options::addSwitch(app, "-w,--watch", "Go on showing it until q is pressed", isWatching);
    options::addValue(app, "--interval", "SECONDS", "With --watch: look so often, 1 by default",
                      intervalText);
}

std::optional<QString> StatusCommand::check()
{
    if (!intervalText)
        return {};
    if (!isWatching)
        return u"--interval needs --watch"_s;
    const auto given = intervalFromText(*intervalText);
    if (!given)
        return u"--interval: \"%1\" is no number of seconds from 0.1 to 3600"_s.arg(*intervalText);
    interval = *given;
    return {};
}

ExitCode StatusCommand::run(const Context &context)
{
    return isWatching ? watchBoard(context, interval) : showOnce(context);
}

} // namespace

std::unique_ptr<Command> makeStatusCommand()
{
    return std::make_unique<StatusCommand>();
}

} // namespace zel::cli
