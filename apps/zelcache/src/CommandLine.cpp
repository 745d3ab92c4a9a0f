#include "CommandLine.h"

#include "CommandExamples.h"
#include "Format.h"
#include "Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <sstream>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What CLI11 fills in; its own texts are bytes.
struct RawOptions
{
    std::vector<std::string> references;
    std::string reference;
    std::string listFile;
    std::string source;
    std::string purgeTarget;
    std::string order;
    std::string status;
    std::string format;
    std::vector<std::string> paths;
    std::string configKey;
    std::string configValue;
    std::string policy;
    std::string cacheDir;
    std::string traceFile;
};

class Parser
{
public:
    Parser();
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    ParseOutcome parse(const QStringList &arguments);

private:
    void addCommonOptions();
    void addCommands();
    void addRemovingCommands();
    void addDryRun(CLI::App *command);
    CLI::App *addCommand(Options::Command command, const char *description, const char *examples);
    void addList();
    void addConfig();
    CLI::App *addConfigAction(CLI::App *config, Options::ConfigAction action, const char *name,
                              const char *description);
    void addReference(CLI::App *command);
    void addReferences(CLI::App *command, bool required);
    Options gathered() const;
    bool isGiven(const char *command, const char *option) const;
    /// Values with a meaning of their own; gives what is wrong with one of them.
    std::optional<QString> readValues(Options &all) const;
    ParseOutcome stopped(const CLI::ParseError &reason);

    CLI::App app {
        "Fetches remote resources into the cache that all programs of this machine share "
        "and tells where they lie."
    };
    RawOptions raw;
    Options options;
};

CLI::Validator notEmpty()
{
    // Without a name, or the help would show it beside every option.
    return CLI::Validator(
        [](const std::string &text) {
            return text.empty() ? std::string("needs a name that is not empty") : std::string();
        },
        "");
}

std::optional<ResourceCleanupPolicy> policyFromText(const QString &text)
{
    for (const auto policy : { ResourceCleanupPolicy::Never, ResourceCleanupPolicy::OnClose,
                               ResourceCleanupPolicy::OnDemand }) {
        if (text.compare(toText(policy), Qt::CaseInsensitive) == 0)
            return policy;
    }
    return {};
}

std::string footerWith(const char *examples)
{
    return std::string(examples) + "\n\n" + exitCodes;
}

Parser::Parser()
{
    app.name("zelcache");
    app.require_subcommand(1);
    app.fallthrough(); // common options may stand behind the command too
    app.set_version_flag("--version", "zelcache " ZELCACHE_VERSION);
    app.footer(footerWith(programExamples));
    app.get_formatter()->column_width(28);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("REQUIRED", "");
    addCommonOptions();
    addCommands();
}

void Parser::addCommonOptions()
{
    app.add_option("--cache", raw.cacheDir, "Use the cache in this base directory")
        ->type_name("DIR")
        ->check(notEmpty());
    app.add_flag("--json", options.json, "Print the answer as JSON");
    app.add_flag("-q,--quiet", options.quiet, "Print nothing but answers and errors");
    app.add_flag("-v,--verbose", options.verbosity, "Tell what is done; twice: log everything");
    app.add_flag("--no-progress", options.noProgress, "Show no progress bar");
    app.add_flag("--prompt", options.prompt, "Ask before anything is fetched");
    app.add_flag("-y,--yes", options.yes, "Answer yes to every prompt");
    app.add_option("--trace", raw.traceFile, "Write spans of all retrievals to this file")
        ->type_name("FILE")
        ->check(notEmpty());
}

