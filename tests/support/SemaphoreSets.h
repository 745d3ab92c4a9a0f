#pragma once

#include <QString>

/// The System V semaphores behind those of Qt. The system's number of each comes from the inode of
/// its key file. One that outlives its file is in the way of whoever gets that inode next, so a
/// test leaves none behind; and two live ones are kept apart by lying in the same folder, as inodes
/// on different disks, or in different parts of one, may look alike.
namespace zel::test {

/// Removes the semaphore of a key from the machine. Nobody may need it any more.
void removeSystemSemaphore(const QString &key);
/// The same when this program ends: for a cache that lives until then, such as a manager's.
void removeSystemSemaphoreAtEnd(const QString &key);
/// Removes the semaphores whose key files lie in this folder, and the files.
void removeSemaphoresIn(const QString &folder);

/// Leaves what a program leaves that dies while it makes the semaphore of this key file: one that
/// is not set up. Gives its number in the system, or -1.
int makeUnfinishedSemaphore(const QString &keyFile);

} // namespace zel::test
