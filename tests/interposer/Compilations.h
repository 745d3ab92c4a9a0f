#pragma once

namespace zel::test {

/// Counts from now on, beginning with 0, how many statements the driver of SQLite lets be compiled
/// in this program, on whatever thread.
void startCountingCompilations();
int stopCountingCompilations();

} // namespace zel::test
