#include "CommandLine.h"

#include "CommandOptions.h"
#include "output/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto programExamples = R"(Examples:
  zelcache get https://data.example.org/runs/run1.raw
  zelcache status
  zelcache get --help)";

constexpr auto exitCodes = R"(Exit codes:
  0 success            6 integrity violated            20 refused or canceled
  1 failed             7 no space left                 21 feature lacking
  2 usage, reference   8 the cache cannot be opened   130 interrupted
  3 the answer is no   4, 5 data, container           143 terminated, 129 hung up)";

using Commands = std::vector<std::unique_ptr<Command>>;

class Parser
{
public:
    explicit Parser(Commands commands);
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    ParseOutcome parse(const QStringList &arguments);

private:
    void addCommonOptions();
    void addCommand(std::unique_ptr<Command> &command);
    QStringList withoutProgramLine(const QStringList &arguments);
    Command *commandIn(const QStringList &words);
    ParseOutcome stopped(const CLI::ParseError &reason);

    CLI::App app {
        "Fetches remote resources into the cache that all programs of this machine share "
        "and tells where they lie."
    };
    Commands commands;
    std::unique_ptr<Command> chosen;
    Options options;
};

std::string footerWith(const char *details, const char *ownExitCodes = nullptr)
{
    return std::string(details) + "\n\n" + (ownExitCodes ? ownExitCodes : exitCodes);
}

/// Shows in the usage what no option and no argument of the parser stands for.
class TailedFormatter : public CLI::Formatter
{
public:
    TailedFormatter(const CLI::Formatter &formatter, std::string tail)
        : CLI::Formatter(formatter)
        , tail(std::move(tail))
    {
    }
    std::string make_usage(const CLI::App *app, std::string name) const override
    {
        std::string usage = CLI::Formatter::make_usage(app, name);
        usage.insert(usage.find_last_not_of('\n') + 1, tail);
        return usage;
    }

private:
    const std::string tail;
};

Parser::Parser(Commands commands)
    : commands(std::move(commands))
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
    for (std::unique_ptr<Command> &command : this->commands)
        addCommand(command);
}

void Parser::addCommonOptions()
{
    zel::cli::options::addText(app, "--cache", "DIR", "Use the cache in this base directory",
                               options.cacheDir);
    app.add_flag("--json", options.json, "Print the answer as JSON");
    app.add_flag("-0,--null", options.nullTerminated,
                 "End lines of answers and of lists of references with NUL");
    app.add_flag("-q,--quiet", options.quiet, "Print nothing but answers and errors");
    app.add_flag("-v,--verbose", options.verbosity, "Tell what is done; twice: log everything");
    app.add_flag("--no-progress", options.noProgress, "Show no progress bar");
    app.add_flag("--prompt", options.prompt, "Ask before anything is fetched");
    app.add_flag("-y,--yes", options.yes, "Answer yes to every prompt");
    zel::cli::options::addText(app, "--trace", "FILE", "Write spans of all retrievals to this file",
                               options.traceFile);
}

void Parser::addCommand(std::unique_ptr<Command> &command)
{
    auto *subcommand = app.add_subcommand(command->name(), command->description());
    // Before the options, since the actions of a command take it over.
    subcommand->footer(footerWith(command->details(), command->exitCodes()));
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app.get_formatter());
    subcommand->formatter(std::make_shared<TailedFormatter>(*formatter, command->usageTail()));
    subcommand->final_callback([this, &command] { chosen = std::move(command); });
    command->addOptions(*subcommand);
    // The parser takes "-0" behind a command for a number unless it is the command's own.
    subcommand->add_flag("-0", options.nullTerminated)->group("");
}

/// The command that the words start with, behind common options; null without one.
Command *Parser::commandIn(const QStringList &words)
{
    for (qsizetype index = 0; index < words.size(); ++index) {
        const QString &word = words.at(index);
        const CLI::Option *option = app.get_option_no_throw(word.toStdString());
        if (option && option->get_items_expected_min() > 0)
            ++index; // its value is no command
        if (word.startsWith(u'-'))
            continue;
        const auto meant
            = std::find_if(commands.begin(), commands.end(), [&word](const auto &each) {
                  return word == QLatin1StringView(each->name());
              });
        return meant == commands.end() ? nullptr : meant->get();
    }
    return nullptr;
}

/// Hands what stands behind "--" to a command that runs a program with it.
QStringList Parser::withoutProgramLine(const QStringList &arguments)
{
    const qsizetype mark = arguments.indexOf(u"--"_s);
    Command *command = mark < 0 ? nullptr : commandIn(arguments.first(mark));
    QStringList *programLine = command ? command->programLine() : nullptr;
    if (!programLine)
        return arguments;
    *programLine = arguments.mid(mark + 1);
    return arguments.first(mark);
}

ParseOutcome mistake(const QString &text)
{
    const QString shown = u"zelcache: %1\nRun \"zelcache --help\" for the usage.\n"_s;
    return { nullptr, {}, shown.arg(escaped(text)), ExitCode::BadArgument };
}

ParseOutcome Parser::stopped(const CLI::ParseError &reason)
{
    std::ostringstream text;
    std::ostringstream complaint;
    if (app.exit(reason, text, complaint) == 0)
        return { nullptr, {}, QString::fromStdString(text.str()), ExitCode::Success };
    return mistake(QString::fromUtf8(reason.what()));
}

ParseOutcome Parser::parse(const QStringList &arguments)
{
    std::vector<std::string> words;
    for (const QString &argument : withoutProgramLine(arguments))
        words.push_back(argument.toStdString());
    // The last word first: that is how this form of parse() takes them.
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::ParseError &reason) {
        return stopped(reason);
    }
    if (options.quiet && options.verbosity > 0)
        return mistake(u"--quiet and --verbose exclude each other"_s);
    if (options.json && options.nullTerminated)
        return mistake(u"--json and --null exclude each other"_s);
    if (const auto complaint = chosen->check())
        return mistake(*complaint);
    return { std::move(chosen), options, {}, ExitCode::Success };
}

} // namespace

ParseOutcome parseCommandLine(const QStringList &arguments,
                              std::vector<std::unique_ptr<Command>> commands)
{
    return Parser(std::move(commands)).parse(arguments);
}

} // namespace zel::cli
