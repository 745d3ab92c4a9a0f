#pragma once

#include "LockCalls.h"

#include <string>

namespace zel::test {

/// From now on the process counts what it changes in files and folders: each write, each flush,
/// each file that it makes, renames or removes. It kills itself with SIGKILL right before number
/// `step`, beginning with 0. Works once in a process.
///
/// So every state in which a process can leave its files to others is reached by some number.
void dieAtFileStep(int step);

/// The same, counting only the writes that go on with a file below this folder: the file is left
/// with a part of its bytes. The folder is absolute and without links.
void dieInHalfFile(int number, const std::string &folder);

/// The same right before call number `number` for such a lock, whether it would take it or give it
/// back: the process dies with what it holds until then.
void dieAtLockCall(LockCall call, int number);

} // namespace zel::test
