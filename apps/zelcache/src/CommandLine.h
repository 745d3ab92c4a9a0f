#pragma once

#include "Command.h"
#include "Options.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace zel::cli {

/// Either the command to run, with what is said of every command, or the text to print instead and
/// the code to end with: help and version go to standard output and are a success, everything else
/// is a mistake in the usage.
struct ParseOutcome
{
    std::unique_ptr<Command> command; ///< null if there is nothing to run
    Options options;
    QString text;
    ExitCode exitCode = ExitCode::Success;
};

/// `arguments` without the name of the program. Chooses among the commands, which the help lists in
/// their order. Touches neither files nor streams.
ParseOutcome parseCommandLine(const QStringList &arguments,
                              std::vector<std::unique_ptr<Command>> commands);

} // namespace zel::cli
