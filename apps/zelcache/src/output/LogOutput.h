#pragma once

#include "output/Output.h"

namespace zel::cli {

/// Sends the log of the library and of Qt to standard error: what is serious always, warnings if
/// the user wants to know more, everything else if he wants it all. Lines come from any thread.
///
/// The destructor parts it from the output, which is borrowed; lines that come even later, while
/// the program ends, are judged in the same way. Make one, on the main thread, first of all.
class LogOutput
{
public:
    LogOutput(Output *output, int verbosity);
    ~LogOutput();
    LogOutput(const LogOutput &) = delete;
    LogOutput &operator=(const LogOutput &) = delete;
};

/// For what is meant to fail: as long as it lives, what the library says of it on this thread is
/// shown only to a user who wants it all.
class ExpectedFailures
{
public:
    ExpectedFailures();
    ~ExpectedFailures();
    ExpectedFailures(const ExpectedFailures &) = delete;
    ExpectedFailures &operator=(const ExpectedFailures &) = delete;
};

} // namespace zel::cli
