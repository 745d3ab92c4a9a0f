#pragma once

#include <QByteArray>

#include <functional>
#include <optional>

namespace zel::test {

/// Runs the work in a child process and answers what it answers; false if the child crashes.
bool inChild(const std::function<bool()> &work);

/// The same as a user whom access rights bind, which they do not the superuser that tests may run
/// as. The folder, with all it holds, belongs to that user from then on.
bool asOrdinaryUser(const QByteArray &folder, const std::function<bool()> &work);

/// The same where no file can grow beyond this size: what is written beyond is cut short first and
/// refused then, just as on a full disk.
bool withShortFiles(qint64 longest, const std::function<bool()> &work);

/// The same with a volume of its own, of this size in bytes, mounted on the folder for that process
/// alone. Empty if the machine lets nobody but its owner mount anything.
std::optional<bool> withVolumeAt(const QByteArray &folder, qint64 size,
                                 const std::function<bool()> &work);

} // namespace zel::test
