#pragma once

#include "Contestant.h"

namespace zel::bench {

/// Makes an operation of microseconds, with all it needs in it; `directory` as for MakeContestant.
using MakeOperation = std::function<std::function<void()>(const QString &directory)>;

/// A contestant that Google Benchmark repeats until the clock is fine enough for it.
///     const bool known = enterLoop("lock/ours", [](const QString &directory) { ... });
bool enterLoop(const std::string &name, const MakeOperation &make);

} // namespace zel::bench
