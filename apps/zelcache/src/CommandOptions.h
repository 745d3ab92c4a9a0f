#pragma once

#include "ResourceHandlerTypes.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>

namespace CLI {
class App;
}

namespace zel::cli {

/// How commands bind their options. A variable is written while the command line is read, so it
/// must live until then; one whose option is not given stays as it is.
namespace options {

/// REF, which must be given.
void addReference(CLI::App &app, QString &reference);

/// REF..., in the order in which they are given.
void addReferences(CLI::App &app, QStringList &references, bool required);

/// -n, --dry-run
void addDryRun(CLI::App &app, bool &dryRun);

void addSwitch(CLI::App &app, const char *names, const char *description, bool &isGiven);

/// An option with a value that must not be empty; `kind` names the value in the help.
void addText(CLI::App &app, const char *names, const char *kind, const char *description,
             QString &text);

/// An option with a value whose meaning Command::check() finds out.
void addValue(CLI::App &app, const char *names, const char *kind, const char *description,
              std::optional<QString> &text);

/// Arguments by position: one that must be given, one that may be, any number of them.
void addArgument(CLI::App &app, const char *name, const char *description, QString &text);
void addOptionalArgument(CLI::App &app, const char *name, const char *description,
                         std::optional<QString> &text);
void addArguments(CLI::App &app, const char *name, const char *description, QStringList &texts);

/// An action of a command that consists of such: exactly one of them must be given. Its help shows
/// what that of the command shows below the options. `onChosen` is called if it is the one.
CLI::App &addAction(CLI::App &app, const char *name, const char *description,
                    std::function<void()> onChosen);

/// These turn the value of an option or argument into what it means, if it is given. They give
/// what is wrong with it, in which its name is `name`.
std::optional<QString> readSize(const QString &name, const std::optional<QString> &text,
                                std::optional<qint64> &bytes);
std::optional<QString> readDuration(const QString &name, const std::optional<QString> &text,
                                    std::optional<std::chrono::milliseconds> &duration);
std::optional<QString> readPolicy(const QString &name, const std::optional<QString> &text,
                                  std::optional<ResourceCleanupPolicy> &policy);

} // namespace options
} // namespace zel::cli
