#pragma once

#include "errors/Error.h"

#include <QList>

namespace zel::cli {

/// What the program tells the shell. The numbers are part of its interface.
enum class ExitCode : int {
    Success = 0,
    Failed = 1,
    BadArgument = 2, ///< wrong usage, a bad reference, a scheme that is not supported
    AnswerIsNo = 3, ///< nothing went wrong: it is not there
    BadData = 4,
    UnsupportedContainer = 5,
    IntegrityViolated = 6, ///< what arrived is not what was declared
    NoSpace = 7,
    CacheUnavailable = 8, ///< the cache cannot be opened
    Canceled = 20, ///< refused at the prompt, or canceled
    FeatureLacking = 21,
    HungUp = 129, ///< SIGHUP
    Interrupted = 130, ///< SIGINT
    Terminated = 143, ///< SIGTERM
};

/// The exit code for one outcome. A code that the program does not know is a plain failure.
ExitCode exitCodeOf(const Error &error);

/// The exit code for the failures of many items: the one that all share, else a plain failure.
ExitCode exitCodeOf(const QList<Error> &failures);

/// The exit code after a signal: 128 and its number, as shells have it.
ExitCode exitCodeOfSignal(int signalNumber);

/// The exit code of a command that has done its work, and maybe heard a signal meanwhile; 0 is
/// none.
ExitCode exitCodeAfter(int signalNumber, ExitCode code);

} // namespace zel::cli
