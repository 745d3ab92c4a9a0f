#pragma once

#include "errors/Error.h"

#include <QCoreApplication>

#include <functional>

namespace zel {

/// Work on files and folders that needs no options.
class ZEL_RESOURCE_MANAGER_EXPORT FileUtilsGeneric
{
    Q_DECLARE_TR_FUNCTIONS(zel::FileUtilsGeneric)

public:
    /// Bytes in the file, or in all files of the folder and of its subfolders together.
    ///
    /// The path itself is followed if it is a link; links inside a folder are neither counted nor
    /// followed. 0 for a path that does not exist, and what cannot be read counts nothing. A file
    /// that stands in the folder under two names counts twice. Costs one look at each file.
    static qint64 contentSize(const QString &path);
    /// The same, as far as it comes: `goesOn` is asked before each entry of a folder, and false
    /// ends the count. For folders that may be large or far away.
    static qint64 contentSize(const QString &path, const std::function<bool()> &goesOn);

    /// Creates the folder with its parents; an existing one is no failure. Code 7 if not a file
    /// more fits on the volume, 1 otherwise, also if a file is in the way; the message names the
    /// path.
    static Error mkPath(const QString &path);
    /// The same, and waits until the names of the folder and of all new ones around it are on the
    /// disk, so that what is put into the folder is not lost with it in a power cut.
    static Error mkPathDurably(const QString &path);
};

} // namespace zel
