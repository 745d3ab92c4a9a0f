#include "Fate.h"

#include <gtest/gtest.h>

#include <csignal>

namespace zel::test {

Fate fateOf(ActorProcess *victim)
{
    const int code = victim->end();
    if (code == -SIGKILL)
        return Fate::Killed;
    if (code == 0)
        return Fate::Survived;
    if (code < 0)
        ADD_FAILURE() << "signal " << -code << " ended the program";
    else
        ADD_FAILURE() << "code " << code << ": " << qPrintable(victim->takeLine());
    return Fate::Failed;
}

} // namespace zel::test
