#pragma once

#include "ExitCode.h"
#include "Options.h"
#include "output/Json.h"
#include "output/Output.h"

namespace zel::cli {

/// What every command works with. Borrows options and output, for the length of the command.
struct Context
{
    QString command; ///< its name
    const Options &options;
    Output &output;
    ExitCode failureCode = ExitCode::Failed; ///< of a failure that has no code of its own

    QJsonObject emptyAnswer() const { return json::answer(command); }
    /// The answer with these members of its own.
    QJsonObject answerWith(const QJsonObject &members) const;

    /// Ends the command without an answer: says why on standard error and, with JSON, as the
    /// answer. Returns the code it was given.
    ExitCode fail(ExitCode code, const QString &message) const;
    /// Ends it because of a signal.
    ExitCode cancel(int signalNumber) const;
    /// With the argument that it is about, as far as that may be shown.
    ExitCode failOn(const QString &argument, const Error &error) const;
    ExitCode fail(const Error &error) const
    {
        return fail(exitCodeOf(error), error.errorMessage());
    }
};

} // namespace zel::cli