void Parser::addCommands()
{
    using Command = Options::Command;
    auto *get = addCommand(Command::Get, "Fetch resources and print their paths", getExamples);
    addReferences(get, false);
    get->add_option("-f,--file", raw.listFile,
                    "Read further references from this file, one a line; - for standard input")
        ->type_name("LIST")
        ->check(notEmpty());
    addReferences(addCommand(Command::Exists, "Ask whether resources exist", existsExamples), true);
    addReference(addCommand(Command::Info, "Describe a resource", infoExamples));
    addReference(addCommand(Command::Path, "Print the local path of a resource", pathExamples));
    auto *add = addCommand(Command::Add, "Put a local copy into the cache", addExamples);
    addReference(add);
    add->add_option("SOURCE", raw.source, "The file or folder to copy")->required()->type_name("");
    addList();
    addRemovingCommands();
    addCommand(Command::Status, "Show the state of the cache", statusExamples);
    addConfig();
    addCommand(Command::Formats, "Tell data formats", formatsExamples)
        ->add_option("PATH", raw.paths, "Files or folders to look at")
        ->type_name("");
    addReferences(addCommand(Command::Recount, "Count sizes anew", recountExamples), false);
}

void Parser::addRemovingCommands()
{
    using Command = Options::Command;
    auto *purge = addCommand(Command::Purge, "Make room in the cache", purgeExamples);
    purge
        ->add_option("--to", raw.purgeTarget,
                     "Come down to this size, such as 0, 500M, 1.5GiB or 20GB")
        ->type_name("SIZE");
    addDryRun(purge);
    addDryRun(addCommand(Command::Outdated, "Remove what is outdated", outdatedExamples));
    auto *policy = addCommand(Command::Policy, "Show or set a cleanup policy", policyExamples);
    addReference(policy);
    policy->add_option("POLICY", raw.policy, "Never, OnClose or OnDemand")->type_name("");
    auto *remove = addCommand(Command::Remove, "Remove resources from the cache", removeExamples);
    addReferences(remove, true);
    addDryRun(remove);
    remove->add_flag("--force", options.force, "Remove what has the policy Never, too");
}

void Parser::addDryRun(CLI::App *command)
{
    command->add_flag("-n,--dry-run", options.dryRun, "Only tell what would go");
}

CLI::App *Parser::addCommand(Options::Command command, const char *description,
                             const char *examples)
{
    auto *subcommand = app.add_subcommand(commandName(command).toStdString(), description);
    subcommand->footer(footerWith(examples));
    subcommand->final_callback([this, command] { options.command = command; });
    return subcommand;
}

void Parser::addList()
{
    auto *list = addCommand(Options::Command::List, "List what the cache knows", listExamples);
    list->add_option("--sort", raw.order, "Sort by size, age or name")
        ->type_name("ORDER")
        ->check(notEmpty());
    list->add_option("--status", raw.status, "Only what has this status, such as Ready")
        ->type_name("STATUS")
        ->check(notEmpty());
    list->add_option("--format", raw.format, "Only what has this data format by name")
        ->type_name("FORMAT")
        ->check(notEmpty());
}

void Parser::addConfig()
{
    using Action = Options::ConfigAction;
    auto *config = addCommand(Options::Command::Config, "Show or change settings", configExamples);
    config->require_subcommand(1);
    addConfigAction(config, Action::Show, "show", "Show all settings and where they come from");
    auto *get = addConfigAction(config, Action::Get, "get", "Print the value of a setting");
    auto *set = addConfigAction(config, Action::Set, "set", "Write a setting into its file");
    addConfigAction(config, Action::Path, "path", "Print where the settings file is");
    for (CLI::App *action : { get, set })
        action->add_option("KEY", raw.configKey, "The setting's name")->required()->type_name("");
    set->add_option("VALUE", raw.configValue, "A directory, or a size such as 20GiB")
        ->required()
        ->type_name("");
}

CLI::App *Parser::addConfigAction(CLI::App *config, Options::ConfigAction action, const char *name,
                                  const char *description)
{
    auto *subcommand = config->add_subcommand(name, description);
    subcommand->footer(footerWith(configExamples));
    subcommand->final_callback([this, action] { options.configAction = action; });
    return subcommand;
}

