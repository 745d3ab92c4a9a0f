#include "Command.h"
#include "CommandOptions.h"
#include "get/GetRequests.h"
#include "get/ReferenceList.h"
#include "plan/PlanRequests.h"
#include "removal/EnteringDanger.h"

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto helpDetails
    = R"(Prints one local path a line, in the order of the references. A reference that
cannot be had prints nothing; the others are still fetched.

First it asks how big everything is that is missing. If that does not fit the cache or
the disk, even after all has gone that can, it ends with code 7 and the numbers before
the first byte; --force fetches nevertheless. Otherwise what has to go goes first.

With --plan it fetches nothing, but tells what is missing, what would go for it in
which order, whether it fits (the exit code is 7 if not), and how long it takes, if
earlier fetches from the same hosts tell. All numbers are of one moment.

Examples:
  zelcache get https://data.example.org/runs/run1.raw
  zelcache get -f references.txt --no-progress
  zelcache get --verify share:/mnt/lab/run1.d
  zelcache get --json share:/mnt/lab/run1.d | jq -r '.results[].path'
  grep 2024 references.txt | zelcache get -f -
  zelcache get --plan -f references.txt
  zelcache get --force -f references.txt
  zelcache get -0 -f list.bin | xargs -0 ls -l)";

class GetCommand : public Command
{
public:
    GetCommand()
        : Command("get", "Fetch resources and print their paths", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReferences(app, references, false);
        options::addText(app, "-f,--file", "LIST",
                         "Read further references from this file, one a line; - for standard input",
                         listFile);
        options::addSwitch(app, "--verify",
                           "Verify what is here already; what is damaged is not printed", verifies);
        options::addSwitch(app, "--plan", "Only tell what would be fetched and evicted", plans);
        options::addSwitch(app, "--force", "Fetch without asking first whether it fits", forces);
    }

    std::optional<QString> check() override
    {
        if (references.isEmpty() && listFile.isEmpty())
            return u"get needs a reference or a list of them"_s;
        if (plans && forces)
            return u"--plan and --force exclude each other"_s;
        if (plans && verifies)
            return u"--plan and --verify exclude each other"_s;
        return {};
    }

    ExitCode run(const Context &context) override;

private:
    QStringList references;
    bool plans = false; ///< instead of fetching
    bool forces = false; ///< whether it fits or not
    bool verifies = false; ///< what is here already
    QString listFile; ///< a file with further references, "-" for standard input
};

ExitCode GetCommand::run(const Context &context)
{
    QStringList all = references;
    if (!listFile.isEmpty()) {
        const ListForm form
            = context.options.nullTerminated ? ListForm::NullTerminated : ListForm::Lines;
        const auto listed = readReferenceList(listFile, form);
        if (!listed.hasValue())
            return context.fail(listed.error());
        all += listed.value();
    }
    if (plans)
        return planRequests(context, all);
    if (const auto code = openCacheToEnter(context, all))
        return *code;
    GetRequests::Manner manner;
    manner.verifies = verifies;
    manner.makesRoom = !forces;
    GetRequests requests(context, all, manner);
    return requests.run();
}

} // namespace

std::unique_ptr<Command> makeGetCommand()
{
    return std::make_unique<GetCommand>();
}

} // namespace zel::cli
