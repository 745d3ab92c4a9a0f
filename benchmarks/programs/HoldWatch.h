#pragma once

#include <vector>

namespace zel::bench {

/// How long one hold of a system semaphore was.
struct Hold
{
    double seconds = 0;
    double cpu = 0; ///< of the thread that held it
};

/// Notes the holds of this program from now on. It stands in for the system call's wrapper, for the
/// libraries of the program, too; what is measured needs no change for it. Of one semaphore at a
/// time: what is noted belongs to the thread that holds it.
void startWatchingHolds();
std::vector<Hold> stopWatchingHolds();

} // namespace zel::bench