void Parser::addReference(CLI::App *command)
{
    command->add_option("REF", raw.reference, "The resource's reference")
        ->required()
        ->type_name("");
}

void Parser::addReferences(CLI::App *command, bool required)
{
    command->add_option("REF", raw.references, "References of resources")
        ->required(required)
        ->type_name("");
}

Options Parser::gathered() const
{
    Options all = options;
    for (const std::string &reference : raw.references)
        all.references.append(QString::fromStdString(reference));
    if (!raw.reference.empty())
        all.references.append(QString::fromStdString(raw.reference));
    all.listFile = QString::fromStdString(raw.listFile);
    all.source = QString::fromStdString(raw.source);
    for (const std::string &path : raw.paths)
        all.paths.append(QString::fromStdString(path));
    all.order = QString::fromStdString(raw.order);
    all.status = QString::fromStdString(raw.status);
    all.format = QString::fromStdString(raw.format);
    all.configKey = QString::fromStdString(raw.configKey);
    all.configValue = QString::fromStdString(raw.configValue);
    all.cacheDir = QString::fromStdString(raw.cacheDir);
    all.traceFile = QString::fromStdString(raw.traceFile);
    return all;
}

ParseOutcome mistake(const QString &text)
{
    const QString shown = u"zelcache: %1\nRun \"zelcache --help\" for the usage.\n"_s;
    return { std::nullopt, shown.arg(escaped(text)), ExitCode::BadArgument };
}

ParseOutcome Parser::stopped(const CLI::ParseError &reason)
{
    std::ostringstream text;
    std::ostringstream complaint;
    if (app.exit(reason, text, complaint) == 0)
        return { std::nullopt, QString::fromStdString(text.str()), ExitCode::Success };
    return mistake(QString::fromUtf8(reason.what()));
}

bool Parser::isGiven(const char *command, const char *option) const
{
    return app.got_subcommand(command) && app.get_subcommand(command)->count(option) > 0;
}

std::optional<QString> Parser::readValues(Options &all) const
{
    const QString target = QString::fromStdString(raw.purgeTarget);
    all.purgeTarget = isGiven("purge", "--to") ? sizeFromText(target) : std::nullopt;
    if (isGiven("purge", "--to") && !all.purgeTarget)
        return u"--to: \"%1\" is not a size"_s.arg(target);
    const QString policy = QString::fromStdString(raw.policy);
    all.policy = policyFromText(policy);
    if (isGiven("policy", "POLICY") && !all.policy)
        return u"POLICY: \"%1\" is none of Never, OnClose, OnDemand"_s.arg(policy);
    return {};
}

ParseOutcome Parser::parse(const QStringList &arguments)
{
    std::vector<std::string> words;
    for (const QString &argument : arguments)
        words.push_back(argument.toStdString());
    // The last word first: that is how this form of parse() takes them.
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::ParseError &reason) {
        return stopped(reason);
    }
    Options all = gathered();
    if (const auto complaint = readValues(all))
        return mistake(*complaint);
    if (all.quiet && all.verbosity > 0)
        return mistake(u"--quiet and --verbose exclude each other"_s);
    if (all.command == Options::Command::Get && all.references.isEmpty() && all.listFile.isEmpty())
        return mistake(u"get needs a reference or a list of them"_s);
    return { std::move(all), {}, ExitCode::Success };
}

} // namespace

ParseOutcome parseCommandLine(const QStringList &arguments)
{
    return Parser().parse(arguments);
}

QString commandName(Options::Command command)
{
    static constexpr std::array<QStringView, 14> names {
        u"get",     u"exists",   u"info",   u"path",   u"add",    u"list", //
        u"purge",   u"outdated", u"policy", u"remove", u"status", u"config", //
        u"formats", u"recount",
    };
    return names.at(std::size_t(command)).toString();
}

} // namespace zel::cli
