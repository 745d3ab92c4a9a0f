#pragma once

#include "output/Output.h"

#include <QStringList>

#include <chrono>
#include <optional>

namespace zel::cli {

using HoldTime = std::optional<std::chrono::milliseconds>;

/// Runs a program whose standard streams are those of this one, while this thread's event loop goes
/// on. SIGINT and SIGTERM are handed to the program, but for those that the terminal has given it
/// already, and SIGHUP always; after the time it is sent SIGTERM. Either way its end is waited for.
///
/// Gives its exit code; 128 and the number of the signal that ended it; 127 if there is no such
/// program, 126 if it cannot be started. `paths` go into the variable ZELCACHE_PATHS. Main thread
/// only.
int runHeldProgram(Output &output, const QStringList &programLine, const QStringList &paths,
                   const HoldTime &time);

/// Lets the event loop run for this time, without one for ever, or until a signal that
/// ends. Gives the number of that signal, else 0. Main thread only.
int holdStill(const HoldTime &time);

} // namespace zel::cli
