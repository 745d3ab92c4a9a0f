#pragma once

#include <QString>

namespace zel::fuzz {

/// Takes this process out of the machine's world before it works on hostile input: all files but
/// those in and below the folder that it runs in become read-only, its network is a loopback
/// device of its own, and so are its semaphores. Ends the program if the system does not permit it.
void isolate();

/// A folder in memory, empty at first, that nobody else sees.
QString writableFolder();

} // namespace zel::fuzz
