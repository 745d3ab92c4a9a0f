#pragma once

#include "Context.h"

#include <chrono>

namespace zel::cli {

/// Shows the board until the user, a signal or the end of whoever reads it ends it: in place at a
/// terminal, else as blocks of lines with an empty one between them; with JSON as one object a
/// line. Only reads. A cache that is not there or cannot be read is waited for.
ExitCode watchBoard(const Context &context, std::chrono::milliseconds interval);

/// The interval that somebody means by a number of seconds such as "1" or "0.5"; empty for what is
/// none, or none that makes sense.
std::optional<std::chrono::milliseconds> intervalFromText(const QString &text);

} // namespace zel::cli
