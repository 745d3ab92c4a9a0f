#include "commands/Commands.h"

#include "Library.h"
#include "SettingValue.h"
#include "SettingsReport.h"
#include "errors/Propagate.h"

#include <QJsonArray>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject answerAbout(const Context &context, const SettingsFile &file)
{
    QJsonObject answer = context.emptyAnswer();
    const QJsonObject members = fileJson(file);
    for (auto member = members.begin(); member != members.end(); ++member)
        answer.insert(member.key(), member.value());
    return answer;
}

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
    QJsonObject answer = answerAbout(context, report.file);
    answer.insert(u"settings"_s, settings);
    answer.insert(u"warnings"_s, warnings);
    context.output.answer(answer);
    return ExitCode::Success;
}

ExitCode failUnknownKey(const Context &context)
{
    QStringList names;
    for (const SettingKey key : allSettingKeys())
        names.append(settingName(key));
    return context.fail(ExitCode::BadArgument,
                        u"There is no setting \"%1\", only %2."_s.arg(context.options.configKey,
                                                                      names.join(u", "_s)));
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
    QJsonObject answer = answerAbout(context, report.file);
    const QJsonObject members = settingJson(setting);
    for (auto member = members.begin(); member != members.end(); ++member)
        answer.insert(member.key(), member.value());
    answer.insert(u"warnings"_s, warnings);
    context.output.answer(answer);
    return ExitCode::Success;
}

ExitCode failToSet(const Context &context, const SettingsFile &file, const Error &reason)
{
    const QString name = settingName(*settingFromName(context.options.configKey));
    return context.fail(exitCodeOf(reason),
                        u"%1 is not set in %2: %3"_s.arg(name, file.path, reason.errorMessage()));
}

/// What is left out when the file is written again.
Error lossOf(const SettingsFile &file)
{
    if (!file.hasBadLines)
        return {};
    return ZEL_ERROR(ErrorCode::BadData,
                     u"it has lines that are no settings; mend or remove them first."_s);
}

void answerSet(const Context &context, const SettingsFile &file, SettingKey key,
               const QVariant &value)
{
    if (!context.options.json) {
        context.output.answer(u"%1  %2  %3"_s.arg(settingName(key), valueText(value), file.path));
        return;
    }
    QJsonObject answer = answerAbout(context, file);
    answer.insert(u"key"_s, settingName(key));
    answer.insert(u"value"_s, QJsonValue::fromVariant(value));
    context.output.answer(answer);
}

ExitCode set(const Context &context, SettingKey key)
{
    SettingsFile file = readSettingsFile();
    if (const Error loss = lossOf(file); loss.hasError())
        return failToSet(context, file, loss);
    const auto value = settingFromText(key, context.options.configValue,
                                       ResourceManagerSettings::loadSettings().sizes);
    if (!value.hasValue())
        return failToSet(context, file, value.error());
    const Error failure = saveSetting(key, value.value());
    if (failure.hasError())
        return failToSet(context, file, failure);

    if (file.hasComments)
        context.output.warning(u"The comments of %1 are gone."_s.arg(file.path));
    file.exists = true;
    answerSet(context, file, key, value.value());
    return ExitCode::Success;
}

ExitCode path(const Context &context)
{
    const SettingsFile file = readSettingsFile();
    if (context.options.json)
        context.output.answer(answerAbout(context, file));
    else
        context.output.answer(file.path);
    if (!file.exists)
        context.output.note(u"The file does not exist yet; the defaults count."_s);
    return ExitCode::Success;
}

} // namespace

ExitCode runConfig(const Context &context)
{
    using Action = Options::ConfigAction;
    const Action action = context.options.configAction;
    if (action == Action::Show)
        return show(context);
    if (action == Action::Path)
        return path(context);
    const std::optional<SettingKey> key = settingFromName(context.options.configKey);
    if (!key)
        return failUnknownKey(context);
    return action == Action::Get ? get(context, *key) : set(context, *key);
}

} // namespace zel::cli
