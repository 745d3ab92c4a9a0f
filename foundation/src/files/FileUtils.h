#pragma once

#include "Export.h"

#include <QList>
#include <QString>

namespace zel {

/// What a copy does with the folders inside a folder.
enum class RecursionPolicy {
    NonRecursive = 0, ///< leaves them out
    Recursive = 1, ///< copies them with all they hold
};

/// What a copy does with a file whose name the target has already.
enum class DuplicateFilesPolicy {
    Fail = 0, ///< ends there
    Overwrite = 1, ///< replaces it
};

/// Copying folders, and where a path lies.
class ZEL_RESOURCE_MANAGER_EXPORT FileUtils
{
public:
    /// How copyFiles() goes about its work. A value.
    class CopyFilesOptions
    {
    public:
        /// Both have to be chosen.
        CopyFilesOptions(RecursionPolicy recursion, DuplicateFilesPolicy duplicates)
            : recursion(recursion)
            , duplicates(duplicates)
        {
        }

        RecursionPolicy recursion; ///< of folders inside the source
        DuplicateFilesPolicy duplicates; ///< for files that the target has already
    };

    /// Decides what is copied. This one takes everything; subclass it to be choosy.
    class ZEL_RESOURCE_MANAGER_EXPORT CopyFilesValidator
    {
    public:
        virtual ~CopyFilesValidator();
        /// Asked once for each file, link and folder inside the source. A folder that is refused is
        /// left out with all it holds.
        virtual bool isAccepted(const QString &sourcePath) const;
    };

    /// Another name for one entry of the source.
    struct CustomName
    {
        QString relativePath; ///< the entry, seen from the source folder
        QString name; ///< what it is called in the copy: a name without a folder
    };

    /// Copies what the folder `source` holds into the folder `target`, which is made if it is
    /// missing, as TreeCopy does. `skipped`, if given, gets the source paths that were left out:
    /// refused ones, links that lead out of the source, and what is neither file nor folder.
    /// False on failure, which is logged; what had been copied by then stays.
    static bool copyFiles(const QString &source, const QString &target, CopyFilesOptions options,
                          const CopyFilesValidator &validator, const QList<CustomName> &customNames,
                          QList<QString> *skipped);

    /// Whether `path` lies inside the folder `parent`, at whatever depth, existing or not.
    ///
    /// Judged twice, and both must agree: as text without "." and "..", and by where the links of
    /// the folders around it lead. The last component counts by its own place, wherever it may lead
    /// if it is a link: removing it removes the link. A path is never inside itself, and an empty
    /// path is nowhere.
    static bool isSubPath(const QString &path, const QString &parent);
};

} // namespace zel
