#include "CommandLine.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using Command = Options::Command;

namespace {

Options optionsOf(const QStringList &arguments)
{
    const ParseOutcome outcome = parseCommandLine(arguments);
    EXPECT_TRUE(outcome.options.has_value()) << qPrintable(outcome.text);
    return outcome.options.value_or(Options());
}

constexpr auto lastCommand = Command::Recount;

/// The text of a mistake in the usage.
QString mistakeOf(const QStringList &arguments)
{
    const ParseOutcome outcome = parseCommandLine(arguments);
    EXPECT_FALSE(outcome.options.has_value());
    EXPECT_EQ(outcome.exitCode, ExitCode::BadArgument);
    return outcome.text;
}

} // namespace

TEST(CommandLine, parse_getWithReferences_keepsTheirOrder)
{
    const Options options = optionsOf({ u"get"_s, u"http://b"_s, u"http://a"_s, u"http://b"_s });
    EXPECT_EQ(options.command, Command::Get);
    EXPECT_EQ(options.references, (QStringList { u"http://b"_s, u"http://a"_s, u"http://b"_s }));
}

TEST(CommandLine, parse_getWithList_needsNoReference)
{
    const Options options = optionsOf({ u"get"_s, u"-f"_s, u"-"_s });
    EXPECT_EQ(options.listFile, u"-"_s);
    EXPECT_TRUE(options.references.isEmpty());
}

TEST(CommandLine, parse_commonOptions_mayStandBeforeAndBehindTheCommand)
{
    const QStringList common { u"--cache"_s, u"/c d"_s,          u"--json"_s,
                               u"-q"_s,      u"--no-progress"_s, u"--prompt"_s,
                               u"--yes"_s,   u"--trace"_s,       u"/t.json"_s };
    for (const QStringList &arguments :
         { common + QStringList { u"list"_s }, QStringList { u"list"_s } + common }) {
        const Options options = optionsOf(arguments);
        EXPECT_EQ(options.command, Command::List);
        EXPECT_EQ(options.cacheDir, u"/c d"_s);
        EXPECT_EQ(options.traceFile, u"/t.json"_s);
        EXPECT_TRUE(options.json && options.quiet && options.noProgress);
        EXPECT_TRUE(options.prompt && options.yes);
    }
}

TEST(CommandLine, parse_nothingSaid_defaultsAreModest)
{
    const Options options = optionsOf({ u"status"_s });
    EXPECT_EQ(options.command, Command::Status);
    EXPECT_FALSE(options.json || options.quiet || options.noProgress);
    EXPECT_FALSE(options.prompt || options.yes);
    EXPECT_EQ(options.verbosity, 0);
    EXPECT_TRUE(options.cacheDir.isEmpty());
}

TEST(CommandLine, parse_verboseTwice_isCounted)
{
    EXPECT_EQ(optionsOf({ u"-vv"_s, u"status"_s }).verbosity, 2);
    EXPECT_EQ(optionsOf({ u"status"_s, u"-v"_s, u"-v"_s }).verbosity, 2);
}

TEST(CommandLine, parse_add_takesReferenceAndSource)
{
    const Options options = optionsOf({ u"add"_s, u"http://a"_s, u"./run ü.raw"_s });
    EXPECT_EQ(options.command, Command::Add);
    EXPECT_EQ(options.references, QStringList { u"http://a"_s });
    EXPECT_EQ(options.source, u"./run ü.raw"_s);
}

TEST(CommandLine, parse_singleReferenceCommands_takeOne)
{
    EXPECT_EQ(optionsOf({ u"info"_s, u"a"_s }).command, Command::Info);
    EXPECT_EQ(optionsOf({ u"path"_s, u"a"_s }).references, QStringList { u"a"_s });
    EXPECT_EQ(optionsOf({ u"exists"_s, u"a"_s, u"b"_s }).references.size(), 2);
}

TEST(CommandLine, parse_purge_readsTheSize)
{
    EXPECT_EQ(optionsOf({ u"purge"_s }).purgeTarget, std::nullopt);
    EXPECT_EQ(optionsOf({ u"purge"_s, u"--to"_s, u"0"_s }).purgeTarget, 0);
    EXPECT_EQ(optionsOf({ u"purge"_s, u"--to=1.5GiB"_s }).purgeTarget, 1610612736);
    EXPECT_FALSE(optionsOf({ u"purge"_s }).dryRun);
    EXPECT_TRUE(optionsOf({ u"purge"_s, u"-n"_s }).dryRun);
    EXPECT_TRUE(optionsOf({ u"purge"_s, u"--dry-run"_s }).dryRun);
}

