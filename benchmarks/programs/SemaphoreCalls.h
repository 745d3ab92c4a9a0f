#pragma once

namespace zel::bench {

/// Is told of each take of a system semaphore by this process, behind it, and of each giving back,
/// before it; on the thread that does it.
using SemaphoreListener = void (*)(bool isTaken);

/// Replaces the former one; null for none.
void listenToSemaphores(SemaphoreListener listener);

} // namespace zel::bench
