#pragma once

#include "Context.h"

namespace zel::cli {

/// Each runs one command from its start to its answer, on the main thread, and returns the code to
/// end the program with.
ExitCode runGet(const Context &context);
ExitCode runExists(const Context &context);
ExitCode runInfo(const Context &context);
ExitCode runPath(const Context &context);
ExitCode runAdd(const Context &context);
/// These four never make a cache; a dry run, and `policy` without a policy, only read.
ExitCode runPurge(const Context &context);
ExitCode runOutdated(const Context &context);
ExitCode runPolicy(const Context &context);
ExitCode runRemove(const Context &context);
/// These two only read the database: they wait for nobody and change nothing.
ExitCode runList(const Context &context);
ExitCode runStatus(const Context &context);
/// These two leave caches alone.
ExitCode runConfig(const Context &context);
ExitCode runFormats(const Context &context);
ExitCode runRecount(const Context &context);

} // namespace zel::cli
