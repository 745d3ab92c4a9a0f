#pragma once

#include <QString>

#include <sys/types.h>

namespace zel::test {

/// How a program has ended that was to be killed somewhere in its work.
enum class Fate {
    Killed, ///< by SIGKILL
    Survived, ///< it had done everything before, and well
    Failed, ///< anything else; a crash of its own must not pass for the death that was meant
};

/// The fate of who has ended with this code, or by the signal of that number below 0. Fails the
/// test if it is Fate::Failed, with what was said last.
Fate fateOf(int code, const QString &last = {});
/// Waits for the end of a child of this process.
Fate fateOfChild(pid_t child);

} // namespace zel::test
