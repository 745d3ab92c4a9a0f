#pragma once

#include <QString>

#include <chrono>

/// A named system semaphore comes into being in two steps: the system makes it with the value 0,
/// and then its maker sets it to what it is to be. Who dies in between leaves one that nobody ever
/// gets, not even when all programs have ended.
namespace zel::UnfinishedSemaphore {

/// Waits until the semaphore of a QSystemSemaphore with this key has been set up, no longer than
/// the patience that its maker is owed; then removes it, so that the next one who opens it makes it
/// anew. True if it was removed. One that anybody has ever taken is finished, and so is one that is
/// not there. Several may do this at a time: a semaphore that was made meanwhile stays.
bool remove(const QString &key, std::chrono::milliseconds patience);

} // namespace zel::UnfinishedSemaphore
