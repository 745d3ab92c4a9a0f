#include "Command.h"
#include "CommandOptions.h"
#include "get/GetRequests.h"
#include "hold/HeldProgram.h"
#include "hold/ProgramLine.h"
#include "removal/EnteringDanger.h"

#include <QCoreApplication>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::HoldCommand)
};

constexpr auto helpDetails
    = R"(Fetches what is missing, then keeps all of it in use while COMMAND runs, so that no
purge takes it. Behind "--" stands the command with its arguments. An argument with
{} in it is repeated for each path, which takes the place of {}; the variable
ZELCACHE_PATHS holds the paths, one a line. If a resource cannot be had, the command
is not started, and the exit code is that of get.

After TIME (such as 90s, 15m, 1.5h, 1h30m) the command is sent SIGTERM and waited for.
Without a command the paths are printed and held for TIME, or until a signal comes.

Examples:
  zelcache hold https://data.example.org/runs/run1.raw -- convert {} -o run1.mzML
  zelcache hold --for 2h share:/mnt/lab/a.raw share:/mnt/lab/b.raw -- align --in={}
  zelcache hold share:/mnt/lab/run1.d -- sh -c 'echo "$ZELCACHE_PATHS"'
  zelcache hold --for 30m share:/mnt/lab/run1.d)";

constexpr auto ownExitCodes
    = R"(Exit codes: that of COMMAND; if it is not started, or there is none:
  0 the time is over   6 integrity violated            20 refused or canceled
  1 failed             7 no space left                 21 feature lacking
  2 usage, reference   8 the cache cannot be opened   126 COMMAND cannot be started
  3 a removal would take more than it is to           127 there is no such program
  4, 5 data, container
  129, 130, 143 ended by SIGHUP, SIGINT, SIGTERM    128+n signal n ended COMMAND)";

class HoldCommand : public Command
{
public:
    HoldCommand()
        : Command("hold", "Keep resources in use while a command runs, or for a time", helpDetails)
    {
    }

    const char *usageTail() const override { return " [-- COMMAND [ARG...]]"; }
    const char *exitCodes() const override { return ownExitCodes; }

    void addOptions(CLI::App &app) override
    {
        options::addReferences(app, references, true);
        options::addSwitch(app, "--force", "Fetch without asking first whether it fits", forces);
        options::addValue(app, "--for", "TIME", "Hold no longer than this", timeText);
    }

    QStringList *programLine() override
    {
        runsProgram = true;
        return &program;
    }

    std::optional<QString> check() override
    {
        if (const auto wrong = options::readDuration(u"--for"_s, timeText, time))
            return wrong;
        if (runsProgram && program.value(0).isEmpty())
            return u"hold needs a command behind --"_s;
        return {};
    }

    ExitCode run(const Context &context) override;

private:
    QStringList references;
    QStringList program; ///< with its arguments
    bool runsProgram = false;
    bool forces = false; ///< the fetch, whether it fits or not
    std::optional<QString> timeText;
    HoldTime time;
};

ExitCode HoldCommand::run(const Context &context)
{
    if (runsProgram && context.options.json)
        return context.fail(
            ExitCode::BadArgument,
            Texts::tr("--json and a command exclude each other: standard output is the "
                      "command's"));
    if (const auto code = openCacheToEnter(context, references))
        return *code;
    GetRequests::Manner manner;
    manner.printsPaths = !runsProgram;
    manner.makesRoom = !forces;
    GetRequests requests(context, references, manner);
    if (const ExitCode code = requests.run(); code != ExitCode::Success)
        return code;
    if (const int signalNumber = requests.receivedSignal())
        return exitCodeOfSignal(signalNumber);
    if (runsProgram)
        return ExitCode(runHeldProgram(context.output, withPaths(program, requests.paths()),
                                       requests.paths(), time));
    const int signalNumber = holdStill(time);
    return exitCodeAfter(signalNumber, ExitCode::Success);
}

} // namespace

std::unique_ptr<Command> makeHoldCommand()
{
    return std::make_unique<HoldCommand>();
}

} // namespace zel::cli