TEST(CommandLine, parse_config_takesActionKeyAndValue)
{
    using Action = Options::ConfigAction;
    EXPECT_EQ(optionsOf({ u"config"_s, u"show"_s }).configAction, Action::Show);
    EXPECT_EQ(optionsOf({ u"config"_s, u"path"_s, u"--json"_s }).configAction, Action::Path);
    EXPECT_EQ(optionsOf({ u"config"_s, u"get"_s, u"a"_s }).configKey, u"a"_s);
    const Options options = optionsOf({ u"config"_s, u"set"_s, u"a"_s, u""_s });
    EXPECT_EQ(options.command, Command::Config);
    EXPECT_EQ(options.configAction, Action::Set);
    EXPECT_EQ(options.configKey, u"a"_s);
    EXPECT_TRUE(options.configValue.isEmpty());
}

TEST(CommandLine, parse_helpOfAnActionOfConfig_showsExamples)
{
    for (const QString &action : { u"show"_s, u"get"_s, u"set"_s, u"path"_s }) {
        const ParseOutcome outcome = parseCommandLine({ u"config"_s, action, u"--help"_s });
        EXPECT_EQ(outcome.exitCode, ExitCode::Success);
        EXPECT_TRUE(outcome.text.contains(u"zelcache config "_s + action)) << qPrintable(action);
    }
}

TEST(CommandLine, parse_policy_readsThePolicyInAnyLetterCase)
{
    EXPECT_EQ(optionsOf({ u"policy"_s, u"a"_s }).policy, std::nullopt);
    EXPECT_EQ(optionsOf({ u"policy"_s, u"a"_s }).references, QStringList { u"a"_s });
    EXPECT_EQ(optionsOf({ u"policy"_s, u"a"_s, u"NEVER"_s }).policy, ResourceCleanupPolicy::Never);
    EXPECT_EQ(optionsOf({ u"policy"_s, u"a"_s, u"onclose"_s }).policy,
              ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(optionsOf({ u"policy"_s, u"a"_s, u"OnDemand"_s }).policy,
              ResourceCleanupPolicy::OnDemand);
}

TEST(CommandLine, parse_removeAndOutdated_takeTheirSwitches)
{
    const Options remove = optionsOf({ u"remove"_s, u"a"_s, u"b"_s, u"--force"_s, u"-n"_s });
    EXPECT_EQ(remove.command, Command::Remove);
    EXPECT_EQ(remove.references, (QStringList { u"a"_s, u"b"_s }));
    EXPECT_TRUE(remove.force && remove.dryRun);
    EXPECT_FALSE(optionsOf({ u"remove"_s, u"a"_s }).force);
    EXPECT_EQ(optionsOf({ u"outdated"_s }).command, Command::Outdated);
    EXPECT_TRUE(optionsOf({ u"outdated"_s, u"--dry-run"_s }).dryRun);
}

TEST(CommandLine, parse_list_takesOrderAndFilters)
{
    const Options options = optionsOf(
        { u"list"_s, u"--sort"_s, u"size"_s, u"--status=ready"_s, u"--format"_s, u"mzML"_s });
    EXPECT_EQ(options.command, Command::List);
    EXPECT_EQ(options.order, u"size"_s);
    EXPECT_EQ(options.status, u"ready"_s);
    EXPECT_EQ(options.format, u"mzML"_s);
    EXPECT_TRUE(optionsOf({ u"list"_s }).order.isEmpty());
}

TEST(CommandLine, parse_formats_takesAnyPaths)
{
    EXPECT_TRUE(optionsOf({ u"formats"_s }).paths.isEmpty());
    const Options options = optionsOf({ u"formats"_s, u"--"_s, u"a b"_s, u""_s, u"-x"_s });
    EXPECT_EQ(options.command, Command::Formats);
    EXPECT_EQ(options.paths, (QStringList { u"a b"_s, u""_s, u"-x"_s }));
}

TEST(CommandLine, parse_recount_needsNoReference)
{
    EXPECT_EQ(optionsOf({ u"recount"_s }).command, Command::Recount);
    EXPECT_TRUE(optionsOf({ u"recount"_s }).references.isEmpty());
    EXPECT_EQ(optionsOf({ u"recount"_s, u"a"_s, u"b"_s }).references.size(), 2);
}

TEST(CommandLine, parse_doubleDash_endsTheOptions)
{
    EXPECT_EQ(optionsOf({ u"path"_s, u"--"_s, u"-a"_s }).references, QStringList { u"-a"_s });
}

TEST(CommandLine, parse_mistakes_areUsageErrors)
{
    mistakeOf({});
    mistakeOf({ u"get"_s });
    mistakeOf({ u"exists"_s });
    mistakeOf({ u"info"_s });
    mistakeOf({ u"info"_s, u"a"_s, u"b"_s });
    mistakeOf({ u"add"_s, u"a"_s });
    mistakeOf({ u"list"_s, u"a"_s });
    mistakeOf({ u"purge"_s, u"--to"_s });
    mistakeOf({ u"purge"_s, u"--to="_s });
    mistakeOf({ u"purge"_s, u"--to=-1"_s });
    mistakeOf({ u"purge"_s, u"--to"_s, u"much"_s });
    mistakeOf({ u"purge"_s, u"a"_s });
    mistakeOf({ u"list"_s, u"--dry-run"_s });
    mistakeOf({ u"policy"_s });
    mistakeOf({ u"policy"_s, u"a"_s, u"Invalid"_s });
    mistakeOf({ u"policy"_s, u"a"_s, u""_s });
    mistakeOf({ u"policy"_s, u"a"_s, u"Never"_s, u"b"_s });
    mistakeOf({ u"remove"_s });
    mistakeOf({ u"outdated"_s, u"--force"_s });
    mistakeOf({ u"outdated"_s, u"a"_s });
    mistakeOf({ u"nonsense"_s });
    mistakeOf({ u"list"_s, u"--nonsense"_s });
    mistakeOf({ u"list"_s, u"status"_s });
    mistakeOf({ u"--cache"_s, u""_s, u"list"_s });
    mistakeOf({ u"-q"_s, u"-v"_s, u"list"_s });
    mistakeOf({ u"list"_s, u"--sort"_s });
    mistakeOf({ u"list"_s, u"--status"_s, u""_s });
    mistakeOf({ u"status"_s, u"--sort"_s, u"size"_s });
    mistakeOf({ u"config"_s });
    mistakeOf({ u"config"_s, u"nonsense"_s });
    mistakeOf({ u"config"_s, u"get"_s });
    mistakeOf({ u"config"_s, u"set"_s, u"OptimalCacheSize"_s });
    mistakeOf({ u"config"_s, u"show"_s, u"a"_s });
    mistakeOf({ u"config"_s, u"show"_s, u"path"_s });
}

TEST(CommandLine, parse_mistakeWithControlCharacters_isEscaped)
{
    const QString text = mistakeOf({ u"list"_s, u"--a\x1b[2J"_s });
    EXPECT_FALSE(text.contains(u'\x1b')) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"\\x1b[2J"_s)) << qPrintable(text);
    EXPECT_TRUE(text.contains(u"--help"_s)) << qPrintable(text);
}

