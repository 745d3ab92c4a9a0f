#include "CommandLine.h"

#include "CommandOptions.h"
#include "output/NearestWord.h"
#include "output/Text.h"

#include <CLI/CLI.hpp>

#include <QRegularExpression>

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
    QStringList plainWords(const QStringList &words) const;
    Command *commandIn(const QStringList &words);
    const CLI::App *helperWith(const QStringList &plain) const;
    QString complaintOf(const CLI::ParseError &reason, const QStringList &plain) const;
    ParseOutcome mistake(const QString &text, const QStringList &plain) const;
    ParseOutcome stopped(const CLI::ParseError &reason, const QStringList &plain);

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

/// The words that are neither options nor values of common ones: a command comes first.
QStringList Parser::plainWords(const QStringList &words) const
{
    QStringList plain;
    for (qsizetype index = 0; index < words.size(); ++index) {
        const QString &word = words.at(index);
        const CLI::Option *option = app.get_option_no_throw(word.toStdString());
        if (option && option->get_items_expected_min() > 0)
            ++index; // its value is no command
        if (!word.startsWith(u'-'))
            plain.append(word);
    }
    return plain;
}

/// The command that the words start with, behind common options; null without one.
Command *Parser::commandIn(const QStringList &words)
{
    const QString word = plainWords(words).value(0);
    const auto meant = std::find_if(commands.begin(), commands.end(), [&word](const auto &each) {
        return word == QLatin1StringView(each->name());
    });
    return meant == commands.end() ? nullptr : meant->get();
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

QStringList namesBelow(const CLI::App &app)
{
    QStringList names;
    for (const CLI::App *each : app.get_subcommands([](const CLI::App *) { return true; }))
        names.append(QString::fromStdString(each->get_name()));
    return names;
}

/// Which word the parser misses below a command, or below the program itself.
QString missingWord(const CLI::App &app, const QString &written)
{
    const bool isProgram = app.get_parent() == nullptr;
    const QString kind = isProgram ? u"command"_s : u"action"_s;
    const QStringList known = namesBelow(app);
    if (written.isEmpty() && isProgram)
        return u"a command is needed, such as get or status"_s;
    const QString name = QString::fromStdString(app.get_name());
    if (written.isEmpty())
        return u"%1 needs an action: %2"_s.arg(name, known.join(u", "_s));
    const QString text = u"there is no %1 \"%2\""_s.arg(kind, withoutSecrets(written));
    const QString nearest = nearestWord(written, known);
    if (!nearest.isEmpty())
        return text + u"; the nearest one is \"%1\""_s.arg(nearest);
    return isProgram ? text : text + u", only "_s + known.join(u", "_s);
}

/// What can tell the usage: the command, if there is one of the name, or the program.
const CLI::App *Parser::helperWith(const QStringList &plain) const
{
    const std::string name = plain.value(0).toStdString();
    const auto found
        = app.get_subcommands([&name](const CLI::App *each) { return each->get_name() == name; });
    return found.empty() ? &app : found.front();
}

/// In words of ours where those of the parser are no words of its users.
QString Parser::complaintOf(const CLI::ParseError &reason, const QStringList &plain) const
{
    const QString text = QString::fromUtf8(reason.what());
    if (text == u"A subcommand is required"_s) {
        const CLI::App *helper = helperWith(plain);
        return missingWord(*helper, plain.value(helper == &app ? 0 : 1));
    }
    const QRegularExpression withoutValue(u"^(\\S+): 1 required (\\S+) missing$"_s);
    const QRegularExpressionMatch match = withoutValue.match(text);
    if (match.hasMatch())
        return u"%1 needs a value: %2"_s.arg(match.captured(1), match.captured(2));
    QString shown = text;
    for (const QString &word : plain)
        shown.replace(word, withoutSecrets(word));
    return shown;
}

ParseOutcome Parser::mistake(const QString &text, const QStringList &plain) const
{
    const CLI::App *helper = helperWith(plain);
    const QString command
        = helper == &app ? QString() : u' ' + QString::fromStdString(helper->get_name());
    const QString shown = u"zelcache: %1\nRun \"zelcache%2 --help\" for the usage.\n"_s;
    return { nullptr, {}, shown.arg(escaped(text), command), ExitCode::BadArgument };
}

ParseOutcome Parser::stopped(const CLI::ParseError &reason, const QStringList &plain)
{
    std::ostringstream text;
    std::ostringstream complaint;
    if (app.exit(reason, text, complaint) == 0)
        return { nullptr, {}, QString::fromStdString(text.str()), ExitCode::Success };
    return mistake(complaintOf(reason, plain), plain);
}

ParseOutcome Parser::parse(const QStringList &arguments)
{
    const QStringList given = withoutProgramLine(arguments);
    const QStringList plain = plainWords(given);
    std::vector<std::string> words;
    for (const QString &argument : given)
        words.push_back(argument.toStdString());
    // The last word first: that is how this form of parse() takes them.
    std::reverse(words.begin(), words.end());
    try {
        app.parse(words);
    } catch (const CLI::ParseError &reason) {
        return stopped(reason, plain);
    }
    if (options.quiet && options.verbosity > 0)
        return mistake(u"--quiet and --verbose exclude each other"_s, plain);
    if (options.json && options.nullTerminated)
        return mistake(u"--json and --null exclude each other"_s, plain);
    if (const auto complaint = chosen->check())
        return mistake(*complaint, plain);
    return { std::move(chosen), options, {}, ExitCode::Success };
}

} // namespace

ParseOutcome parseCommandLine(const QStringList &arguments,
                              std::vector<std::unique_ptr<Command>> commands)
{
    return Parser(std::move(commands)).parse(arguments);
}

} // namespace zel::cli
