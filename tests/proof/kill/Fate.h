#pragma once

#include "ActorProcess.h"

namespace zel::test {

/// How a program has ended that was to be killed somewhere in its work.
enum class Fate {
    Killed, ///< by SIGKILL
    Survived, ///< it had done everything before, and well
    Failed, ///< anything else; a crash of its own must not pass for the death that was meant
};

/// Waits for the end of the program, and fails the test if it is Fate::Failed.
Fate fateOf(ActorProcess *victim);

} // namespace zel::test
