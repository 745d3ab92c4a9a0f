#pragma once

#include "Context.h"
#include "ExitCode.h"

#include <QStringList>

#include <optional>

namespace CLI {
class App;
}

namespace zel::cli {

/// One command of the program: what its help says, which options it has, and what it does.
///
/// The options are members of the command. They are bound once, before the command line is read;
/// then check() is called, and run() if there is nothing to complain of. Main thread only.
class Command
{
public:
    /// The texts must live as long as the command. `details` stand below the options in the help:
    /// what the command prints, its exit codes, and examples.
    Command(const char *name, const char *description, const char *details)
        : commandName(name)
        , commandDescription(description)
        , commandDetails(details)
    {
    }
    virtual ~Command() = default;
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;

    const char *name() const { return commandName; } ///< as the user writes it
    const char *description() const { return commandDescription; }
    const char *details() const { return commandDetails; }

    /// What the usage shows behind the arguments, if it is none of them.
    virtual const char *usageTail() const { return ""; }

    /// The list of exit codes in the help, for a command that gives them a meaning of its own; null
    /// for those of the program.
    virtual const char *exitCodes() const { return nullptr; }

    /// The code of a failure that has none of its own, such as an answer that cannot be written;
    /// for a command that gives the usual one another meaning.
    virtual ExitCode failureCode() const { return ExitCode::Failed; }

    /// Binds the options and arguments, best with what CommandOptions.h offers.
    virtual void addOptions(CLI::App &) { }

    /// Where the words behind "--" go, for a command that runs another program with them; asked
    /// only if "--" is there. With null they are arguments like those before it.
    virtual QStringList *programLine() { return nullptr; }

    /// Reads values that have a meaning of their own. Gives what is wrong with one of them, which
    /// ends the program with the code 2.
    virtual std::optional<QString> check() { return {}; }

    /// Goes from the start of the command to its answer. Gives the code to end the program with.
    virtual ExitCode run(const Context &context) = 0;

private:
    const char *commandName;
    const char *commandDescription;
    const char *commandDetails;
};

} // namespace zel::cli
