#pragma once

namespace zel::test {

/// Counts from now on, beginning with 0, how often this program takes a system semaphore, on
/// whatever thread.
void startCountingHolds();
int stopCountingHolds();
/// Whether this program has one at this moment, on whatever thread.
bool isHolding();

} // namespace zel::test
