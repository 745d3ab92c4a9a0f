#include "Command.h"
#include "CommandOptions.h"
#include "cache/CacheOpening.h"
#include "errors/Propagate.h"
#include "settings/SettingValue.h"
#include "settings/SettingsReport.h"

#include <QCoreApplication>
#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ConfigCommand)
};

constexpr auto helpDetails
    = R"(Settings are CacheLocationPath (an absolute directory), OptimalCacheSize and
MaximumCacheSize (bytes, or with a unit: 500MiB, 1.5TiB). Programs that run already
keep the settings that they have read.

Examples:
  zelcache config show
  zelcache config get OptimalCacheSize
  zelcache config set MaximumCacheSize 200GiB
  zelcache config path)";

struct Request
{
    QString key; ///< as given
    QString value; ///< as given
};

SettingsReport reportOf(const Options &options)
{
    const SettingsFile file = readSettingsFile();
    return settingsReport(file, settingsOf(options), !options.cacheDir.isEmpty());
}

QJsonArray warned(const Context &context, const QStringList &warnings)
{
    for (const QString &warning : warnings)
        context.output.warning(warning);
    return QJsonArray::fromStringList(warnings);
}

ExitCode show(const Context &context)
{
    const SettingsReport report = reportOf(context.options);
    const QJsonArray warnings = warned(context, report.warnings());
    if (!context.options.json) {
        for (const QString &line : settingsLines(report))
            context.output.answer(line);
        return ExitCode::Success;
    }
    QJsonArray settings;
    for (const Setting &setting : report.settings)
        settings.append(settingJson(setting));
    QJsonObject answer = context.answerWith(fileJson(report.file));
    answer.insert(u"settings"_s, settings);
    answer.insert(u"warnings"_s, warnings);
    context.output.answer(answer);
    return ExitCode::Success;
}

ExitCode failUnknownKey(const Context &context, const Request &request)
{
    QStringList names;
    for (const SettingKey key : allSettingKeys())
        names.append(settingName(key));
    return context.fail(
        ExitCode::BadArgument,
        Texts::tr("There is no setting \"%1\", only %2.").arg(request.key, names.join(u", "_s)));
}

ExitCode get(const Context &context, SettingKey key)
{
    SettingsReport report = reportOf(context.options);
    const Setting setting = report.setting(key);
    report.settings = { setting };
    const QJsonArray warnings = warned(context, report.warnings());
    if (!context.options.json) {
        context.output.answer(setting.value.toString());
        return ExitCode::Success;
    }
    QJsonObject answer = context.answerWith(fileJson(report.file));
    const QJsonObject members = settingJson(setting);
    for (auto member = members.begin(); member != members.end(); ++member)
        answer.insert(member.key(), member.value());
    answer.insert(u"warnings"_s, warnings);
    context.output.answer(answer);
    return ExitCode::Success;
}

ExitCode failToSet(const Context &context, SettingKey key, const SettingsFile &file,
                   const Error &reason)
{
    const QString name = settingName(key);
    return context.fail(
        exitCodeOf(reason),
        Texts::tr("%1 is not set in %2: %3").arg(name, file.path, reason.errorMessage()));
}

/// What is left out when the file is written again.
Error lossOf(const SettingsFile &file)
{
    if (!file.hasBadLines)
        return {};
    return ZEL_ERROR(ErrorCode::BadData,
                     Texts::tr("it has lines that are no settings; mend or remove them first."));
}

void answerSet(const Context &context, const SettingsFile &file, SettingKey key,
               const QVariant &value)
{
    if (!context.options.json) {
        context.output.answer(u"%1  %2  %3"_s.arg(settingName(key), valueText(value), file.path));
        return;
    }
    QJsonObject answer = context.answerWith(fileJson(file));
    answer.insert(u"key"_s, settingName(key));
    answer.insert(u"value"_s, QJsonValue::fromVariant(value));
    context.output.answer(answer);
}

ExitCode set(const Context &context, SettingKey key, const QString &text)
{
    SettingsFile file = readSettingsFile();
    if (const Error loss = lossOf(file); loss.hasError())
        return failToSet(context, key, file, loss);
    const auto value = settingFromText(key, text, ResourceManagerSettings::loadSettings().sizes);
    if (!value.hasValue())
        return failToSet(context, key, file, value.error());
    const Error failure = saveSetting(key, value.value());
    if (failure.hasError())
        return failToSet(context, key, file, failure);

    if (file.hasComments)
        context.output.warning(Texts::tr("The comments of %1 are gone.").arg(file.path));
    file.exists = true;
    answerSet(context, file, key, value.value());
    return ExitCode::Success;
}

ExitCode path(const Context &context)
{
    const SettingsFile file = readSettingsFile();
    if (context.options.json)
        context.output.answer(context.answerWith(fileJson(file)));
    else
        context.output.answer(file.path);
    if (!file.exists)
        context.output.note(Texts::tr("The file does not exist yet; the defaults count."));
    return ExitCode::Success;
}

class ConfigCommand : public Command
{
public:
    ConfigCommand()
        : Command("config", "Show or change settings", helpDetails)
    {
    }

    void addOptions(CLI::App &app) override;

    ExitCode run(const Context &context) override;

private:
    enum class Action { Show, Get, Set, Path };

    CLI::App &addAction(CLI::App &app, Action chosen, const char *name, const char *description);

    Action action = Action::Show;
    Request request;
};

void ConfigCommand::addOptions(CLI::App &app)
{
    addAction(app, Action::Show, "show", "Show all settings and where they come from");
    CLI::App &get = addAction(app, Action::Get, "get", "Print the value of a setting");
    CLI::App &set = addAction(app, Action::Set, "set", "Write a setting into its file");
    addAction(app, Action::Path, "path", "Print where the settings file is");
    for (CLI::App *each : { &get, &set })
        options::addArgument(*each, "KEY", "The setting's name", request.key);
    options::addArgument(set, "VALUE", "A directory, or a size such as 20GiB", request.value);
}

CLI::App &ConfigCommand::addAction(CLI::App &app, Action chosen, const char *name,
                                   const char *description)
{
    return options::addAction(app, name, description, [this, chosen] { action = chosen; });
}

ExitCode ConfigCommand::run(const Context &context)
{
    if (action == Action::Show)
        return show(context);
    if (action == Action::Path)
        return path(context);
    const std::optional<SettingKey> key = settingFromName(request.key);
    if (!key)
        return failUnknownKey(context, request);
    return action == Action::Get ? get(context, *key) : set(context, *key, request.value);
}

} // namespace

std::unique_ptr<Command> makeConfigCommand()
{
    return std::make_unique<ConfigCommand>();
}

} // namespace zel::cli
