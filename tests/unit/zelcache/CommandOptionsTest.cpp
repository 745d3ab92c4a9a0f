#include "CommandOptions.h"

#include "CommandLine.h"
#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Values
{
    QStringList references;
    QString text;
    std::optional<QString> sizeText;
    std::optional<qint64> size;
    std::optional<QString> policyText;
    std::optional<ResourceCleanupPolicy> policy;
    bool dryRun = false;
    bool force = false;
};

/// Has options of the kinds that may stand beside any number of references.
class ManyCommand : public Command
{
public:
    explicit ManyCommand(Values &values)
        : Command("many", "Takes many", "Examples:\n  many")
        , values(values)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReferences(app, values.references, false);
        options::addText(app, "--text", "TEXT", "A text", values.text);
        options::addValue(app, "--size", "SIZE", "A size", values.sizeText);
        options::addValue(app, "--policy", "POLICY", "A policy", values.policyText);
        options::addDryRun(app, values.dryRun);
        options::addSwitch(app, "--force", "A switch", values.force);
    }

    std::optional<QString> check() override
    {
        if (auto complaint = options::readSize(u"--size"_s, values.sizeText, values.size))
            return complaint;
        return options::readPolicy(u"--policy"_s, values.policyText, values.policy);
    }

    ExitCode run(const Context &) override { return ExitCode::Success; }

private:
    Values &values;
};

/// Has arguments that are told by their position.
class PlacesCommand : public Command
{
public:
    struct Places
    {
        QString reference;
        QString source;
        std::optional<QString> target;
    };

    explicit PlacesCommand(Places &places)
        : Command("places", "Takes places", "Examples:\n  places")
        , places(places)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addReference(app, places.reference);
        options::addArgument(app, "SOURCE", "A source", places.source);
        options::addOptionalArgument(app, "TARGET", "A target", places.target);
    }

    ExitCode run(const Context &) override { return ExitCode::Success; }

private:
    Places &places;
};

/// Has two actions, of which one takes arguments.
class ActionsCommand : public Command
{
public:
    struct Chosen
    {
        QStringList actions;
        QStringList arguments;
    };

    explicit ActionsCommand(Chosen &chosen)
        : Command("actions", "Has actions", "Examples:\n  actions")
        , chosen(chosen)
    {
    }

    void addOptions(CLI::App &app) override
    {
        options::addAction(app, "show", "Shows", [this] { chosen.actions.append(u"show"_s); });
        CLI::App &set
            = options::addAction(app, "set", "Sets", [this] { chosen.actions.append(u"set"_s); });
        options::addArguments(set, "WORD", "Words", chosen.arguments);
    }

    ExitCode run(const Context &) override { return ExitCode::Success; }

private:
    Chosen &chosen;
};

/// Parses a command line whose only command is of that class; the values are written to `values`.
template<typename Type, typename Values>
ParseOutcome parsed(Values &values, const QStringList &arguments)
{
    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<Type>(values));
    const QString name = QString::fromLatin1(commands.front()->name());
    return parseCommandLine(QStringList { name } + arguments, std::move(commands));
}

Values valuesOf(const QStringList &arguments)
{
    Values values;
    const ParseOutcome outcome = parsed<ManyCommand>(values, arguments);
    EXPECT_TRUE(outcome.command) << qPrintable(outcome.text);
    return values;
}

QString mistakeOf(const QStringList &arguments)
{
    Values values;
    const ParseOutcome outcome = parsed<ManyCommand>(values, arguments);
    EXPECT_FALSE(outcome.command);
    EXPECT_EQ(outcome.exitCode, ExitCode::BadArgument);
    return outcome.text;
}

} // namespace

TEST(CommandOptionsTest, nothingGiven_variablesStayAsTheyAre)
{
    const Values values = valuesOf({});
    EXPECT_TRUE(values.references.isEmpty() && values.text.isNull());
    EXPECT_FALSE(values.sizeText || values.size || values.policyText || values.policy);
    EXPECT_FALSE(values.dryRun || values.force);
}

