#pragma once

#include <QString>

/// How Qt finds the System V semaphore behind the key of a QSystemSemaphore, for those who look at
/// the semaphore itself.
namespace zel::SystemSemaphoreKey {

/// The file in the folder of temporary files that stands for the key. Qt's own naming, of which it
/// has no public form.
QString fileOf(const QString &key);
/// The semaphore's number in the system, if there is one that may be used like this: 0400 to be
/// read only, 0600 to be changed as well. Else -1 with errno. Makes none.
int findSet(const QString &key, int access);

} // namespace zel::SystemSemaphoreKey
