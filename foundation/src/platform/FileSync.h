#pragma once

#include "errors/Error.h"

#include <QCoreApplication>
#include <QStringList>

#include <filesystem>

class QFileDevice;

namespace zel {

/// Brings what was written to the disk and tells if it did not arrive. Qt's own file classes lose
/// such failures. Failures have code 7 for want of space, else 1, and name the path and the reason.
class ZEL_RESOURCE_MANAGER_EXPORT FileSync
{
    Q_DECLARE_TR_FUNCTIONS(zel::FileSync)

public:
    /// Empties the open file's buffer and waits until its content is on the disk.
    static Error syncFile(QFileDevice &file);
    /// The same for a closed file.
    static Error syncFile(const QString &path);
    /// Waits until the folder's entries are on the disk, which makes a rename or a new file in it
    /// outlast a power cut. File systems that cannot do this for a folder count as a success.
    static Error syncDirectory(const QString &path);
    /// The same for one whose name need not be valid text.
    static Error syncDirectory(const std::filesystem::path &path);
    /// The same for several, in their order; the first failure ends it.
    static Error syncDirectories(const QStringList &paths);

    /// Where names have to be on the disk for this folder to outlast a power cut: in the one around
    /// it, since somebody may have made the folder a moment ago, and in those in which further ones
    /// are missing. Ask before they are made, and sync these folders afterwards.
    static QStringList foldersAround(const QString &folder);

    /// Replaces the file's content as a whole: after a power cut the old content or the new one is
    /// there. The file comes from a new one beside it, renamed to the path.
    static Error replaceContent(const QString &path, const QByteArray &content);

    /// Renames a file or folder within one volume, replacing a file or an empty folder, and waits
    /// until both folders around it are on the disk.
    static Error renameDurably(const QString &from, const QString &to);
};

} // namespace zel