TEST(CommandOptionsTest, addReferences_several_keepTheirOrder)
{
    EXPECT_EQ(valuesOf({ u"http://b"_s, u"http://a"_s, u"http://b"_s }).references,
              (QStringList { u"http://b"_s, u"http://a"_s, u"http://b"_s }));
    EXPECT_EQ(valuesOf({ u"--"_s, u"a b ü"_s, u""_s, u"-x"_s }).references,
              (QStringList { u"a b ü"_s, u""_s, u"-x"_s }));
}

TEST(CommandOptionsTest, addDryRunAndSwitch_given_areSet)
{
    EXPECT_TRUE(valuesOf({ u"-n"_s }).dryRun);
    EXPECT_TRUE(valuesOf({ u"--dry-run"_s }).dryRun);
    EXPECT_FALSE(valuesOf({ u"--dry-run"_s }).force);
    EXPECT_TRUE(valuesOf({ u"--force"_s }).force);
}

TEST(CommandOptionsTest, addText_empty_isAMistake)
{
    EXPECT_EQ(valuesOf({ u"--text"_s, u"ü -"_s }).text, u"ü -"_s);
    const QString text = mistakeOf({ u"--text"_s, u""_s });
    EXPECT_TRUE(text.contains(u"--text: needs a name that is not empty"_s)) << qPrintable(text);
}

TEST(CommandOptionsTest, readSize_givenValue_isReadOrComplainedOf)
{
    EXPECT_EQ(valuesOf({ u"--size"_s, u"0"_s }).size, 0);
    EXPECT_EQ(valuesOf({ u"--size=1.5GiB"_s }).size, 1610612736);
    for (const QString &wrong : { u"much"_s, u"-5"_s }) {
        const QString text = mistakeOf({ u"--size="_s + wrong });
        EXPECT_TRUE(
            text.contains(u"--size: \"%1\" is not a size; write bytes, or 500MiB"_s.arg(wrong)))
            << qPrintable(text);
    }
}

TEST(CommandOptionsTest, readPolicy_givenValue_isReadInAnyLetterCase)
{
    EXPECT_EQ(valuesOf({ u"--policy=NEVER"_s }).policy, ResourceCleanupPolicy::Never);
    EXPECT_EQ(valuesOf({ u"--policy=onclose"_s }).policy, ResourceCleanupPolicy::OnClose);
    EXPECT_EQ(valuesOf({ u"--policy=OnDemand"_s }).policy, ResourceCleanupPolicy::OnDemand);
    const QString text = mistakeOf({ u"--policy"_s, u"Invalid"_s });
    EXPECT_TRUE(text.contains(u"--policy: \"Invalid\" is none of"_s)) << qPrintable(text);
}

TEST(CommandOptionsTest, addArgument_threeOfThem_areToldByTheirPosition)
{
    PlacesCommand::Places places;
    EXPECT_FALSE(parsed<PlacesCommand>(places, { u"a"_s }).command);
    EXPECT_TRUE(parsed<PlacesCommand>(places, { u"a"_s, u"./run ü.raw"_s }).command);
    EXPECT_EQ(places.reference, u"a"_s);
    EXPECT_EQ(places.source, u"./run ü.raw"_s);
    EXPECT_EQ(places.target, std::nullopt);
    EXPECT_TRUE(parsed<PlacesCommand>(places, { u"a"_s, u"b"_s, u""_s }).command);
    EXPECT_EQ(places.target, QString());
}

TEST(CommandOptionsTest, addAction_oneMustBeGiven_andIsToldAlone)
{
    ActionsCommand::Chosen chosen;
    EXPECT_FALSE(parsed<ActionsCommand>(chosen, {}).command);
    EXPECT_FALSE(parsed<ActionsCommand>(chosen, { u"nonsense"_s }).command);
    EXPECT_TRUE(chosen.actions.isEmpty());
    EXPECT_TRUE(parsed<ActionsCommand>(chosen, { u"set"_s, u"a"_s, u"b"_s }).command);
    EXPECT_EQ(chosen.actions, QStringList { u"set"_s });
    EXPECT_EQ(chosen.arguments, (QStringList { u"a"_s, u"b"_s }));
}

} // namespace zel::cli