TEST(CommandLine, parse_version_isAnAnswer)
{
    const ParseOutcome outcome = parseCommandLine({ u"--version"_s });
    EXPECT_EQ(outcome.exitCode, ExitCode::Success);
    EXPECT_TRUE(outcome.text.startsWith(u"zelcache "_s)) << qPrintable(outcome.text);
}

TEST(CommandLine, parse_help_namesAllCommands)
{
    const ParseOutcome outcome = parseCommandLine({ u"--help"_s });
    EXPECT_EQ(outcome.exitCode, ExitCode::Success);
    for (int command = 0; command <= int(lastCommand); ++command)
        EXPECT_TRUE(outcome.text.contains(commandName(Command(command)))) << command;
}

TEST(CommandLine, parse_helpOfEachCommand_showsAnExample)
{
    for (int command = 0; command <= int(lastCommand); ++command) {
        const QString name = commandName(Command(command));
        const ParseOutcome outcome = parseCommandLine({ name, u"--help"_s });
        EXPECT_EQ(outcome.exitCode, ExitCode::Success);
        const qsizetype examples = outcome.text.indexOf(u"Examples:"_s);
        ASSERT_GE(examples, 0) << qPrintable(outcome.text);
        EXPECT_TRUE(outcome.text.mid(examples).contains(name)) << qPrintable(outcome.text);
        EXPECT_TRUE(outcome.text.contains(u"Exit codes:"_s)) << qPrintable(outcome.text);
    }
}

} // namespace zel::cli
