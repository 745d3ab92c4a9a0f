#pragma once

#include <string>

namespace zel::test {

/// The process stops itself with SIGSTOP, once, right before it writes, copies or flushes more of a
/// file below this folder that has bytes already: others see a fetch that stands still in its
/// midst. Not while it holds a semaphore, but for a thread that takes one at that very moment. The
/// folder is absolute and without links.
void stopInTheMidst(const std::string &folder);

} // namespace zel::test
