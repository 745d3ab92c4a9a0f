#pragma once

#include "ExitCode.h"

#include "ResourceHandlerTypes.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace zel::cli {

/// What the program was asked to do.
struct Options
{
    enum class Command {
        Get,
        Exists,
        Info,
        Path,
        Add,
        List,
        Purge,
        Outdated,
        Policy,
        Remove,
        Status,
        Config,
        Formats,
        Recount,
    };
    enum class ConfigAction { Show, Get, Set, Path };

    Command command = Command::Status;
    QStringList references; ///< as given, in order
    QString listFile; ///< `get` only: a file with further references, "-" for standard input
    QString source; ///< `add` only: the file or folder to copy
    std::optional<qint64> purgeTarget; ///< `purge` only: the size to come down to, in bytes
    std::optional<ResourceCleanupPolicy> policy; ///< `policy` only: the one to store
    bool force = false; ///< `remove` only: what is never to go, too
    bool dryRun = false; ///< of what removes: only tell what would go
    QString order; ///< `list` only, as the next two: as given, empty for none
    QString status;
    QString format;
    QStringList paths; ///< `formats` only

    ConfigAction configAction = ConfigAction::Show;
    QString configKey; ///< as given
    QString configValue; ///< as given

    QString cacheDir; ///< another base directory; empty for the one of the settings
    QString traceFile; ///< where spans are written; empty for nowhere
    bool json = false;
    bool quiet = false;
    int verbosity = 0; ///< 1 tells what is done, 2 shows the library's debug log as well
    bool noProgress = false;
    bool prompt = false; ///< ask before anything is fetched
    bool yes = false; ///< the answer to every prompt
};

/// Either options, or the text to print instead and the code to end with: help and version go to
/// standard output and are a success, everything else is a mistake in the usage.
struct ParseOutcome
{
    std::optional<Options> options;
    QString text;
    ExitCode exitCode = ExitCode::Success;
};

/// `arguments` without the name of the program. Touches neither files nor streams.
ParseOutcome parseCommandLine(const QStringList &arguments);

/// The name of a command as the user writes it.
QString commandName(Options::Command command);

} // namespace zel::cli
