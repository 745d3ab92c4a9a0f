#include "CommandOptions.h"

#include "output/Format.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace zel::cli::options {

using namespace Qt::Literals::StringLiterals;

namespace {

/// For QString and std::optional<QString> alike.
template<typename Text>
CLI::Option *addOne(CLI::App &app, const char *names, const char *description, Text &text)
{
    const auto store = [&text](const std::string &value) {
        text = QString::fromStdString(value);
    };
    return app.add_option_function<std::string>(names, store, description);
}

CLI::Option *addMany(CLI::App &app, const char *name, const char *description, QStringList &texts)
{
    const auto store = [&texts](const std::vector<std::string> &values) {
        for (const std::string &value : values)
            texts.append(QString::fromStdString(value));
    };
    // Without the name of a kind, which the help would show behind that of the argument.
    return app.add_option_function<std::vector<std::string>>(name, store, description)
        ->type_name("");
}

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

} // namespace

void addReference(CLI::App &app, QString &reference)
{
    addArgument(app, "REF", "The resource's reference", reference);
}

void addReferences(CLI::App &app, QStringList &references, bool required)
{
    addMany(app, "REF", "References of resources", references)->required(required);
}

void addDryRun(CLI::App &app, bool &dryRun)
{
    addSwitch(app, "-n,--dry-run", "Only tell what would go", dryRun);
}

void addSwitch(CLI::App &app, const char *names, const char *description, bool &isGiven)
{
    app.add_flag(names, isGiven, description);
}

void addText(CLI::App &app, const char *names, const char *kind, const char *description,
             QString &text)
{
    addOne(app, names, description, text)->type_name(kind)->check(notEmpty());
}

void addValue(CLI::App &app, const char *names, const char *kind, const char *description,
              std::optional<QString> &text)
{
    addOne(app, names, description, text)->type_name(kind);
}

void addArgument(CLI::App &app, const char *name, const char *description, QString &text)
{
    addOne(app, name, description, text)->required()->type_name("");
}

void addOptionalArgument(CLI::App &app, const char *name, const char *description,
                         std::optional<QString> &text)
{
    addOne(app, name, description, text)->type_name("");
}

void addArguments(CLI::App &app, const char *name, const char *description, QStringList &texts)
{
    addMany(app, name, description, texts);
}

CLI::App &addAction(CLI::App &app, const char *name, const char *description,
                    std::function<void()> onChosen)
{
    app.require_subcommand(1);
    auto *action = app.add_subcommand(name, description);
    action->final_callback(std::move(onChosen));
    return *action;
}

std::optional<QString> readSize(const QString &name, const std::optional<QString> &text,
                                std::optional<qint64> &bytes)
{
    if (!text)
        return {};
    bytes = sizeFromText(*text);
    if (bytes)
        return {};
    return u"%1: \"%2\" is not a size; write bytes, or 500MiB, 1.5TiB"_s.arg(name, *text);
}

std::optional<QString> readDuration(const QString &name, const std::optional<QString> &text,
                                    std::optional<std::chrono::milliseconds> &duration)
{
    if (!text)
        return {};
    duration = durationFromText(*text);
    if (duration)
        return {};
    return u"%1: \"%2\" is not a time; write seconds, or 10m, 1.5h, 1h30m"_s.arg(name, *text);
}

std::optional<QString> readPolicy(const QString &name, const std::optional<QString> &text,
                                  std::optional<ResourceCleanupPolicy> &policy)
{
    if (!text)
        return {};
    policy = policyFromText(*text);
    if (policy)
        return {};
    return u"%1: \"%2\" is none of Never, OnClose, OnDemand"_s.arg(name, *text);
}

} // namespace zel::cli::options
