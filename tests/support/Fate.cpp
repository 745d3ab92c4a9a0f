#include "Fate.h"

#include <gtest/gtest.h>

#include <csignal>

#include <sys/wait.h>

namespace zel::test {

Fate fateOf(int code, const QString &last)
{
    if (code == -SIGKILL)
        return Fate::Killed;
    if (code == 0)
        return Fate::Survived;
    if (code < 0)
        ADD_FAILURE() << "signal " << -code << " ended the program";
    else
        ADD_FAILURE() << "code " << code << ": " << qPrintable(last);
    return Fate::Failed;
}

Fate fateOfChild(pid_t child)
{
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return fateOf(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status));
}

} // namespace zel::test
