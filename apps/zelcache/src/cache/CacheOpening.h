#pragma once

#include "Context.h"
#include "ResourceManagerSettings.h"

namespace zel::cli {

/// The settings file's settings, or the cache that the command line names.
ResourceManagerSettings settingsOf(const Options &options);

/// Sets the library up for a command that takes part in the cache: schemes, tracing, the open
/// cache. If that does not work out, the user is told and the code to end with is returned.
std::optional<ExitCode> openCache(const Context &context);

/// Sets up what is needed to ask sources, for a command that must not take part in the cache: the
/// manager has none, so its handlers enter nothing. Call it before the manager is made.
void registerSourcesOnly(const Context &context);

/// openCache() for a command that works on what is there: it never makes a cache, and what programs
/// that died have left behind holds nothing any more.
std::optional<ExitCode> openExistingCache(const Context &context);

} // namespace zel::cli
