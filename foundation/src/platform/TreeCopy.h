#pragma once

#include "errors/Error.h"

#include <QCoreApplication>

#include <functional>

namespace zel {

/// Copies files and folders by the cheapest road that the file systems offer: blocks shared between
/// source and copy, else a copy inside the kernel, else reading and writing.
///
/// Copies keep modification times and access rights, but are always writable (and folders
/// searchable) by their owner, so that a cache can remove them again. Nothing is written through a
/// link or into a file that was there before: an existing file is replaced by a new one.
///
/// Links: a link inside a folder that stays inside it wherever the folder stands ("../b/c", with no
/// more ".." than levels above it) is copied as a link; every other link, and what is neither file
/// nor folder, is left out with a warning. No link inside is ever followed. The source path itself
/// is followed.
///
/// When a call returns success, the data is on the disk, not only on its way there. Failures have
/// code 7 for want of space, else 1, and name the path and the reason; a refused progress gives
/// code 20 without a message. Names need not be valid text. Threads: as many calls at once as you
/// like.
class ZEL_RESOURCE_MANAGER_EXPORT TreeCopy
{
    Q_DECLARE_TR_FUNCTIONS(zel::TreeCopy)

public:
    /// Told the bytes copied so far, before each entry and after each piece of a few megabytes;
    /// false ends the copy with code 20.
    using Progress = std::function<bool(qint64 copiedBytes)>;

    /// How a copy goes about its work. A value.
    struct Options
    {
        bool isRecursive = true; ///< false leaves subfolders out, without a warning
        bool replacesFiles = false; ///< false: an existing file is a failure
        /// Says whether an entry, seen from the source folder, is copied; unset copies everything.
        std::function<bool(const QString &relativePath)> accepts;
        /// The entry's name in the copy; unset or empty keeps it. A name without a folder.
        std::function<QString(const QString &relativePath)> nameOf;
        /// Told every entry that is left out, as the path in the source.
        std::function<void(const QString &sourcePath)> skipped;
    };

    /// Copies what the folder `source` holds into the folder `target`, which is made if it is
    /// missing; its parent must exist. Existing folders are joined. After a failure the target
    /// holds what had been copied by then: the caller, who knows whether it was empty, cleans up.
    /// Code 2 if the target lies inside the source.
    static Error copyTree(const QString &source, const QString &target, const Options &options,
                          const Progress &progress = {});

    /// Copies one file; of the options only `replacesFiles` counts. After a failure nothing is left
    /// of the copy, and with `replacesFiles` the former file stays until the copy is whole.
    static Error copyFile(const QString &source, const QString &target, const Options &options,
                          const Progress &progress = {});
};

} // namespace zel
