#pragma once

#include "Command.h"

#include <memory>
#include <vector>

namespace zel::cli {

/// All commands of the program, in the order in which its help lists them.
std::vector<std::unique_ptr<Command>> allCommands();

} // namespace zel::cli
