#pragma once

#include <QString>

/// The System V semaphores behind those of Qt. The system's number of each comes from the inode of
/// its key file. One that outlives its file is in the way of whoever gets that inode next, so a
/// test leaves none behind. Two live ones get the same number where the low 16 bits of their inodes
/// agree and the low 8 of their disks: on two disks, or far apart on one. Files that are made soon
/// after one another in one folder do not, so they lie there where a test does not need another.
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
