#include "commands/Commands.h"

namespace zel::cli {

// A new command takes three steps: its source in this folder, which ends with the definition of
// `std::unique_ptr<Command> makeXCommand()`; a line here, where the help is to list it; and a line
// in CMakeLists.txt. CONTRIBUTING.md has the places where it is told of.
#define ZELCACHE_COMMANDS(MAKE)                                                                    \
    MAKE(Get)                                                                                      \
    MAKE(Hold)                                                                                     \
    MAKE(Exists)                                                                                   \
    MAKE(Info)                                                                                     \
    MAKE(Path)                                                                                     \
    MAKE(Add)                                                                                      \
    MAKE(List)                                                                                     \
    MAKE(Purge)                                                                                    \
    MAKE(Outdated)                                                                                 \
    MAKE(Policy)                                                                                   \
    MAKE(Verify)                                                                                   \
    MAKE(Remove)                                                                                   \
    MAKE(Who)                                                                                      \
    MAKE(Why)                                                                                      \
    MAKE(Status)                                                                                   \
    MAKE(Doctor)                                                                                   \
    MAKE(Config)                                                                                   \
    MAKE(Formats)                                                                                  \
    MAKE(Recount)

#define ZELCACHE_DECLARE(Name) std::unique_ptr<Command> make##Name##Command();
ZELCACHE_COMMANDS(ZELCACHE_DECLARE)

std::vector<std::unique_ptr<Command>> allCommands()
{
    std::vector<std::unique_ptr<Command>> commands;
#define ZELCACHE_APPEND(Name) commands.push_back(make##Name##Command());
    ZELCACHE_COMMANDS(ZELCACHE_APPEND)
    return commands;
}

} // namespace zel::cli
