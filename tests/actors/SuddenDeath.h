#pragma once

namespace zel::test {

/// From now on the process counts what it does to files: each write, each flush, each rename and
/// removal. It kills itself with SIGKILL right before number `step`, beginning with 0.
///
/// A program that has this function replaces the system calls' wrappers for itself and for all
/// libraries that it loads, so that every state in which a process can leave its files to others
/// is reached by some number.
void dieAtFileStep(int step);

} // namespace zel::test
